#include "colorops/color_outputs.h"

#include <cmath>

namespace samplerinfo {

namespace {

/// `bounds` with the alpha bounds of `color`.
Range<AColor> withAlphaOf(Range<AColor> bounds, Range<AColor> color) {
  return {withAlpha(bounds.lo, color.lo.a), withAlpha(bounds.hi, color.hi.a)};
}

/// Writes the bounds of a result; `resultAlpha`, if present, writes its own over the alphas.
void storeResult(Range<AColor> bounds, const TextureFloatInterface* resultAlpha, AColor& min,
                 AColor& max) {
  store(bounds, min, max);
  if (resultAlpha != nullptr) resultAlpha->getFloatBounds(min.a, max.a);
}

Range<AColor> lesser(Range<AColor> a, Range<AColor> b) {
  return {min(a.lo, b.lo), min(a.hi, b.hi)};
}

Range<AColor> greater(Range<AColor> a, Range<AColor> b) {
  return {max(a.lo, b.lo), max(a.hi, b.hi)};
}

/// The colour channels to a power; alpha is never raised.
AColor raised(AColor base, float exponent) {
  return {powf(base.r, exponent), powf(base.g, exponent), powf(base.b, exponent), base.a};
}

/// Bounds of A - B, signed, with the unscaled alpha of `color_a`.
Range<AColor> signedDifference(const ColorPair& inputs) {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  return withAlphaOf(difference(product(ca, ma), product(cb, mb)), ca);
}

}  // namespace

AColor ColorProdTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  const AColor result = (ca * cb) * (ma * mb);
  return withAlpha(result, valueOr(result_alpha, sc, result.a));
}

void ColorProdTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  storeResult(product(product(ca, cb), product(ma, mb)), result_alpha, min, max);
}

Vector ColorProdTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return productGradient(a.scaled, a.gradient, b.scaled, b.gradient);
}

AColor ColorAddTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  return withAlpha(ca * ma + cb * mb, valueOr(result_alpha, sc, ca.a));
}

void ColorAddTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  const Range<AColor> result = withAlphaOf(sum(product(ca, ma), product(cb, mb)), ca);
  storeResult(result, result_alpha, min, max);
}

Vector ColorAddTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return a.gradient + b.gradient;
}

AColor ColorSubTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  return withAlpha(ca * ma - cb * mb, valueOr(result_alpha, sc, ca.a));
}

void ColorSubTex::getColorBounds(AColor& min, AColor& max) const {
  storeResult(signedDifference(inputs), result_alpha, min, max);
}

Vector ColorSubTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return a.gradient - b.gradient;
}

AColor ColorDiffTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  return abs(withAlpha(ca * ma - cb * mb, valueOr(result_alpha, sc, ca.a)));
}

void ColorDiffTex::getColorBounds(AColor& min, AColor& max) const {
  storeResult(signedDifference(inputs), result_alpha, min, max);
}

Vector ColorDiffTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return a.scaled > b.scaled ? a.gradient - b.gradient : b.gradient - a.gradient;
}

AColor ColorDivTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  const AColor a = ca * ma;
  const AColor b = cb * mb;
  // Kept: alpha is the product of the scaled alphas.
  return withAlpha(a / b, valueOr(result_alpha, sc, a.a * b.a));
}

void ColorDivTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  // Kept: alpha is bounded as a quotient.
  storeResult(product(quotient(ca, cb), quotient(ma, mb)), result_alpha, min, max);
}

Vector ColorDivTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  if (b.scaled == 0) return {};
  return (a.gradient * b.scaled - b.gradient * a.scaled) / (b.scaled * b.scaled);
}

AColor ColorMinTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  const AColor result = min(ca * ma, cb * mb);
  return withAlpha(result, valueOr(result_alpha, sc, result.a));
}

void ColorMinTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  storeResult(lesser(product(ca, ma), product(cb, mb)), result_alpha, min, max);
}

Vector ColorMinTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return b.unscaled > a.unscaled ? a.gradient : b.gradient;  // Kept: ignores the multipliers.
}

AColor ColorMaxTex::getColor(const ShadingContext& sc) const {
  const auto [ca, cb, ma, mb] = inputs.values(sc);
  const AColor result = max(ca * ma, cb * mb);
  return withAlpha(result, valueOr(result_alpha, sc, result.a));
}

void ColorMaxTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [ca, cb, ma, mb] = inputs.bounds();
  storeResult(greater(product(ca, ma), product(cb, mb)), result_alpha, min, max);
}

Vector ColorMaxTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.scaledIntensities(sc);
  return a.unscaled > b.unscaled ? a.gradient : b.gradient;  // Kept: ignores the multipliers.
}

AColor ColorMulTex::getColor(const ShadingContext& sc) const {
  const auto [c, m] = inputs.values(sc);
  return withAlpha(c * m, valueOr(result_alpha, sc, c.a));
}

void ColorMulTex::getColorBounds(AColor& min, AColor& max) const {
  const auto [c, m] = inputs.bounds();
  storeResult(withAlphaOf(product(c, m), c), result_alpha, min, max);
}

Vector ColorMulTex::getGradient(const ShadingContext& sc) const {
  return inputs.scaledIntensity(sc).gradient;
}

AColor ColorPowTex::getColor(const ShadingContext& sc) const {
  const float ma = valueOr(mult_a, sc, 1);
  const float mb = valueOr(mult_b, sc, 1);
  const AColor ca = valueOrZero(color_a, sc);
  return withAlpha(raised(ca * ma, mb), valueOr(result_alpha, sc, ca.a));
}

void ColorPowTex::getColorBounds(AColor& min, AColor& max) const {
  const Interval ma = boundsOr(mult_a, 1);
  const Interval mb = boundsOr(mult_b, 1);
  const Range<AColor> ca = boundsOrZero(color_a);
  const Range<AColor> result = withAlphaOf(chainedCorners(product(ca, ma), mb, raised), ca);
  storeResult(result, result_alpha, min, max);
}

}  // namespace samplerinfo
