// SPDX-License-Identifier: MIT
#pragma once

#include "tests/twins/twin.h"

namespace twins {

struct FloatPair {
  TextureFloatInterface *float_a = nullptr, *float_b = nullptr;
  auto inputs() { return std::tie(float_a, float_b); }
};

/// `Op` of both numbers, bounded by its corners.
template <class Op, int kAbsentB>
class CornersTwin : public Twin<TextureFloatInterface, FloatPair> {
  float getFloat(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, kAbsentB);
    return Op()(a, b);
  }
  void getFloatBounds(float& min, float& max) const override {
    const Bounds a(float_a, 0), b(float_b, kAbsentB);
    store(chainedCorners(a, b, Op()), min, max);
  }
};

class ProdTex final : public CornersTwin<Times, 0> {
  Vector getGradient(const ShadingContext& sc) const override {
    valueOf(float_a, sc, 0);
    const float b = valueOf(float_b, sc, 0);
    const Vector da = gradientOf(float_a, sc);
    gradientOf(float_b, sc);
    return da * b + da * b;
  }
};

class RatioTex final : public CornersTwin<Over, 1> {
  float getFloat(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, 1);
    return b == 0 ? 0 : a / b;
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0);
    if (float_b == nullptr) return {};
    const float b = float_b->getFloat(sc);
    if (b == 0) return {};
    const Vector da = gradientOf(float_a, sc), db = float_b->getGradient(sc);
    return (da * b - db * a) / (b * b);
  }
};

template <class Op>
class FloatOpTwin final : public CornersTwin<Op, 0> {
  Vector getGradient(const ShadingContext& sc) const override {
    const Vector da = gradientOf(this->float_a, sc), db = gradientOf(this->float_b, sc);
    return Op()(da, db);
  }
};

/// A function of the product, and its derivative, both in double precision.
template <bool kIsCosine>
class WaveTwin final : public Twin<TextureFloatInterface, FloatPair> {
  float getFloat(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, 1);
    const auto p = static_cast<double>(a * b);
    return narrow(kIsCosine ? std::cos(p) : std::sin(p));
  }
  void getFloatBounds(float& min, float& max) const override { store({-1.0F, 1.0F}, min, max); }
  Vector getGradient(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, 1);
    const Vector da = gradientOf(float_a, sc), db = gradientOf(float_b, sc);
    const auto p = static_cast<double>(a * b);
    return (da * b + db * a) * narrow(kIsCosine ? 0 - std::sin(p) : std::cos(p));
  }
};
/// One of the two numbers, bounded by the hull of both.
template <class ChoosesA>
class ChoiceTwin final : public Twin<TextureFloatInterface, FloatPair> {
  float getFloat(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, 1);
    return ChoosesA()(a, b) ? a : b;
  }
  void getFloatBounds(float& min, float& max) const override {
    const Bounds a(float_a, 0), b(float_b, 1);
    store(chained(b.hi, a.hi, b.lo, a.lo), min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float a = valueOf(float_a, sc, 0), b = valueOf(float_b, sc, 1);
    return ChoosesA()(a, b) ? gradientOf(float_a, sc) : gradientOf(float_b, sc);
  }
};

}  // namespace twins
