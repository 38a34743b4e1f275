#pragma once

#include <functional>

#include "frame/inputs.h"
#include "math/color.h"
#include "math/vector.h"

/// What the outputs of TexAColorOp are made of: colours scaled by a number, and the operations of
/// interval arithmetic on numbers and on all channels of a colour.
namespace samplerinfo {

template <class A, class B>
constexpr auto product(Range<A> a, Range<B> b) {
  return chainedCorners(a, b, std::multiplies{});
}

template <class T>
constexpr auto sum(Range<T> a, Range<T> b) {
  return chainedCorners(a, b, std::plus{});
}

template <class T>
constexpr auto difference(Range<T> a, Range<T> b) {
  return chainedCorners(a, b, std::minus{});
}

template <class T>
constexpr auto quotient(Range<T> a, Range<T> b) {
  return chainedCorners(a, b, std::divides{});
}

/// A scaled colour as gradients see it: a number.
struct ScaledIntensity {
  float unscaled;   ///< the intensity of the colour alone
  float scaled;     ///< times the multiplier
  Vector gradient;  ///< of `scaled`

  /// From value and gradient of a colour and of its multiplier.
  static constexpr ScaledIntensity of(AColor c, float m, Vector dc, Vector dm) {
    const float i = intensity(c);
    return {i, m * i, productGradient(i, dc, m, dm)};
  }
};

/// A colour with its multiplier. An absent colour counts as zero in all four channels, an absent
/// multiplier as 1. Multipliers are asked first, values before gradients.
struct ScaledColor {
  TextureInterface* color = nullptr;
  TextureFloatInterface* mult = nullptr;

  struct Values {
    AColor c;
    float m;
  };
  struct Bounds {
    Range<AColor> c;
    Interval m;
  };

  Values values(const ShadingContext& sc) const {
    const float m = valueOr(mult, sc, 1);
    const AColor c = valueOrZero(color, sc);
    return {c, m};
  }

  Bounds bounds() const {
    const Interval m = boundsOr(mult, 1);
    const Range<AColor> c = boundsOrZero(color);
    return {c, m};
  }

  ScaledIntensity scaledIntensity(const ShadingContext& sc) const {
    const auto [c, m] = values(sc);
    const Vector dm = gradientOrZero(mult, sc);
    const Vector dc = gradientOrZero(color, sc);
    return ScaledIntensity::of(c, m, dc, dm);
  }
};

/// Two colours with a multiplier each, by the rules of `ScaledColor`; `a` is asked before `b`.
struct ColorPair {
  TextureInterface* color_a = nullptr;
  TextureInterface* color_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;

  struct Values {
    AColor ca, cb;
    float ma, mb;
  };
  struct Bounds {
    Range<AColor> ca, cb;
    Interval ma, mb;
  };
  struct Intensities {
    ScaledIntensity a, b;
  };

  Values values(const ShadingContext& sc) const {
    const float ma = valueOr(mult_a, sc, 1);
    const float mb = valueOr(mult_b, sc, 1);
    const AColor ca = valueOrZero(color_a, sc);
    const AColor cb = valueOrZero(color_b, sc);
    return {ca, cb, ma, mb};
  }

  Bounds bounds() const {
    const Interval ma = boundsOr(mult_a, 1);
    const Interval mb = boundsOr(mult_b, 1);
    const Range<AColor> ca = boundsOrZero(color_a);
    const Range<AColor> cb = boundsOrZero(color_b);
    return {ca, cb, ma, mb};
  }

  Intensities scaledIntensities(const ShadingContext& sc) const {
    const auto [ca, cb, ma, mb] = values(sc);
    const Vector dma = gradientOrZero(mult_a, sc);
    const Vector dmb = gradientOrZero(mult_b, sc);
    const Vector dca = gradientOrZero(color_a, sc);
    const Vector dcb = gradientOrZero(color_b, sc);
    return {ScaledIntensity::of(ca, ma, dca, dma), ScaledIntensity::of(cb, mb, dcb, dmb)};
  }
};

}  // namespace samplerinfo
