#pragma once

#include <functional>
#include <string>
#include <vector>

#include "preview/pictures/float_image.h"
#include "preview/scene/texture.h"
#include "preview/world/frame.h"

namespace preview {

/// What a layer shows.
struct LayerSource {
  std::string name;  ///< "facing.facing_ratio", or "facing.facing_ratio.lower" and so on
  const PluginInterface* texture;
  Show show;
};

/// A rendered frame. Pixels where nothing is seen are zero.
struct Film {
  FloatImage coverage;             ///< the part of a pixel's samples that see anything
  std::vector<FloatImage> layers;  ///< one for each source: the means of those samples
};

/// Renders one frame, on as many threads as oneTBB may use; the result does not depend on their
/// number. `progress` is told of each finished part of the whole, from any thread, one at a time.
Film renderFrame(const Scene& scene, const Frame& frame, const std::vector<LayerSource>& sources,
                 const std::function<void(double)>& progress);

}  // namespace preview
