// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "preview/pictures/color_map.h"

/// The page that shows a folder of pictures, and the network behind them, in a browser. What it
/// says of the scene is the same for every frame; the numbers of each frame are in a file of their
/// own, which it loads.
namespace preview {

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

/// The page with the scene that its script shows, as `pageData` gives it. A live one asks who
/// served it for what there is of a frame, and follows what becomes of the scene.
std::string pageText(const nlohmann::ordered_json& scene, bool isLive = false);

/// What the page says of a picture of one frame.
nlohmann::ordered_json pageNumbers(const PictureNumbers& picture);

/// The script with the numbers of a frame. Its first line tells of which render it is.
std::string pageNumbersText(const std::string& render, std::int32_t frame,
                            std::span<const PictureNumbers> pictures);

/// That line, without its end.
std::string renderLine(const std::string& render);

}  // namespace preview
