#include "floatvectorops/tex_float_op.h"

#include <cmath>
#include <functional>

#include "math/vector.h"

namespace samplerinfo {

FloatPair::Values FloatPair::values(const ShadingContext& sc, float absentB) const {
  const float a = valueOr(float_a, sc, 0);
  const float b = valueOr(float_b, sc, absentB);
  return {a, b};
}

FloatPair::Bounds FloatPair::bounds(float absentB) const {
  const Interval a = boundsOr(float_a, 0);
  const Interval b = boundsOr(float_b, absentB);
  return {a, b};
}

FloatPair::Gradients FloatPair::gradients(const ShadingContext& sc) const {
  const Vector da = gradientOrZero(float_a, sc);
  const Vector db = gradientOrZero(float_b, sc);
  return {da, db};
}

namespace {
constexpr Interval kUnitRange{-1, 1};
}  // namespace

float ProdTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 0);
  return a * b;
}

void ProdTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(0);
  store(chainedCorners(a, b, std::multiplies{}), min, max);
}

Vector ProdTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 0);
  const auto [da, db] = inputs.gradients(sc);
  const Vector term = da * b;
  return term + term;  // Kept: not the product rule; the value of a and db do not enter.
}

float RatioTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return b == 0 ? 0 : a / b;
}

void RatioTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(1);
  store(chainedCorners(a, b, std::divides{}), min, max);
}

Vector RatioTex::getGradient(const ShadingContext& sc) const {
  const float a = valueOr(inputs.float_a, sc, 0);
  if (inputs.float_b == nullptr) return {};  // Kept: zero, although the value is then a.
  const float b = inputs.float_b->getFloat(sc);
  if (b == 0) return {};
  const auto [da, db] = inputs.gradients(sc);
  return (da * b - db * a) / (b * b);
}

float FloatAddTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 0);
  return a + b;
}

void FloatAddTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(0);
  store(chainedCorners(a, b, std::plus{}), min, max);
}

Vector FloatAddTex::getGradient(const ShadingContext& sc) const {
  const auto [da, db] = inputs.gradients(sc);
  return da + db;
}

float FloatSubTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 0);
  return a - b;
}

void FloatSubTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(0);
  store(chainedCorners(a, b, std::minus{}), min, max);
}

Vector FloatSubTex::getGradient(const ShadingContext& sc) const {
  const auto [da, db] = inputs.gradients(sc);
  return da - db;
}

float FloatPowTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return powf(a, b);
}

void FloatPowTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(1);
  store(chainedCorners(a, b, powf), min, max);
}

float FloatSinTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return static_cast<float>(std::sin(static_cast<double>(a * b)));
}

void FloatSinTex::getFloatBounds(float& min, float& max) const { store(kUnitRange, min, max); }

Vector FloatSinTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  const auto [da, db] = inputs.gradients(sc);
  const float slope = static_cast<float>(std::cos(static_cast<double>(a * b)));
  return (da * b + db * a) * slope;
}

float FloatCosTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return static_cast<float>(std::cos(static_cast<double>(a * b)));
}

void FloatCosTex::getFloatBounds(float& min, float& max) const { store(kUnitRange, min, max); }

Vector FloatCosTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  const auto [da, db] = inputs.gradients(sc);
  const float slope = static_cast<float>(0 - std::sin(static_cast<double>(a * b)));
  return (da * b + db * a) * slope;
}

float FloatMinTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return min(a, b);
}

void FloatMinTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(1);
  store(hull(a, b), min, max);
}

Vector FloatMinTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return gradientOrZero(a < b ? inputs.float_a : inputs.float_b, sc);
}

float FloatMaxTex::getFloat(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return max(a, b);
}

void FloatMaxTex::getFloatBounds(float& min, float& max) const {
  const auto [a, b] = inputs.bounds(1);
  store(hull(a, b), min, max);
}

Vector FloatMaxTex::getGradient(const ShadingContext& sc) const {
  const auto [a, b] = inputs.values(sc, 1);
  return gradientOrZero(a > b ? inputs.float_a : inputs.float_b, sc);
}

namespace {

// The order of description is also the order in which an instance binds them.
// "float_b" carries the help text of "float_a".
constexpr ParamRow<TexFloatOp> kParameters[] = {
    param<&TexFloatOp::float_a>("float_a", "The first number"),
    param<&TexFloatOp::float_b>("float_b", "The first number"),
    param<&TexFloatOp::product>("product", "float_a*float_b"),
    param<&TexFloatOp::ratio>("ratio", "float_a/float_b"),
    param<&TexFloatOp::sum>("sum", "float_a+float_b"),
    param<&TexFloatOp::difference>("difference", "float_a-float_b"),
    param<&TexFloatOp::power>("power", "The first number raised to the power of the second number"),
    param<&TexFloatOp::sin>("sin", "sin(float_a*float_b)"),
    param<&TexFloatOp::cos>("cos", "cos(float_a*float_b)"),
    param<&TexFloatOp::min>("min", "min(float_a, float_b)"),
    param<&TexFloatOp::max>("max", "max(float_a, float_b)"),
};

}  // namespace

std::span<const ParamRow<TexFloatOp>> TexFloatOp::description() { return kParameters; }

TexFloatOp::TexFloatOp(QuorPluginDesc* maker) : QuorPlugin(maker) {
  bind(*paramList, kParameters, *this);
}

void TexFloatOp::frameBegin(QuorRenderer* renderer) {
  QuorPluginInterface::frameBegin(renderer);
  FloatOpTex* const outputs[] = {&product, &ratio, &sum, &difference, &power,
                                 &sin,     &cos,   &min, &max};
  for (FloatOpTex* output : outputs) output->inputs = {float_a, float_b};
}

}  // namespace samplerinfo
