// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "host/types.h"
#include "math/minmax.h"

/// Component-wise arithmetic in 32-bit floats, one rounding per operation. In the namespace of the
/// types, so that it is found wherever they are used.
namespace QUtils {

constexpr Vector operator+(Vector a, Vector b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
constexpr Vector operator-(Vector a, Vector b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
constexpr Vector operator*(Vector v, float s) { return {v.x * s, v.y * s, v.z * s}; }
constexpr Vector operator*(float s, Vector v) { return v * s; }
constexpr Vector operator/(Vector v, float s) { return {v.x / s, v.y / s, v.z / s}; }

/// The rule of `min` and `max` for each component.
constexpr Vector min(Vector a, Vector b) { return {min(a.x, b.x), min(a.y, b.y), min(a.z, b.z)}; }
constexpr Vector max(Vector a, Vector b) { return {max(a.x, b.x), max(a.y, b.y), max(a.z, b.z)}; }

/// A dual number: a value that lives elsewhere, with its gradient.
template <class T>
struct Dual {
  const T& value;
  const Vector& gradient;
};
template <class T>
Dual(const T&, const Vector&) -> Dual<T>;

/// The gradient of a product by the product rule.
constexpr Vector productGradient(const Dual<float>& s, const Dual<float>& t) {
  return s.gradient * t.value + t.gradient * s.value;
}

/// Each component rounded to 32 bits.
constexpr Vector toVector(DVector v) {
  return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}

constexpr DVector toDouble(Vector v) { return {v.x, v.y, v.z}; }

/// The products of two vectors, in 64-bit floats.
constexpr double dot(DVector a, DVector b) { return (a.x * b.x + a.y * b.y) + a.z * b.z; }
constexpr DVector cross(DVector a, DVector b) {
  return {a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - b.x * a.y};
}

/// The root of (x² + y²) + z², in 32-bit floats.
inline float length(Vector v) { return std::sqrt((v.x * v.x + v.y * v.y) + v.z * v.z); }

}  // namespace QUtils
