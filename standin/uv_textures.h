// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>

#include "host/shading_context.h"
#include "math/color.h"
#include "math/interval.h"
#include "math/vector.h"

/// Sources of textures that vary with the uvw coordinates of channel 0. Where a surface has none,
/// they are those of uvw = (0, 0, 0), and gradients are zero.
namespace standin {

inline QUtils::UVWSource* uvwSource(const QUtils::ShadingContext& sc) {
  if (sc.surface == nullptr) return nullptr;
  return static_cast<QUtils::UVWSource*>(sc.surface->getInterface(QUtils::EXT_UVW_SOURCE));
}

inline QUtils::Vector uvwAt(const QUtils::ShadingContext& sc) {
  QUtils::UVWSource* source = uvwSource(sc);
  return source != nullptr ? source->getUVW(sc, 0) : QUtils::Vector{};
}

/// From a to b, exact at both.
inline float mix(float a, float b, float t) { return std::lerp(a, b, t); }
inline QUtils::Vector mix(QUtils::Vector a, QUtils::Vector b, float t) {
  return {mix(a.x, b.x, t), mix(a.y, b.y, t), mix(a.z, b.z, t)};
}
inline QUtils::AColor mix(QUtils::AColor a, QUtils::AColor b, float t) {
  return {mix(a.r, b.r, t), mix(a.g, b.g, t), mix(a.b, b.b, t), mix(a.a, b.a, t)};
}

/// The number whose rate of change a gradient is. A vector has none.
inline float scalar(float value) { return value; }
inline float scalar(QUtils::Vector /*value*/) { return 0; }
inline float scalar(QUtils::AColor value) { return intensity(value); }

/// From one value to another along `direction` in uvw space: t = uvw · direction, clipped to [0,
/// 1].
template <class T>
struct Ramp {
  T from, to;
  QUtils::Vector direction;

  T valueAt(const QUtils::ShadingContext& sc) const {
    return mix(from, to, QUtils::min(QUtils::max(along(uvwAt(sc)), 0.0F), 1.0F));
  }
  QUtils::Range<T> bounds() const { return {QUtils::min(from, to), QUtils::max(from, to)}; }

  /// The uvw derivatives are the columns of d(uvw)/d(point).
  QUtils::Vector gradientAt(const QUtils::ShadingContext& sc) const {
    QUtils::UVWSource* source = uvwSource(sc);
    const float t = along(uvwAt(sc));
    if (source == nullptr || !(t >= 0 && t <= 1)) return {};
    QUtils::Vector a, b, c;
    source->getUVWDerivatives(sc, 0, a, b, c);
    return QUtils::Vector{along(a), along(b), along(c)} * (scalar(to) - scalar(from));
  }

 private:
  float along(QUtils::Vector v) const {
    return v.x * direction.x + v.y * direction.y + v.z * direction.z;
  }
};

/// A chessboard of `even` and `odd` squares, `tiles` of them along u and along v; `even` at the
/// origin. Its gradient is zero: it is constant but at the edges of the squares.
template <class T>
struct Checker {
  T even, odd;
  float tiles;

  T valueAt(const QUtils::ShadingContext& sc) const {
    const QUtils::Vector uvw = uvwAt(sc);
    const float square = std::floor(uvw.x * tiles) + std::floor(uvw.y * tiles);
    return std::fmod(square, 2.0F) == 0 ? even : odd;
  }
  QUtils::Range<T> bounds() const { return {QUtils::min(even, odd), QUtils::max(even, odd)}; }
  QUtils::Vector gradientAt(const QUtils::ShadingContext& /*sc*/) const { return {}; }
};

}  // namespace standin
