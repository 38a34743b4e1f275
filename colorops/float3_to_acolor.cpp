#include "colorops/float3_to_acolor.h"

#include "frame/inputs.h"
#include "math/minmax.h"
#include "math/vector.h"

namespace samplerinfo {

namespace {

constexpr auto kFloat1 = param<&Float3ToAColor::float1>("float1", "First color");
constexpr auto kFloat2 = param<&Float3ToAColor::float2>("float2", "Second color");
constexpr auto kFloat3 = param<&Float3ToAColor::float3>("float3", "Third color");
constexpr auto kAlpha = param<&Float3ToAColor::alpha>("alpha", "Alpha");
constexpr auto kColor = param<&Float3ToAColor::color>("color", "The resulting color");
constexpr auto kInvert = param<&Float3ToAColor::invert>("invert", nullptr, false);

constexpr ParamRow<Float3ToAColor> kDescription[] = {kFloat1, kFloat2, kFloat3,
                                                     kAlpha,  kColor,  kInvert};
constexpr ParamRow<Float3ToAColor> kBinding[] = {kFloat1, kFloat2, kFloat3,
                                                 kAlpha,  kInvert, kColor};

float inverted(float x) { return max(0.0F, 1 - x); }

}  // namespace

AColor Float3ToAColorTex::getColor(const ShadingContext& sc) const {
  const float r = valueOr(float1, sc, 1);
  const float g = valueOr(float2, sc, 1);
  const float b = valueOr(float3, sc, 1);
  const float a = valueOr(alpha, sc, 1);
  if (invert != 0) return {inverted(r), inverted(g), inverted(b), a};
  return {r, g, b, a};
}

void Float3ToAColorTex::getColorBounds(AColor& min, AColor& max) const {
  const Interval r = boundsOr(float1, 1);
  const Interval g = boundsOr(float2, 1);
  const Interval b = boundsOr(float3, 1);
  // Kept: alpha is bounded as if it were absent, and inverted bounds go below 0.
  if (invert != 0) {
    min = {1 - r.hi, 1 - g.hi, 1 - b.hi, 1};
    max = {1 - r.lo, 1 - g.lo, 1 - b.lo, 1};
  } else {
    min = {r.lo, g.lo, b.lo, 1};
    max = {r.hi, g.hi, b.hi, 1};
  }
}

Vector Float3ToAColorTex::getGradient(const ShadingContext& sc) const {
  const Vector dr = gradientOrZero(float1, sc);
  const Vector dg = gradientOrZero(float2, sc);
  const Vector db = gradientOrZero(float3, sc);
  const Vector mean = ((dr + dg) + db) / 3.0F;
  return invert != 0 ? Vector{} - mean : mean;
}

std::span<const ParamRow<Float3ToAColor>> Float3ToAColor::description() { return kDescription; }

Float3ToAColor::Float3ToAColor(QuorPluginDesc* maker) : QuorTexture(maker) {
  bind(*paramList, kBinding, *this);
}

void Float3ToAColor::frameBegin(QuorRenderer* renderer) {
  QuorPluginInterface::frameBegin(renderer);
  color.float1 = float1;
  color.float2 = float2;
  color.float3 = float3;
  color.alpha = alpha;
  color.invert = invert;
}

}  // namespace samplerinfo
