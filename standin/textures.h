// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "frame/texture_interfaces.h"
#include "math/interval.h"

/// Ready-made textures of the host that need no plugin.
namespace standin {

/// The interface of textures whose values are of type `T`, answered by the `Texture` made of it.
template <class Texture, class T>
class TextureKind;

template <class Texture>
class TextureKind<Texture, float> : public QUtils::TextureFloatInterface {
 public:
  float getFloat(const QUtils::ShadingContext& sc) const override {
    return static_cast<const Texture*>(this)->valueAt(sc);
  }
  void getFloatBounds(float& min, float& max) const override {
    store(static_cast<const Texture*>(this)->bounds(), min, max);
  }
};

template <class Texture>
class TextureKind<Texture, QUtils::Vector> : public QUtils::TextureVectorInterface {
 public:
  QUtils::Vector getVector(const QUtils::ShadingContext& sc) const override {
    return static_cast<const Texture*>(this)->valueAt(sc);
  }
  void getVectorBounds(QUtils::Vector& min, QUtils::Vector& max) const override {
    store(static_cast<const Texture*>(this)->bounds(), min, max);
  }
};

template <class Texture>
class TextureKind<Texture, QUtils::AColor> : public QUtils::TextureInterface {
 public:
  QUtils::AColor getColor(const QUtils::ShadingContext& sc) const override {
    return static_cast<const Texture*>(this)->valueAt(sc);
  }
  void getColorBounds(QUtils::AColor& min, QUtils::AColor& max) const override {
    store(static_cast<const Texture*>(this)->bounds(), min, max);
  }
};

template <class Source>
using ValueOf =
    decltype(std::declval<const Source&>().valueAt(std::declval<const QUtils::ShadingContext&>()));

/// A source as a texture of the kind of its values. For a value type `T` a source has
/// `T valueAt(sc) const`, `Range<T> bounds() const` and `Vector gradientAt(sc) const`.
template <class Source>
class TextureOf final : public TextureKind<TextureOf<Source>, ValueOf<Source>>, public Source {
 public:
  using Source::Source;
  TextureOf() = default;
  explicit TextureOf(const Source& source) : Source(source) {}

  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    return this->gradientAt(sc);
  }
};

/// The same value everywhere, with bounds and a gradient of choice.
template <class T>
struct Constant {
  Constant() = default;
  explicit Constant(T everywhere) : value(everywhere), lo(everywhere), hi(everywhere) {}

  T valueAt(const QUtils::ShadingContext& /*sc*/) const { return value; }
  QUtils::Range<T> bounds() const { return {lo, hi}; }
  QUtils::Vector gradientAt(const QUtils::ShadingContext& /*sc*/) const { return gradient; }

  T value = {}, lo = {}, hi = {};
  QUtils::Vector gradient = {};
};

using ConstantFloat = TextureOf<Constant<float>>;
using ConstantVector = TextureOf<Constant<QUtils::Vector>>;
using ConstantColor = TextureOf<Constant<QUtils::AColor>>;

}  // namespace standin
