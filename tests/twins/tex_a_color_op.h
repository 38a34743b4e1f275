// SPDX-License-Identifier: MIT
#pragma once

#include "tests/twins/twin.h"

namespace twins {

inline float intensity(const AColor& c) { return ((c.r + c.g) + c.b) / 3.0F; }

struct ColorPair {
  TextureInterface *color_a = nullptr, *color_b = nullptr;
  TextureFloatInterface *mult_a = nullptr, *mult_b = nullptr, *result_alpha = nullptr;
  auto inputs() { return std::tie(color_a, color_b, mult_a, mult_b, result_alpha); }
};
/// Of which an output may have the first ones only.
struct ScaledColor {
  TextureInterface* color = nullptr;
  TextureFloatInterface *mult = nullptr, *result_alpha = nullptr, *exponent = nullptr;
  auto inputs() { return std::tie(color, mult, result_alpha, exponent); }
  Vector gradientOfIntensity(const ShadingContext& sc) const {
    const float m = valueOf(mult, sc, 1), i = intensity(valueOf(color, sc));
    const Vector dm = gradientOf(mult, sc), dc = gradientOf(color, sc);
    return dc * m + dm * i;
  }
};

/// `f` of red, green and blue, which is a range, and `alpha`, unless `result_alpha` writes its own.
TWIN_INLINE inline void storeChannels(AColor& min, AColor& max, const Interval& alpha,
                                      const TextureFloatInterface* result_alpha, auto f) {
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
    const Bounds ma(mult_a, 1), mb(mult_b, 1);
    const Bounds a(color_a), b(color_b);
    const Interval alpha = Formula::alphaBounds(at(a, &AColor::a), ma, at(b, &AColor::a), mb);
    storeChannels(min, max, alpha, result_alpha, [&](float AColor::*k) TWIN_INLINE {
      return Formula::bounds(at(a, k), ma, at(b, k), mb);
    });
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

/// One of the two scaled numbers. The gradient goes by the intensities without multipliers.
template <class ChoosesA>
struct ColorChoice : AlphaAsColor<ColorChoice<ChoosesA>> {
  static float choice(float p, float q) { return ChoosesA()(p, q) ? p : q; }
  static float value(float a, float ma, float b, float mb) { return choice(a * ma, b * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    const Interval p = chainedCorners(a, ma, Times()), q = chainedCorners(b, mb, Times());
    return {choice(p.lo, q.lo), choice(p.hi, q.hi)};
  }
  static Vector gradient(float ia, float, const Vector& da, float ib, float, const Vector& db) {
    return ChoosesA()(ia, ib) ? da : db;
  }
};

template <class Op>
struct ColorOp : FirstAlpha {
  static float value(float a, float ma, float b, float mb) { return Op()(a * ma, b * mb); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    return chainedCorners(chainedCorners(a, ma, Times()), chainedCorners(b, mb, Times()), Op());
  }
  static Vector gradient(float, float, const Vector& da, float, float, const Vector& db) {
    return Op()(da, db);
  }
};

/// With the bounds that the plugin makes of the difference's: there is no other road to it.
struct AbsoluteDifference : ColorOp<Minus> {
  static float value(float a, float ma, float b, float mb) { return std::fabs(a * ma - b * mb); }
  static float finalAlpha(float alpha) { return std::fabs(alpha); }
  TWIN_INLINE static Interval bounds(In a, In ma, In b, In mb) {
    const Interval d = ColorOp::bounds(a, ma, b, mb);
    // Of a 0 that it knows clang 14 makes a maximum on ARM, which loses the sign of -0.
    const volatile float zero = 0;
    return d.lo < 0 ? Interval{zero, greater(-d.lo, d.hi)} : d;
  }
  static Vector gradient(float, float sa, const Vector& da, float, float sb, const Vector& db) {
    return sa > sb ? da - db : db - da;
  }
};

class ColorMulTex final : public Twin<TextureInterface, ScaledColor> {
  AColor getColor(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    const AColor c = valueOf(color, sc);
    return {c.r * m, c.g * m, c.b * m, valueOf(result_alpha, sc, c.a)};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const Bounds m(mult, 1);
    const Bounds c(color);
    storeChannels(min, max, at(c, &AColor::a), result_alpha, [&](float AColor::*k) TWIN_INLINE {
      return chainedCorners(at(c, k), m, Times());
    });
  }
  Vector getGradient(const ShadingContext& sc) const override { return gradientOfIntensity(sc); }
};

class ColorPowTex final : public Twin<TextureInterface, ScaledColor> {
  AColor getColor(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1), e = valueOf(exponent, sc, 1);
    const AColor c = valueOf(color, sc);
    const float alpha = valueOf(result_alpha, sc, c.a);
    return {powf(c.r * m, e), powf(c.g * m, e), powf(c.b * m, e), alpha};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const Bounds m(mult, 1), e(exponent, 1);
    const Bounds c(color);
    storeChannels(min, max, at(c, &AColor::a), result_alpha, [&](float AColor::*k) TWIN_INLINE {
      return chainedCorners(chainedCorners(at(c, k), m, Times()), e, Power());
    });
  }
};

/// The plugin as a texture: what `T`, which `mode` chooses, answers. It is read at each question.
template <class T>
class ByMode final : public Twin<TextureInterface> {
 public:
  ByMode() { outputs.fill(&output); }
  auto inputs() { return output.inputs(); }
  AColor getColor(const ShadingContext& sc) const override { return chosen().getColor(sc); }
  void getColorBounds(AColor& min, AColor& max) const override {
    chosen().getColorBounds(min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override { return chosen().getGradient(sc); }

  std::int32_t mode = 0;

 private:
  const TextureInterface& chosen() const {
    const auto index = static_cast<std::uint32_t>(mode);
    return *outputs[index < outputs.size() ? index : 0];
  }
  T output;
  std::array<TextureInterface*, 10> outputs;
};

/// A number of the scaled colour, with the gradient of its intensity.
template <class Formula>
class ColorNumberTwin : public Twin<TextureFloatInterface, ScaledColor> {
  float getFloat(const ShadingContext& sc) const override {
    const float m = valueOf(mult, sc, 1);
    return Formula::value(valueOf(color, sc), m);
  }
  void getFloatBounds(float& min, float& max) const override {
    const Bounds m(mult, 1);
    const Bounds c(color);
    store(chainedCorners({Formula::of(c.lo), Formula::of(c.hi)}, m, Times()), min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override { return gradientOfIntensity(sc); }
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
class ATex final : public ColorNumberTwin<Channel<&AColor::a>> {
  Vector getGradient(const ShadingContext& /*sc*/) const override { return {}; }
};

}  // namespace twins
