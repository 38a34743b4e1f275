#include "floatvectorops/tex_vector_op.h"

#include <functional>

#include "math/vector.h"

namespace samplerinfo {

VectorPair::Values VectorPair::values(const ShadingContext& sc) const {
  const float ma = valueOr(mult_a, sc, 1);
  const float mb = valueOr(mult_b, sc, 1);
  const Vector va = valueOrZero(vector_a, sc);
  const Vector vb = valueOrZero(vector_b, sc);
  return {ma, mb, va, vb};
}

VectorPair::Bounds VectorPair::bounds() const {
  const Interval ma = boundsOr(mult_a, 1);
  const Interval mb = boundsOr(mult_b, 1);
  const Range<Vector> va = boundsOrZero(vector_a);
  const Range<Vector> vb = boundsOrZero(vector_b);
  return {ma, mb, va, vb};
}

VectorPair::Gradients VectorPair::gradients(const ShadingContext& sc) const {
  const Vector dma = gradientOrZero(mult_a, sc);
  const Vector dmb = gradientOrZero(mult_b, sc);
  const Vector dva = gradientOrZero(vector_a, sc);
  const Vector dvb = gradientOrZero(vector_b, sc);
  return {dma, dmb, dva, dvb};
}

ScaledVector::Values ScaledVector::values(const ShadingContext& sc) const {
  const float m = valueOr(mult, sc, 1);
  const Vector v = valueOrZero(vector, sc);
  return {m, v};
}

ScaledVector::Bounds ScaledVector::bounds() const {
  const Interval m = boundsOr(mult, 1);
  const Range<Vector> v = boundsOrZero(vector);
  return {m, v};
}

ScaledVector::Gradients ScaledVector::gradients(const ShadingContext& sc) const {
  const Vector dm = gradientOrZero(mult, sc);
  const Vector dv = gradientOrZero(vector, sc);
  return {dm, dv};
}

namespace {

double wideDot(Vector a, Vector b) { return dot(toDouble(a), toDouble(b)); }
Vector roundedCross(Vector a, Vector b) { return toFloat(cross(toDouble(a), toDouble(b))); }

Range<Vector> scaled(Range<Vector> v, Interval m) { return pairedCorners(v, m, std::multiplies{}); }

}  // namespace

float DotProdTex::getFloat(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  return static_cast<float>(static_cast<double>(ma * mb) * wideDot(va, vb));
}

void DotProdTex::getFloatBounds(float& min, float& max) const {
  const auto [ma, mb, va, vb] = inputs.bounds();
  const Interval m = chainedCorners(ma, mb, std::multiplies{});
  const Range<double> d = chainedCorners(va, vb, wideDot);
  const Interval rounded = {static_cast<float>(d.lo), static_cast<float>(d.hi)};
  store(chainedCorners(m, rounded, std::multiplies{}), min, max);
}

Vector CrossProdTex::getVector(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  return roundedCross(va, vb) * (ma * mb);
}

void CrossProdTex::getVectorBounds(Vector& min, Vector& max) const {
  const auto [ma, mb, va, vb] = inputs.bounds();
  const Interval m = chainedCorners(ma, mb, std::multiplies{});
  const Range<Vector> c = pairedCorners(va, vb, roundedCross);
  store(pairedCorners(m, c, std::multiplies{}), min, max);
}

Vector AddTex::getVector(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  return va * ma + vb * mb;
}

void AddTex::getVectorBounds(Vector& min, Vector& max) const {
  const auto [ma, mb, va, vb] = inputs.bounds();
  store(pairedCorners(scaled(va, ma), scaled(vb, mb), std::plus{}), min, max);
}

Vector AddTex::getGradient(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  const auto [dma, dmb, dva, dvb] = inputs.gradients(sc);
  return productGradient(ma, dma, length(va), dva) + productGradient(mb, dmb, length(vb), dvb);
}

Vector SubTex::getVector(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  return va * ma - vb * mb;
}

void SubTex::getVectorBounds(Vector& min, Vector& max) const {
  const auto [ma, mb, va, vb] = inputs.bounds();
  store(pairedCorners(scaled(va, ma), scaled(vb, mb), std::minus{}), min, max);
}

Vector SubTex::getGradient(const ShadingContext& sc) const {
  const auto [ma, mb, va, vb] = inputs.values(sc);
  const auto [dma, dmb, dva, dvb] = inputs.gradients(sc);
  return productGradient(ma, dma, length(va), dva) - productGradient(mb, dmb, length(vb), dvb);
}

Vector MulTex::getVector(const ShadingContext& sc) const {
  const auto [m, v] = inputs.values(sc);
  return v * m;
}

void MulTex::getVectorBounds(Vector& min, Vector& max) const {
  const auto [m, v] = inputs.bounds();
  store(scaled(v, m), min, max);
}

Vector MulTex::getGradient(const ShadingContext& sc) const {
  const auto [m, v] = inputs.values(sc);
  const auto [dm, dv] = inputs.gradients(sc);
  return productGradient(m, dm, length(v), dv);
}

template <float Vector::*Component>
float ComponentTex<Component>::getFloat(const ShadingContext& sc) const {
  const auto [m, v] = inputs.values(sc);
  return m * v.*Component;
}

template <float Vector::*Component>
void ComponentTex<Component>::getFloatBounds(float& min, float& max) const {
  const auto [m, v] = inputs.bounds();
  const float lo = v.lo.*Component;
  const float hi = v.hi.*Component;
  // Kept: hi.x, for y and z too.
  store(pairedExtremes(lo * m.lo, lo * m.hi, v.hi.x * m.lo, hi * m.hi), min, max);
}

template <float Vector::*Component>
Vector ComponentTex<Component>::getGradient(const ShadingContext& sc) const {
  const auto [m, v] = inputs.values(sc);
  const auto [dm, dv] = inputs.gradients(sc);
  return productGradient(m, dm, v.*Component, dv);
}

template class ComponentTex<&Vector::x>;
template class ComponentTex<&Vector::y>;
template class ComponentTex<&Vector::z>;

namespace {

// The order of description is also the order in which an instance binds them.
// "vector_b" carries the help text of "vector_a".
constexpr ParamRow<TexVectorOp> kParameters[] = {
    param<&TexVectorOp::vector_a>("vector_a", "The first vector"),
    param<&TexVectorOp::vector_b>("vector_b", "The first vector"),
    param<&TexVectorOp::mult_a>("mult_a", "Multiplier for the first vector"),
    param<&TexVectorOp::mult_b>("mult_b", "Multiplier for the second vector"),
    param<&TexVectorOp::dot_product>("dot_product", "The dot product"),
    param<&TexVectorOp::cross_product>("cross_product", "The cross product"),
    param<&TexVectorOp::sum>("sum", "The sum"),
    param<&TexVectorOp::difference>("difference", "The difference"),
    param<&TexVectorOp::result_a>("result_a", "The first vector times the first multiplier"),
    param<&TexVectorOp::result_b>("result_b", "The second vector times the second multiplier"),
    param<&TexVectorOp::x>("x", "The x-component of the first vector"),
    param<&TexVectorOp::y>("y", "The y-component of the first vector"),
    param<&TexVectorOp::z>("z", "The z-component of the first vector"),
};

}  // namespace

std::span<const ParamRow<TexVectorOp>> TexVectorOp::description() { return kParameters; }

TexVectorOp::TexVectorOp(QuorPluginDesc* maker) : QuorPlugin(maker) {
  bind(*paramList, kParameters, *this);
}

void TexVectorOp::frameBegin(QuorRenderer* renderer) {
  QuorPluginInterface::frameBegin(renderer);
  const VectorPair both{vector_a, vector_b, mult_a, mult_b};
  dot_product.inputs = both;
  cross_product.inputs = both;
  sum.inputs = both;
  difference.inputs = both;
  const ScaledVector a{vector_a, mult_a};
  result_a.inputs = a;
  result_b.inputs = {vector_b, mult_b};
  x.inputs = a;
  y.inputs = a;
  z.inputs = a;
}

}  // namespace samplerinfo
