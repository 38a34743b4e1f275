// SPDX-License-Identifier: MIT
#pragma once

#include "frame/output_tex.h"
#include "math/interval.h"
#include "math/vector.h"

/// The three questions to an input that may be absent: a null texture is not asked, its substitute
/// counts. An absent vector or colour is zero, and so is every gradient of an absent input.
///
/// A set of inputs is a record with a function `ask(question, use)`. It puts the question to the
/// inputs, in the one order in which they are always asked, and hands the answers to `use` as
/// arguments: a record of answers would go through memory and stall every evaluation.
namespace samplerinfo {

struct ValueAt {
  const ShadingContext& sc;

  float operator()(const TextureFloatInterface* input, float substitute) const {
    return input != nullptr ? input->getFloat(sc) : substitute;
  }
  Vector operator()(const TextureVectorInterface* input) const {
    return input != nullptr ? input->getVector(sc) : Vector{};
  }
  AColor operator()(const TextureInterface* input) const {
    return input != nullptr ? input->getColor(sc) : AColor{};
  }
};

/// What an input stored just now, number by number. `volatile` keeps the compiler from loading two
/// numbers at once: a load that spans two stores gets no store forwarding and waits for both.
inline Interval loadedSingly(const volatile Interval& stored) { return {stored.lo, stored.hi}; }
inline DVector loadedSingly(const volatile Vector& v) { return {v.x, v.y, v.z}; }

/// The bounds of a number. They stay where the input wrote them until all inputs are asked: a copy
/// would have to wait for the stores, and be stored again over the next call.
class FloatBounds {
 public:
  FloatBounds(const TextureFloatInterface* input, float substitute)
      : bounds_{substitute, substitute} {
    if (input != nullptr) input->getFloatBounds(bounds_.lo, bounds_.hi);
  }
  FloatBounds(const FloatBounds&) = delete;
  void operator=(const FloatBounds&) = delete;

  // NOLINTNEXTLINE(google-explicit-constructor): wherever an interval is computed with
  operator Interval() const { return loadedSingly(bounds_); }

 private:
  Interval bounds_;
};

struct BoundsOf {
  FloatBounds operator()(const TextureFloatInterface* input, float substitute) const {
    return {input, substitute};
  }
  Range<Vector> operator()(const TextureVectorInterface* input) const {
    Range<Vector> bounds{};
    if (input != nullptr) input->getVectorBounds(bounds.lo, bounds.hi);
    return bounds;
  }
  Range<AColor> operator()(const TextureInterface* input) const {
    Range<AColor> bounds{};
    if (input != nullptr) input->getColorBounds(bounds.lo, bounds.hi);
    return bounds;
  }
};

struct GradientAt {
  const ShadingContext& sc;

  template <class Texture>
  Vector operator()(const Texture* input, float /*substitute*/ = 0) const {
    return input != nullptr ? input->getGradient(sc) : Vector{};
  }
};

/// Hands `use` all inputs as dual numbers: their values, or what else `Question` asks at a point,
/// then their gradients.
template <class Question = ValueAt, class Inputs, class Use>
auto askWithGradients(const Inputs& inputs, const ShadingContext& sc, const Use& use) {
  return inputs.ask(Question{sc}, [&](const auto&... values) {
    return inputs.ask(GradientAt{sc}, [&](const auto&... gradients) {
      return use(Dual{values, gradients}...);
    });
  });
}

}  // namespace samplerinfo
