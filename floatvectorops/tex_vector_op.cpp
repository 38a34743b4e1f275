// SPDX-License-Identifier: MIT
// Combines two vectors, each scaled by a number. Not a texture itself: each result is an output.

#include <array>
#include <functional>

#include "frame/inputs.h"
#include "frame/plugin_kind.h"
#include "math/vector.h"

namespace samplerinfo {
namespace {

/// Two vectors with a multiplier each. An absent vector counts as zero, an absent multiplier as 1.
struct VectorPair {
  TextureVectorInterface* vector_a = nullptr;
  TextureVectorInterface* vector_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto ma = question(mult_a, 1);
    const auto mb = question(mult_b, 1);
    const auto va = question(vector_a);
    const auto vb = question(vector_b);
    return use(ma, mb, va, vb);
  }
};

/// One vector with its multiplier, by the rules of `VectorPair`.
struct ScaledVector {
  TextureVectorInterface* vector = nullptr;
  TextureFloatInterface* mult = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto m = question(mult, 1);
    const auto v = question(vector);
    return use(m, v);
  }
};

// Ranges of vectors compare their corners in pairs.
Range<Vector> operator*(const Range<Vector>& v, const Interval& m) {
  return pairedCorners(v, m, std::multiplies{});
}
Range<Vector> operator+(const Range<Vector>& a, const Range<Vector>& b) {
  return pairedCorners(a, b, std::plus{});
}
Range<Vector> operator-(const Range<Vector>& a, const Range<Vector>& b) {
  return pairedCorners(a, b, std::minus{});
}

Interval multiplierProduct(const Interval& ma, const Interval& mb) {
  return chainedCorners(ma, mb, std::multiplies{});
}

double wideDot(const Vector& a, const Vector& b) { return dot(toDouble(a), toDouble(b)); }
Vector roundedCross(const Vector& a, const Vector& b) {
  return toVector(cross(toDouble(a), toDouble(b)));
}

/// (va · vb) · (ma · mb); its gradient is zero. Kept: bounded by the products of whole corner
/// vectors, which do not enclose every value.
class DotProdTex final : public OperationTex<TextureFloatInterface, VectorPair> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float ma, float mb, const Vector& va, const Vector& vb) {
      return static_cast<float>(static_cast<double>(ma * mb) * wideDot(va, vb));
    });
  }
  void getFloatBounds(float& min, float& max) const override {
    inputs.ask(BoundsOf{}, [&](const auto& ma, const auto& mb, const auto& va, const auto& vb) {
      const Range<double> d = chainedCorners(va, vb, wideDot);
      const Interval rounded = {static_cast<float>(d.lo), static_cast<float>(d.hi)};
      store(chainedCorners(multiplierProduct(ma, mb), rounded, std::multiplies{}), min, max);
    });
  }
};

/// (va x vb) · (ma · mb); its gradient is zero. Bounded as the dot product.
class CrossProdTex final : public OperationTex<TextureVectorInterface, VectorPair> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float ma, float mb, const Vector& va, const Vector& vb) {
      return toVector(cross(loadedSingly(va), loadedSingly(vb))) * (ma * mb);
    });
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    inputs.ask(BoundsOf{}, [&](const auto& ma, const auto& mb, const auto& va, const auto& vb) {
      const Range<Vector> c = pairedCorners(va, vb, roundedCross);
      store(pairedCorners(multiplierProduct(ma, mb), c, std::multiplies{}), min, max);
    });
  }
};

/// The gradient of v · m. Kept: that of a vector input stands for that of the vector's length.
inline Vector scaledGradient(const Dual<float>& m, const Dual<Vector>& v) {
  return productGradient(m, {length(v.value), v.gradient});
}

struct Sum {  // va · ma + vb · mb
  static auto of(const auto& ma, const auto& mb, const auto& va, const auto& vb) {
    return va * ma + vb * mb;
  }
  static Vector gradient(const auto& ma, const auto& mb, const auto& va, const auto& vb) {
    return scaledGradient(ma, va) + scaledGradient(mb, vb);
  }
};

struct Difference {  // va · ma - vb · mb
  static auto of(const auto& ma, const auto& mb, const auto& va, const auto& vb) {
    return va * ma - vb * mb;
  }
  static Vector gradient(const auto& ma, const auto& mb, const auto& va, const auto& vb) {
    return scaledGradient(ma, va) - scaledGradient(mb, vb);
  }
};

struct Scaled {  // v · m
  static auto of(const auto& m, const auto& v) { return v * m; }
  static Vector gradient(const auto& m, const auto& v) { return scaledGradient(m, v); }
};

/// `Formula` of the inputs.
template <class Inputs, class Formula>
class VectorTex final : public OperationTex<TextureVectorInterface, Inputs> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    return this->inputs.ask(ValueAt{sc},
                            [](const auto&... values) { return Formula::of(values...); });
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const Range<Vector> result =
        this->inputs.ask(BoundsOf{}, [](const auto&... bounds) { return Formula::of(bounds...); });
    store(result, min, max);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return askWithGradients(this->inputs, sc,
                            [](const auto&... duals) { return Formula::gradient(duals...); });
  }
};

using AddTex = VectorTex<VectorPair, Sum>;
using SubTex = VectorTex<VectorPair, Difference>;
using MulTex = VectorTex<ScaledVector, Scaled>;

/// A component of v · m. The gradient of the vector input stands for that of the component.
template <float Vector::*kComponent>
class ComponentTex final : public OperationTex<TextureFloatInterface, ScaledVector> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float m, const Vector& v) { return m * v.*kComponent; });
  }
  void getFloatBounds(float& min, float& max) const override {
    inputs.ask(BoundsOf{}, [&](const Interval& m, const Range<Vector>& v) {
      const float lo = v.lo.*kComponent;
      const float hi = v.hi.*kComponent;
      // Kept: hi.x, for y and z too.
      store(pairedExtremes(lo * m.lo, lo * m.hi, v.hi.x * m.lo, hi * m.hi), min, max);
    });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return askWithGradients(inputs, sc, [](const auto& m, const auto& v) {
      return productGradient(m, {v.value.*kComponent, v.gradient});
    });
  }
};

using XTex = ComponentTex<&Vector::x>;
using YTex = ComponentTex<&Vector::y>;
using ZTex = ComponentTex<&Vector::z>;

class TexVectorOp final : public QuorPlugin {
 public:
  explicit TexVectorOp(QuorPluginDesc* maker);

  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    const VectorPair ab = {vector_a, vector_b, mult_a, mult_b};
    const ScaledVector a = {vector_a, mult_a};
    dot_product.inputs = cross_product.inputs = sum.inputs = difference.inputs = ab;
    result_a.inputs = x.inputs = y.inputs = z.inputs = a;
    result_b.inputs = {vector_b, mult_b};
  }

  TextureVectorInterface* vector_a = nullptr;
  TextureVectorInterface* vector_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;
  DotProdTex dot_product;
  CrossProdTex cross_product;
  AddTex sum;
  SubTex difference;
  MulTex result_a;
  MulTex result_b;
  XTex x;
  YTex y;
  ZTex z;
};

// Described and bound in this order. Kept: "vector_b" carries the help text of "vector_a".
constexpr std::array kParameters = {
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

TexVectorOp::TexVectorOp(QuorPluginDesc* maker) : QuorPlugin(maker) {
  registerCaches(*paramList, kParameters, *this);
}

}  // namespace

constinit const PluginKind kTexVectorOp =
    pluginKind<TexVectorOp, kParameters>("TexVectorOp", 0x7782F94A);

}  // namespace samplerinfo
