// SPDX-License-Identifier: MIT
#include "preview/pictures/color_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace preview {
namespace {

using Color = std::array<float, 3>;

constexpr float kBackground = 0.05F;
constexpr Color kNanColor = {1, 0, 1};

/// Whether a pixel is on the lines that mark what is not black or white by its value.
struct Lines {
  bool stripe, grid;
};

Lines linesAt(int x, int y) {
  constexpr unsigned kPeriod = 8;
  const auto isOnLine = [](int i) { return static_cast<unsigned>(i) % kPeriod == kPeriod / 2; };
  const bool rises = isOnLine(x + y);
  return {.stripe = rises, .grid = rises || isOnLine(x - y)};
}

Color grey(float value) { return {value, value, value}; }

Color colorOf(std::span<const float> values, double low, double high, Lines lines,
              SpecialPixels& specials) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  if (std::ranges::any_of(values, [](float value) { return std::isnan(value); })) {
    ++specials.nan;
    return kNanColor;
  }
  if (std::ranges::find(values, kInfinity) != values.end()) {
    ++specials.plusInfinity;
    return grey(lines.grid ? 0 : 1);
  }
  if (std::ranges::find(values, -kInfinity) != values.end()) {
    ++specials.minusInfinity;
    return grey(lines.grid ? 1 : 0);
  }
  Color color;
  bool above = false, below = false;
  for (std::size_t c = 0; c < color.size(); ++c) {
    const double value = values.size() == 1 ? values[0] : values[c];
    const double fraction = (value - low) / (high - low);
    above = above || fraction > 1;
    below = below || fraction < 0;
    const double clipped = std::clamp(fraction, 0.0, 1.0);
    const bool isLine = clipped != fraction && lines.stripe;
    color[c] = static_cast<float>(isLine ? 1 - clipped : clipped);
  }
  specials.aboveWhite += above ? 1 : 0;
  specials.belowBlack += below ? 1 : 0;
  return color;
}

}  // namespace

SpecialPixels& SpecialPixels::operator+=(const SpecialPixels& more) {
  nan += more.nan;
  plusInfinity += more.plusInfinity;
  minusInfinity += more.minusInfinity;
  aboveWhite += more.aboveWhite;
  belowBlack += more.belowBlack;
  return *this;
}

std::string describe(const SpecialPixels& specials) {
  std::string text;
  const auto add = [&](std::size_t count, const char* name) {
    if (count == 0) return;
    if (!text.empty()) text += ", ";
    text += std::to_string(count) + " " + name;
  };
  add(specials.nan, "NaN");
  add(specials.plusInfinity, "+inf");
  add(specials.minusInfinity, "-inf");
  add(specials.aboveWhite, "above white");
  add(specials.belowBlack, "below black");
  return text;
}

ColorImage mapToColors(const FloatImage& values, const FloatImage& coverage, double low,
                       double high, int firstRow) {
  ColorImage mapped{FloatImage(values.width(), values.height(), 3), {}};
  for (int y = 0; y < values.height(); ++y) {
    for (int x = 0; x < values.width(); ++x) {
      const float covered = coverage.pixel(x, y)[0];
      Color color = {};
      if (covered > 0) {
        color = colorOf(values.pixel(x, y), low, high, linesAt(x, firstRow + y), mapped.specials);
      }
      for (std::size_t c = 0; c < color.size(); ++c) {
        mapped.colors.pixel(x, y)[c] = covered * color[c] + (1 - covered) * kBackground;
      }
    }
  }
  return mapped;
}

}  // namespace preview
