// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "preview/pictures/color_map.h"

/// The page that shows a folder of pictures in a browser. What it says of the scene is the same
/// for every frame; the numbers of each frame are in a file of their own, which it loads.
namespace preview {

struct PagePicture {
  std::string name, caption;
  std::string layer;         ///< as in "facing.facing_ratio"
  std::string node, plugin;  ///< that the layer is of
  std::string kind;          ///< as in "float"
  std::string channels;      ///< a letter each, as in "XYZ"
  bool boundsEnclose;        ///< as promised; else a value may lie outside without a warning
  double low, high;          ///< the values that become black and white
};

struct PageScene {
  std::string name;
  std::int32_t width, height, samples;
  std::int32_t first, last;  ///< frames
  std::size_t digits;        ///< of frame numbers in file names; 0 if these have none
  std::vector<PagePicture> pictures;
};

/// The least and the greatest finite value of a channel; infinite if there is none.
struct FiniteRange {
  float min = std::numeric_limits<float>::infinity();
  float max = -std::numeric_limits<float>::infinity();
};

/// What the pixels of a picture hold in one frame.
struct PictureNumbers {
  SpecialPixels specials;
  std::optional<std::size_t> outsideBounds;  ///< pixels, if there are bounds for what is shown
  std::vector<FiniteRange> channels;
};

/// Both throw `WriteError`.
void writePage(const std::filesystem::path& path, const PageScene& scene);
void writePageNumbers(const std::filesystem::path& path, std::int32_t frame,
                      std::span<const PictureNumbers> pictures);

}  // namespace preview
