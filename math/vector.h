#pragma once

#include <cmath>

#include "host/types.h"

/// Component-wise arithmetic in 32-bit floats, one rounding per operation. In the namespace of the
/// types, so that it is found wherever they are used.
namespace QUtils {

constexpr Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
constexpr Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
constexpr Vector operator*(Vector v, float s) { return {v.x * s, v.y * s, v.z * s}; }
constexpr Vector operator/(Vector v, float s) { return {v.x / s, v.y / s, v.z / s}; }

/// Each component rounded to 32 bits.
constexpr Vector toFloat(DVector v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

/// Single sums and a single root, all in 32-bit floats.
inline float length(Vector v) { return std::sqrt((v.x * v.x + v.y * v.y) + v.z * v.z); }

/// A vector of what `f` gives for each component in turn: `f(&Vector::x)` and so on.
template <class F>
constexpr Vector perComponent(F f) {
  return {f(&Vector::x), f(&Vector::y), f(&Vector::z)};
}

}  // namespace QUtils
