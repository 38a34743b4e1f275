#pragma once

#include "tests/twins/twin.h"

namespace twins {

struct ColorPair {
  TextureInterface *color_a = nullptr, *color_b = nullptr;
  TextureFloatInterface *mult_a = nullptr, *mult_b = nullptr, *result_alpha = nullptr;
  auto inputs() { return std::tie(color_a, color_b, mult_a, mult_b, result_alpha); }
};
struct ScaledColor {
  TextureInterface* color = nullptr;
  TextureFloatInterface *mult = nullptr, *result_alpha = nullptr;
  auto inputs() { return std::tie(color, mult, result_alpha); }
};
struct ColorAndExponent {
  TextureInterface* color_a = nullptr;
  TextureFloatInterface *mult_a = nullptr, *mult_b = nullptr, *result_alpha = nullptr;
  auto inputs() { return std::tie(color_a, mult_a, mult_b, result_alpha); }
};
struct ColorAndMult {
  TextureInterface* color = nullptr;
  TextureFloatInterface* mult = nullptr;
  auto inputs() { return std::tie(color, mult); }
};

inline float intensity(const AColor& c) { return ((c.r + c.g) + c.b) / 3.0F; }

/// `f` of red, green and blue, which is a range, and `alpha`, unless `result_alpha` writes its own.
template <class F>
TWIN_INLINE inline void storeChannels(AColor& min, AColor& max, F f, const Interval& alpha,
                                      const TextureFloatInterface* result_alpha) {
  const Interval r = f(&AColor::r), g = f(&AColor::g), b = f(&AColor::b);
  min = {r.lo, g.lo, b.lo, alpha.lo};
  max = {r.hi, g.hi, b.hi, alpha.hi};
  if (result_alpha != nullptr) result_alpha->getFloatBounds(min.a, max.a);
}

using In = const Interval&;

/// Two scaled colours. A formula has the value and the bounds of a channel and those of alpha, from
/// both colours and their multipliers, and the gradient, from the intensities (`ia`), the scaled
/// intensities (`sa`) and their gradients (`da`).
template <class Formula>
class ColorPairTwin final : public Twin<TextureInterface, ColorPair> {
  AColor getColor(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const AColor a = valueOf(color_a, sc), b = valueOf(color_b, sc);
    const float alpha = valueOf(result_alpha, sc, Formula::alpha(a.a, ma, b.a, mb));
    return {Formula::value(a.r, ma, b.r, mb), Formula::value(a.g, ma, b.g, mb),
            Formula::value(a.b, ma, b.b, mb), Formula::finalAlpha(alpha)};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const FloatBounds ma(mult_a, 1), mb(mult_b, 1);
    const ColorBounds a(color_a), b(color_b);
    storeChannels(
        min, max,
        [&](float AColor::*c) TWIN_INLINE { return Formula::bounds(at(a, c), ma, at(b, c), mb); },
        Formula::alphaBounds(at(a, &AColor::a), ma, at(b, &AColor::a), mb), result_alpha);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const float ia = intensity(valueOf(color_a, sc)), ib = intensity(valueOf(color_b, sc));
    const Vector dma = gradientOf(mult_a, sc), dmb = gradientOf(mult_b, sc);
    const Vector da = gradientOf(color_a, sc), db = gradientOf(color_b, sc);
    return Formula::gradient(ia, ma * ia, da * ma + dma * ia, ib, mb * ib, db * mb + dmb * ib);
  }
};

/// Alpha goes through the formula.
template <class Formula>
struct AlphaAsColor {
  static float alpha(float a, float ma, float b, float mb) { return Formula::value(a, ma, b, mb); }
  static float finalAlpha(float alpha) { return alpha; }
  TWIN_INLINE static Interval alphaBounds(In a, In ma, In b, In mb) {
    return Formula::bounds(a, ma, b, mb);
  }
};

/// Alpha is that of the first colour, unscaled.
struct FirstAlpha {
  static float alpha(float a, float, float, float) { return a; }
  static float finalAlpha(float alpha) { return alpha; }
  static Interval alphaBounds(In a, In, In, In) { return a; }
};

struct ColorProduct : AlphaAsColor<ColorProduct> {
  static float value(float a, float ma, float b, float mb) { return (a * b) * (ma * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    return chainedCorners(chainedCorners(a, b, Times()), chainedCorners(ma, mb, Times()), Times());
  }
  static Vector gradient(float, float sa, const Vector& da, float, float sb, const Vector& db) {
    return da * sb + db * sa;
  }
};

struct ColorQuotient : AlphaAsColor<ColorQuotient> {
  static float value(float a, float ma, float b, float mb) { return (a * ma) / (b * mb); }
  static float alpha(float a, float ma, float b, float mb) { return (a * ma) * (b * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    return chainedCorners(chainedCorners(a, b, Over()), chainedCorners(ma, mb, Over()), Times());
  }
  static Vector gradient(float, float sa, const Vector& da, float, float sb, const Vector& db) {
    if (sb == 0) return {};
    return (da * sb - db * sa) / (sb * sb);
  }
};

struct ColorMinimum : AlphaAsColor<ColorMinimum> {
  static float value(float a, float ma, float b, float mb) { return lesser(a * ma, b * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    const Interval p = chainedCorners(a, ma, Times()), q = chainedCorners(b, mb, Times());
    return {lesser(p.lo, q.lo), lesser(p.hi, q.hi)};
  }
  static Vector gradient(float ia, float, const Vector& da, float ib, float, const Vector& db) {
    return ib > ia ? da : db;
  }
};

struct ColorMaximum : AlphaAsColor<ColorMaximum> {
  static float value(float a, float ma, float b, float mb) { return greater(a * ma, b * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    const Interval p = chainedCorners(a, ma, Times()), q = chainedCorners(b, mb, Times());
    return {greater(p.lo, q.lo), greater(p.hi, q.hi)};
  }
  static Vector gradient(float ia, float, const Vector& da, float ib, float, const Vector& db) {
    return ia > ib ? da : db;
  }
};

struct ColorSum : FirstAlpha {
  static float value(float a, float ma, float b, float mb) { return a * ma + b * mb; }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    return chainedCorners(chainedCorners(a, ma, Times()), chainedCorners(b, mb, Times()), Plus());
  }
  static Vector gradient(float, float, const Vector& da, float, float, const Vector& db) {
    return da + db;
  }
};

struct ColorDifference : FirstAlpha {
  static float value(float a, float ma, float b, float mb) { return a * ma - b * mb; }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    return chainedCorners(chainedCorners(a, ma, Times()), chainedCorners(b, mb, Times()), Minus());
  }
  static Vector gradient(float, float, const Vector& da, float, float, const Vector& db) {
    return da - db;
  }
};

/// With the bounds that the plugin makes of the difference's: there is no other road to it.
struct AbsoluteDifference : ColorDifference {
  static float value(float a, float ma, float b, float mb) { return std::fabs(a * ma - b * mb); }
  static float finalAlpha(float alpha) { return std::fabs(alpha); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    const Interval d = ColorDifference::bounds(a, ma, b, mb);
    return d.lo < 0 ? Interval{0, greater(-d.lo, d.hi)} : d;
  }
  static Vector gradient(float, float sa, const Vector& da, float, float sb, const Vector& db) {
    return sa > sb ? da - db : db - da;
  }
};

using ColorProdTex = ColorPairTwin<ColorProduct>;
using ColorDivTex = ColorPairTwin<ColorQuotient>;
using ColorMinTex = ColorPairTwin<ColorMinimum>;
using ColorMaxTex = ColorPairTwin<ColorMaximum>;
using ColorAddTex = ColorPairTwin<ColorSum>;
using ColorSubTex = ColorPairTwin<ColorDifference>;
using ColorDiffTex = ColorPairTwin<AbsoluteDifference>;

class ColorMulTex final : public Twin<TextureInterface, ScaledColor> {
  AColor getColor(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const AColor c = valueOf(color, sc);
    return {c.r * m, c.g * m, c.b * m, valueOf(result_alpha, sc, c.a)};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const FloatBounds m(mult, 1);
    const ColorBounds c(color);
    storeChannels(
        min, max,
        [&](float AColor::*k) TWIN_INLINE { return chainedCorners(at(c, k), m, Times()); },
        at(c, &AColor::a), result_alpha);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const float i = intensity(valueOf(color, sc));
    const Vector dm = gradientOf(mult, sc), dc = gradientOf(color, sc);
    return dc * m + dm * i;
  }
};

class ColorPowTex final : public Twin<TextureInterface, ColorAndExponent> {
  AColor getColor(const ShadingContext& sc) const override {
    const float ma = valueOf(mult_a, sc, 1), mb = valueOf(mult_b, sc, 1);
    const AColor c = valueOf(color_a, sc);
    const float alpha = valueOf(result_alpha, sc, c.a);
    return {powf(c.r * ma, mb), powf(c.g * ma, mb), powf(c.b * ma, mb), alpha};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const FloatBounds ma(mult_a, 1), mb(mult_b, 1);
    const ColorBounds c(color_a);
    storeChannels(
        min, max,
        [&](float AColor::*k) TWIN_INLINE {
          return chainedCorners(chainedCorners(at(c, k), ma, Times()), mb, Power());
        },
        at(c, &AColor::a), result_alpha);
  }
};

/// A number of the scaled colour, with the gradient of its intensity.
template <class Formula>
class ColorNumberTwin : public Twin<TextureFloatInterface, ColorAndMult> {
  float getFloat(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    return Formula::value(valueOf(color, sc), m);
  }
  void getFloatBounds(float& min, float& max) const override {
    const FloatBounds m(mult, 1);
    const ColorBounds c(color);
    const Interval range = chainedCorners({Formula::of(c.lo), Formula::of(c.hi)}, m, Times());
    min = range.lo;
    max = range.hi;
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const float i = intensity(valueOf(color, sc));
    const Vector dm = gradientOf(mult, sc), dc = gradientOf(color, sc);
    return dc * m + dm * i;
  }
};
template <float AColor::*kChannel>
struct Channel {
  static float of(const AColor& c) { return c.*kChannel; }
  static float value(const AColor& c, float m) { return c.*kChannel * m; }
};
struct ScaledIntensity {
  static float of(const AColor& c) { return intensity(c); }
  static float value(const AColor& c, float m) { return (m * ((c.r + c.g) + c.b)) / 3.0F; }
};
using RTex = ColorNumberTwin<Channel<&AColor::r>>;
using GTex = ColorNumberTwin<Channel<&AColor::g>>;
using BTex = ColorNumberTwin<Channel<&AColor::b>>;
using ITex = ColorNumberTwin<ScaledIntensity>;
class ATex final : public ColorNumberTwin<Channel<&AColor::a>> {
  Vector getGradient(const ShadingContext& /*sc*/) const override { return {}; }
};

}  // namespace twins
