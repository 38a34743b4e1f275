// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

#include "preview/pictures/float_image.h"

/// How raw values become colours that can be shown.
namespace preview {

/// How many pixels are shown in a colour that stands for no value, or are clipped.
struct SpecialPixels {
  std::size_t nan = 0, plusInfinity = 0, minusInfinity = 0, aboveWhite = 0, belowBlack = 0;

  SpecialPixels& operator+=(const SpecialPixels& more);
};

/// For a caption: "3 NaN, 12 +inf, 1 -inf, 5 above white, 2 below black", what there is of it;
/// empty if there is nothing.
std::string describe(const SpecialPixels& specials);

struct ColorImage {
  FloatImage colors;  ///< linear red, green and blue within [0, 1]
  SpecialPixels specials;
};

/// `low` becomes black and `high` white. One channel gives grey; of three or four channels each
/// colour has its own, and alpha is not shown. What lies outside is clipped, and striped with the
/// opposite end, which tells it from black and white. A pixel is magenta if any of its values,
/// alpha included, is NaN, or else white with a black grid if any is plus infinity, or else black
/// with a white grid if any is minus infinity. `coverage` has one channel: the fraction of a pixel
/// that has a value at all. The rest is grey. `firstRow` is that of `values` in the whole picture.
ColorImage mapToColors(const FloatImage& values, const FloatImage& coverage, double low,
                       double high, int firstRow);

}  // namespace preview
