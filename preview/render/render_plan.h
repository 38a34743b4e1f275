// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "preview/diagnostics/errors.h"
#include "preview/scene/network.h"
#include "preview/scene/texture.h"

namespace preview {

/// What is evaluated for a picture, and a layer of the EXR file.
struct Layer {
  std::string name;  ///< "facing.facing_ratio", or "facing.facing_ratio.lower" and so on
  const PluginInterface* texture;
  Show show;
  bool isInteger;  ///< the first sample of a pixel that sees anything stands for all

  Channels at(const ShadingContext& sc) const {
    return callPlugin(name, [&] { return evaluate(*texture, show, sc); });
  }

  std::optional<Bounds> bounds() const {
    return callPlugin(name, [&] { return boundsOf(*texture); });
  }

  int channels() const { return channelCount(*texture, show); }

  /// A letter each. Viewers take Y alone for luminance: a number is called a value, V.
  const char* channelNames() const {
    return channels() == 1 ? "V" : channels() == 3 ? "XYZ" : "RGBA";
  }
};

/// What there is to render of a scene: made once, with everything that is asked of it checked.
struct RenderPlan {
  /// Reports what is wrong with the scene's pictures. `only` are names or patterns of those to
  /// render, all if it is empty. Throws `InputError` for a pattern that fits none.
  RenderPlan(const Scene& scene, const Network& network, const std::vector<std::string>& only,
             Diagnostics& diagnostics);

  std::vector<Picture> pictures;  ///< each of "node.*" by itself
  std::vector<Layer> layers;      ///< one may serve several pictures
  std::vector<std::size_t> layerOfPicture;

  std::size_t digits = 0;  ///< of frame numbers in file names; 0 if the scene has one frame
  int rowsAtATime = 0;     ///< that are rendered, and then written
  double bytes = 0;        ///< of memory that the pictures take, about

  /// What the names of a frame's files end in: ".0001" and so on, or nothing.
  std::string suffixOf(std::int32_t frame) const;
};

}  // namespace preview
