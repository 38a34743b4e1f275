#pragma once

#include <cmath>

#include "host/shading_context.h"
#include "math/minmax.h"
#include "math/vector.h"

/// Textures of the host that vary with the uvw coordinates of channel 0. Where a surface has none,
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

/// `f` of the components of two values of the same kind.
template <class F>
float combine(float a, float b, F f) {
  return f(a, b);
}
template <class F>
QUtils::Vector combine(QUtils::Vector a, QUtils::Vector b, F f) {
  return {f(a.x, b.x), f(a.y, b.y), f(a.z, b.z)};
}
template <class F>
QUtils::AColor combine(QUtils::AColor a, QUtils::AColor b, F f) {
  return {f(a.r, b.r), f(a.g, b.g), f(a.b, b.b), f(a.a, b.a)};
}

/// The number whose rate of change a gradient is. A vector has none.
inline float scalar(float value) { return value; }
inline float scalar(QUtils::Vector /*value*/) { return 0; }
inline float scalar(QUtils::AColor value) { return ((value.r + value.g) + value.b) / 3.0F; }

/// From one value to another along `direction` in uvw space: t = uvw · direction, clipped to [0,
/// 1].
template <class T>
struct Ramp {
  T from, to;
  QUtils::Vector direction = {1, 0, 0};

  T value(const QUtils::ShadingContext& sc) const {
    const float t = QUtils::min(QUtils::max(position(sc), 0.0F), 1.0F);
    return combine(from, to, [t](float a, float b) { return std::lerp(a, b, t); });
  }
  T lower() const { return combine(from, to, QUtils::min<float>); }
  T upper() const { return combine(from, to, QUtils::max<float>); }

  /// The uvw derivatives are the columns of d(uvw)/d(point).
  QUtils::Vector gradient(const QUtils::ShadingContext& sc) const {
    QUtils::UVWSource* source = uvwSource(sc);
    const float t = position(sc);
    if (source == nullptr || !(t >= 0 && t <= 1)) return {};
    QUtils::Vector a, b, c;
    source->getUVWDerivatives(sc, 0, a, b, c);
    return QUtils::Vector{dot(a), dot(b), dot(c)} * (scalar(to) - scalar(from));
  }

 private:
  float dot(QUtils::Vector v) const {
    return v.x * direction.x + v.y * direction.y + v.z * direction.z;
  }
  float position(const QUtils::ShadingContext& sc) const { return dot(uvwAt(sc)); }
};

/// A chessboard of `even` and `odd` squares, `tiles` of them along u and along v; `even` at the
/// origin. Its gradient is zero: it is constant but at the edges of the squares.
template <class T>
struct Checker {
  T even, odd;
  float tiles = 8;

  T value(const QUtils::ShadingContext& sc) const {
    const QUtils::Vector uvw = uvwAt(sc);
    const float square = std::floor(uvw.x * tiles) + std::floor(uvw.y * tiles);
    return std::fmod(square, 2.0F) == 0 ? even : odd;
  }
  T lower() const { return combine(even, odd, QUtils::min<float>); }
  T upper() const { return combine(even, odd, QUtils::max<float>); }
  QUtils::Vector gradient(const QUtils::ShadingContext& /*sc*/) const { return {}; }
};

// A pattern as a texture of its kind.

template <class Pattern>
class UvFloat final : public QUtils::TextureFloatInterface {
 public:
  explicit UvFloat(const Pattern& pattern) : pattern_(pattern) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  float getFloat(const QUtils::ShadingContext& sc) const override { return pattern_.value(sc); }
  void getFloatBounds(float& min, float& max) const override {
    min = pattern_.lower();
    max = pattern_.upper();
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    return pattern_.gradient(sc);
  }

 private:
  Pattern pattern_;
};

template <class Pattern>
class UvVector final : public QUtils::TextureVectorInterface {
 public:
  explicit UvVector(const Pattern& pattern) : pattern_(pattern) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::Vector getVector(const QUtils::ShadingContext& sc) const override {
    return pattern_.value(sc);
  }
  void getVectorBounds(QUtils::Vector& min, QUtils::Vector& max) const override {
    min = pattern_.lower();
    max = pattern_.upper();
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    return pattern_.gradient(sc);
  }

 private:
  Pattern pattern_;
};

template <class Pattern>
class UvColor final : public QUtils::TextureInterface {
 public:
  explicit UvColor(const Pattern& pattern) : pattern_(pattern) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::AColor getColor(const QUtils::ShadingContext& sc) const override {
    return pattern_.value(sc);
  }
  void getColorBounds(QUtils::AColor& min, QUtils::AColor& max) const override {
    min = pattern_.lower();
    max = pattern_.upper();
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    return pattern_.gradient(sc);
  }

 private:
  Pattern pattern_;
};

}  // namespace standin
