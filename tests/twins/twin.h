// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>
#include <functional>
#include <tuple>

#include "tests/twins/answers.h"

/// The outputs of the plugins written a second time, each as the plainest class that gives its
/// answers: one rounded step after the other, the inputs asked in their order. Tests compare the
/// library with them, benchmarks measure against them; they share no line with it.
namespace twins {

using namespace QUtils;

/// Leaves no call behind, however large it is.
#define TWIN_INLINE __attribute__((always_inline))

struct NoInputs {};

/// A texture that belongs to no object, with its inputs as public members.
template <class Interface, class Inputs = NoInputs>
class Twin : public Interface, public Inputs {
 public:
  PluginBase* getPlugin() override { return nullptr; }
};

template <class T>
struct Range {
  T lo, hi;
};
using Interval = Range<float>;

template <class T>
void store(const Range<T>& range, T& min, T& max) {
  min = range.lo;
  max = range.hi;
}

/// The range of one component or channel.
template <class T>
TWIN_INLINE inline Interval at(const Range<T>& range, float T::*part) {
  return {range.lo.*part, range.hi.*part};
}

// What an input answers. An absent vector or colour is zero, and so is every absent gradient.
template <class Texture>
using ValueOf = decltype(test::value(std::declval<Texture>(), ShadingContext()));
inline Vector valueOf(const TextureVectorInterface* input, const ShadingContext& sc) {
  return input != nullptr ? input->getVector(sc) : Vector{};
}
inline AColor valueOf(const TextureInterface* input, const ShadingContext& sc) {
  return input != nullptr ? input->getColor(sc) : AColor{};
}
inline float valueOf(const TextureFloatInterface* input, const ShadingContext& sc, float absent) {
  return input != nullptr ? input->getFloat(sc) : absent;
}
inline Vector gradientOf(const auto* input, const ShadingContext& sc) {
  return input != nullptr ? input->getGradient(sc) : Vector{};
}

/// The bounds of an input, which writes them where they stay: a record that is copied after its two
/// halves were written would have to wait for both.
template <class Texture>
struct Bounds : Range<ValueOf<Texture>> {
  explicit Bounds(const Texture* input, ValueOf<Texture> absent = {})
      : Range<ValueOf<Texture>>{absent, absent} {
    if (input != nullptr) test::bounds(*input, this->lo, this->hi);
  }
};

inline Vector operator+(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(const Vector& v, float s) { return {v.x * s, v.y * s, v.z * s}; }
inline Vector operator/(const Vector& v, float s) { return {v.x / s, v.y / s, v.z / s}; }

inline float narrow(double x) { return static_cast<float>(x); }
inline Vector narrow(const DVector& v) { return {narrow(v.x), narrow(v.y), narrow(v.z)}; }
inline DVector wide(const Vector& v) { return {v.x, v.y, v.z}; }

inline float length(const Vector& v) { return std::sqrt((v.x * v.x + v.y * v.y) + v.z * v.z); }
inline double dot(const Vector& p, const Vector& q) {
  const DVector a = wide(p), b = wide(q);
  return (a.x * b.x + a.y * b.y) + a.z * b.z;
}
inline DVector cross(const DVector& a, const DVector& b) {
  return {a.y * b.z - b.y * a.z, a.z * b.x - b.z * a.x, a.x * b.y - b.x * a.y};
}

// The second one when they tie or when either is NaN.
auto lesser(auto x, auto y) { return x < y ? x : y; }
auto greater(auto x, auto y) { return x > y ? x : y; }

/// The extremes of four numbers, compared from the last one on.
template <class T>
TWIN_INLINE inline Range<T> chained(T p, T q, T r, T s) {
  return {lesser(p, lesser(q, lesser(r, s))), greater(p, greater(q, greater(r, s)))};
}
/// The same, compared in two pairs.
TWIN_INLINE inline Interval paired(float p, float q, float r, float s) {
  return {lesser(lesser(p, q), lesser(r, s)), greater(greater(p, q), greater(r, s))};
}

/// `Op` at the corners.
TWIN_INLINE inline Interval chainedCorners(const Interval& a, const Interval& b, auto op) {
  return chained(op(a.hi, b.hi), op(a.hi, b.lo), op(a.lo, b.hi), op(a.lo, b.lo));
}
TWIN_INLINE inline Interval pairedCorners(const Interval& a, const Interval& b, auto op) {
  return paired(op(a.lo, b.lo), op(a.lo, b.hi), op(a.hi, b.lo), op(a.hi, b.hi));
}

using Times = std::multiplies<>;
using Over = std::divides<>;
using Less = std::less<float>;
using Greater = std::greater<float>;
struct Plus {
  float operator()(float a, float b) const { return a + b; }
  Vector operator()(const Vector& a, const Vector& b) const { return a + b; }
};
struct Minus {
  float operator()(float a, float b) const { return a - b; }
  Vector operator()(const Vector& a, const Vector& b) const { return a - b; }
};
struct Power {
  float operator()(float base, float exponent) const { return powf(base, exponent); }
};

}  // namespace twins
