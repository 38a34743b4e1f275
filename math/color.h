// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <functional>

#include "host/types.h"
#include "math/minmax.h"

/// Arithmetic on all four channels alike, in 32-bit floats, one rounding per operation. In the
/// namespace of the types, so that it is found wherever they are used.
namespace QUtils {

/// `op` of each pair of channels.
template <class Op>
constexpr AColor perChannel(AColor p, AColor q, Op op) {
  return {op(p.r, q.r), op(p.g, q.g), op(p.b, q.b), op(p.a, q.a)};
}

constexpr AColor operator+(AColor p, AColor q) { return perChannel(p, q, std::plus{}); }
constexpr AColor operator-(AColor p, AColor q) { return perChannel(p, q, std::minus{}); }
constexpr AColor operator*(AColor p, AColor q) { return perChannel(p, q, std::multiplies{}); }
constexpr AColor operator/(AColor p, AColor q) { return perChannel(p, q, std::divides{}); }
constexpr AColor operator*(AColor c, float s) { return {c.r * s, c.g * s, c.b * s, c.a * s}; }

constexpr AColor min(AColor p, AColor q) {
  return perChannel(p, q, [](float x, float y) { return min(x, y); });
}
constexpr AColor max(AColor p, AColor q) {
  return perChannel(p, q, [](float x, float y) { return max(x, y); });
}
inline AColor abs(AColor c) {
  return {std::fabs(c.r), std::fabs(c.g), std::fabs(c.b), std::fabs(c.a)};
}

/// The colour channels of `c` with another alpha.
constexpr AColor withAlpha(AColor c, float alpha) { return {c.r, c.g, c.b, alpha}; }

/// The mean of red, green and blue.
constexpr float intensity(AColor c) { return ((c.r + c.g) + c.b) / 3.0F; }

}  // namespace QUtils
