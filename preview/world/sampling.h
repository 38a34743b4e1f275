// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <cstdint>

/// Where and when the samples of a pixel lie: the same for every run and every number of threads.
namespace preview {

/// A position within the pixel, in pixels, and a fraction of the shutter interval, each in [0, 1).
struct Sample {
  double x, y, time;
};

/// Sample `index` of the pixel (x, y): the additive recurrence of Roberts ("The unreasonable
/// effectiveness of quasirandom sequences", 2018) in three dimensions. The first sample lies in the
/// middle of the pixel; times are shifted from pixel to pixel, so that motion does not come out as
/// separate images.
inline Sample sampleOf(std::int32_t x, std::int32_t y, std::int32_t index) {
  constexpr double kRoot = 1.2207440846057596;  // of x⁴ = x + 1
  std::uint32_t hash =
      static_cast<std::uint32_t>(x) * 0x9E3779B1U ^ static_cast<std::uint32_t>(y) * 0x85EBCA77U;
  hash = (hash ^ hash >> 15) * 0xC2B2AE3DU;
  const double shift = (hash ^ hash >> 13) / 4294967296.0;
  const auto fraction = [](double value) { return value - std::floor(value); };
  return {fraction(0.5 + index / kRoot), fraction(0.5 + index / (kRoot * kRoot)),
          fraction(shift + index / (kRoot * kRoot * kRoot))};
}

}  // namespace preview
