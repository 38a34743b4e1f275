// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "preview/pictures/float_image.h"
#include "preview/render/render_plan.h"
#include "preview/world/frame.h"

namespace preview {

/// Pixels along each side of what a thread renders at a time.
inline constexpr int kTileSize = 32;

/// Some rows of a rendered frame. Pixels where nothing is seen are zero.
struct Band {
  int firstRow;
  FloatImage coverage;             ///< the fraction of a pixel's samples that see anything
  std::vector<FloatImage> layers;  ///< the means of those samples
};

/// Renders `rows` rows of a frame, on as many threads as oneTBB may use; the result does not depend
/// on their number. `progress` is called with the fraction of these rows that is done, from any
/// thread, one at a time.
Band renderRows(const Scene& scene, const Frame& frame, const std::vector<Layer>& layers,
                int firstRow, int rows, const std::function<void(double)>& progress);

}  // namespace preview
