// SPDX-License-Identifier: MIT
// Combines two numbers, a and b. Not a texture itself: each result is an output.

#include <array>
#include <cmath>
#include <functional>

#include "frame/inputs.h"
#include "frame/plugin_kind.h"
#include "math/vector.h"

namespace samplerinfo {
namespace {

/// An absent `float_a` counts as 0. Kept: an absent `float_b` as 0 or 1, as the output has it.
template <int kAbsentB>
struct FloatPair {
  TextureFloatInterface* float_a = nullptr;
  TextureFloatInterface* float_b = nullptr;

  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto a = question(float_a, 0);
    const auto b = question(float_b, kAbsentB);
    return use(a, b);
  }
};

template <int kAbsentB>
using FloatPairTex = OperationTex<TextureFloatInterface, FloatPair<kAbsentB>>;

/// `Op` of a and b, bounded by its results at the corners.
template <class Op, int kAbsentB>
class BinaryTex : public FloatPairTex<kAbsentB> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return this->inputs.ask(ValueAt{sc}, Op{});
  }
  void getFloatBounds(float& min, float& max) const override {
    this->inputs.ask(BoundsOf{}, [&](const Interval& a, const Interval& b) {
      store(chainedCorners(a, b, Op{}), min, max);
    });
  }
};

/// a · b
class ProdTex final : public BinaryTex<std::multiplies<>, 0> {
 public:
  Vector getGradient(const ShadingContext& sc) const override {
    return askWithGradients(inputs, sc, [](const auto& a, const auto& b) {
      const Vector term = a.gradient * b.value;
      return term + term;  // Kept: not the product rule; the value of a and db do not enter.
    });
  }
};

/// a / b, and 0 where b is 0.
class RatioTex final : public BinaryTex<std::divides<>, 1> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float a, float b) { return b == 0 ? 0 : a / b; });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float a = ValueAt{sc}(inputs.float_a, 0);
    if (inputs.float_b == nullptr) return {};  // Kept: zero, although the value is then a.
    const float b = inputs.float_b->getFloat(sc);
    if (b == 0) return {};
    return inputs.ask(GradientAt{sc}, [a, b](const Vector& da, const Vector& db) {
      return (da * b - db * a) / (b * b);
    });
  }
};

/// a + b or a - b
template <class Op>
class LinearTex final : public BinaryTex<Op, 0> {
 public:
  Vector getGradient(const ShadingContext& sc) const override {
    return this->inputs.ask(GradientAt{sc}, Op{});
  }
};

using FloatAddTex = LinearTex<std::plus<>>;
using FloatSubTex = LinearTex<std::minus<>>;

struct Power {
  float operator()(float base, float exponent) const { return powf(base, exponent); }
};

/// a to the power of b; its gradient is zero.
class FloatPowTex final : public BinaryTex<Power, 1> {
 public:
  void getFloatBounds(float& min, float& max) const override {
    if (inputs.float_b != nullptr) {
      BinaryTex::getFloatBounds(min, max);
      return;
    }
    // Told that b is 1, the compiler leaves out the powers.
    store(chainedCorners<float, float>(FloatBounds(inputs.float_a, 0), {1, 1}, Power{}), min, max);
  }
};

// In double precision, rounded once.
float sine(float x) { return static_cast<float>(std::sin(static_cast<double>(x))); }
float cosine(float x) { return static_cast<float>(std::cos(static_cast<double>(x))); }
float cosineDerivative(float x) { return static_cast<float>(0 - std::sin(static_cast<double>(x))); }

/// `kWave` of a · b, radians; `kDerivative` is its derivative.
template <float (*kWave)(float), float (*kDerivative)(float)>
class WaveTex final : public FloatPairTex<1> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float a, float b) { return kWave(a * b); });
  }
  void getFloatBounds(float& min, float& max) const override {
    min = -1;
    max = 1;
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return askWithGradients(inputs, sc, [](const auto& a, const auto& b) {
      return productGradient(a, b) * kDerivative(a.value * b.value);
    });
  }
};

using FloatSinTex = WaveTex<sine, cosine>;
using FloatCosTex = WaveTex<cosine, cosineDerivative>;

/// The one of a and b that compares `Before` the other, else b; bounded by the range of both.
template <class Before>
class SelectTex final : public FloatPairTex<1> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [](float a, float b) { return Before{}(a, b) ? a : b; });
  }
  void getFloatBounds(float& min, float& max) const override {
    inputs.ask(BoundsOf{},
               [&](const Interval& a, const Interval& b) { store(hull(a, b), min, max); });
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [&](float a, float b) {
      return GradientAt{sc}(Before{}(a, b) ? inputs.float_a : inputs.float_b);
    });
  }
};

using FloatMinTex = SelectTex<std::less<>>;
using FloatMaxTex = SelectTex<std::greater<>>;

class TexFloatOp final : public QuorPlugin {
 public:
  explicit TexFloatOp(QuorPluginDesc* maker);

  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    const auto copyInto = [this](auto&... outputs) {
      ((outputs.inputs = {float_a, float_b}), ...);
    };
    copyInto(product, ratio, sum, difference, power, sin, cos, min, max);
  }

  TextureFloatInterface* float_a = nullptr;
  TextureFloatInterface* float_b = nullptr;
  ProdTex product;
  RatioTex ratio;
  FloatAddTex sum;
  FloatSubTex difference;
  FloatPowTex power;
  FloatSinTex sin;
  FloatCosTex cos;
  FloatMinTex min;
  FloatMaxTex max;
};

// Described and bound in this order. Kept: "float_b" carries the help text of "float_a".
constexpr std::array kParameters = {
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

TexFloatOp::TexFloatOp(QuorPluginDesc* maker) : QuorPlugin(maker) {
  registerCaches(*paramList, kParameters, *this);
}

}  // namespace

constinit const PluginKind kTexFloatOp =
    pluginKind<TexFloatOp, kParameters>("TexFloatOp", 0x7782F94D);

}  // namespace samplerinfo
