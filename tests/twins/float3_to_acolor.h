// SPDX-License-Identifier: MIT
#pragma once

#include "tests/twins/twin.h"

namespace twins {

struct FourFloats {
  TextureFloatInterface *float1 = nullptr, *float2 = nullptr, *float3 = nullptr, *alpha = nullptr;
  std::int32_t invert = 0;
  auto inputs() { return std::tie(float1, float2, float3, alpha); }
};

class Float3ToAColorTex final : public Twin<TextureInterface, FourFloats> {
  AColor getColor(const ShadingContext& sc) const override {
    const float r = valueOf(float1, sc, 1), g = valueOf(float2, sc, 1), b = valueOf(float3, sc, 1);
    const float a = valueOf(alpha, sc, 1);
    if (invert == 0) return {r, g, b, a};
    return {greater(0.0F, 1 - r), greater(0.0F, 1 - g), greater(0.0F, 1 - b), a};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const Bounds r(float1, 1), g(float2, 1), b(float3, 1);
    const bool straight = invert == 0;
    min = straight ? AColor{r.lo, g.lo, b.lo, 1} : AColor{1 - r.hi, 1 - g.hi, 1 - b.hi, 1};
    max = straight ? AColor{r.hi, g.hi, b.hi, 1} : AColor{1 - r.lo, 1 - g.lo, 1 - b.lo, 1};
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const Vector d1 = gradientOf(float1, sc), d2 = gradientOf(float2, sc);
    const Vector d3 = gradientOf(float3, sc);
    const Vector mean = ((d1 + d2) + d3) / 3;
    return invert == 0 ? mean : Vector{} - mean;
  }
};

}  // namespace twins
