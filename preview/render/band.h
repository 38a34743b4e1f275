// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "preview/pictures/float_image.h"
#include "preview/scene/texture.h"
#include "preview/world/frame.h"

namespace preview {

/// Pixels along each side of what a thread renders at a time.
inline constexpr int kTileSize = 32;

/// What a layer shows.
struct LayerSource {
  std::string name;  ///< "facing.facing_ratio", or "facing.facing_ratio.lower" and so on
  const PluginInterface* texture;
  Show show;
  bool isInteger;  ///< the first sample of a pixel that sees anything stands for all

  int channels() const { return channelCount(*texture, show); }
};

/// Some rows of a rendered frame. Pixels where nothing is seen are zero.
struct Band {
  int firstRow;
  FloatImage coverage;             ///< the fraction of a pixel's samples that see anything
  std::vector<FloatImage> layers;  ///< one for each source: the means of those samples
};

/// Renders `rows` rows of a frame, on as many threads as oneTBB may use; the result does not depend
/// on their number. `progress` is told of each finished part of these rows, from any thread, one at
/// a time.
Band renderRows(const Scene& scene, const Frame& frame, const std::vector<LayerSource>& sources,
                int firstRow, int rows, const std::function<void(double)>& progress);

}  // namespace preview
