// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "host/types.h"
#include "math/minmax.h"

/// Arithmetic on all four channels alike, in 32-bit floats, one rounding per operation. In the
/// namespace of the types, so that it is found wherever they are used.
namespace QUtils {

constexpr AColor operator+(AColor p, AColor q) {
  return {p.r + q.r, p.g + q.g, p.b + q.b, p.a + q.a};
}
constexpr AColor operator-(AColor p, AColor q) {
  return {p.r - q.r, p.g - q.g, p.b - q.b, p.a - q.a};
}
constexpr AColor operator*(AColor p, AColor q) {
  return {p.r * q.r, p.g * q.g, p.b * q.b, p.a * q.a};
}
constexpr AColor operator/(AColor p, AColor q) {
  return {p.r / q.r, p.g / q.g, p.b / q.b, p.a / q.a};
}
constexpr AColor operator*(AColor c, float s) { return {c.r * s, c.g * s, c.b * s, c.a * s}; }

constexpr AColor min(AColor p, AColor q) {
  return {min(p.r, q.r), min(p.g, q.g), min(p.b, q.b), min(p.a, q.a)};
}
constexpr AColor max(AColor p, AColor q) {
  return {max(p.r, q.r), max(p.g, q.g), max(p.b, q.b), max(p.a, q.a)};
}
inline AColor abs(AColor c) {
  return {std::fabs(c.r), std::fabs(c.g), std::fabs(c.b), std::fabs(c.a)};
}

/// The colour channels of `c` with another alpha.
constexpr AColor withAlpha(AColor c, float alpha) { return {c.r, c.g, c.b, alpha}; }

/// The mean of red, green and blue.
constexpr float intensity(AColor c) { return ((c.r + c.g) + c.b) / 3.0F; }

}  // namespace QUtils
