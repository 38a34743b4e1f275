// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <vector>

#include "host/shading_context.h"

/// Textures of any kind, asked any question. Answers are compared as bits.
namespace test {

/// Compares as bits: signs of zero count, any NaN equals any other.
template <class T>
bool same(T a, T b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b);
  return a == b && std::signbit(a) == std::signbit(b);
}

using namespace QUtils;

enum class Question { Value, Bounds, Gradient };
inline constexpr Question kQuestions[] = {Question::Value, Question::Bounds, Question::Gradient};
inline constexpr const char* kQuestionNames[] = {"value", "bounds", "gradient"};

/// Numbers in their order, widened; of bounds first the lower one's.
struct Answer {
  std::vector<double> numbers;

  void add(auto x) { numbers.push_back(static_cast<double>(x)); }
  void add(const Vector& v) { add(v.x), add(v.y), add(v.z); }
  void add(const DVector& v) { add(v.x), add(v.y), add(v.z); }
  void add(const AColor& c) { add(c.r), add(c.g), add(c.b), add(c.a); }
  void add(const Transform& t) { add(t.c0), add(t.c1), add(t.c2), add(t.offset); }
};

inline Answer numbersOf(const auto&... parts) {
  Answer all;
  (all.add(parts), ...);
  return all;
}

inline bool operator==(const Answer& a, const Answer& b) {
  return std::ranges::equal(a.numbers, b.numbers, same<double>);
}
inline std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  for (const double number : answer.numbers) out << std::setprecision(9) << number << ' ';
  return out;
}

// The kinds of textures under the same names.
auto value(const auto& texture, const ShadingContext& sc) {
  if constexpr (requires { texture.getColor(sc); }) return texture.getColor(sc);
  if constexpr (requires { texture.getFloat(sc); }) return texture.getFloat(sc);
  if constexpr (requires { texture.getVector(sc); }) return texture.getVector(sc);
  if constexpr (requires { texture.getInt(sc); }) return texture.getInt(sc);
  if constexpr (requires { texture.getTransform(sc); }) return texture.getTransform(sc);
}
void bounds(const auto& texture, auto& lo, auto& hi) {
  if constexpr (requires { texture.getColorBounds(lo, hi); }) texture.getColorBounds(lo, hi);
  if constexpr (requires { texture.getFloatBounds(lo, hi); }) texture.getFloatBounds(lo, hi);
  if constexpr (requires { texture.getVectorBounds(lo, hi); }) texture.getVectorBounds(lo, hi);
}

template <class Kind>
void visitIf(InterfaceId kind, const PluginInterface& texture, auto f) {
  if (texture.getInterfaceId() == kind) f(static_cast<const Kind&>(texture));
}
/// Calls `f` with the texture as what it is.
void visit(const PluginInterface& texture, auto f) {
  visitIf<TextureInterface>(EXT_TEXTURE, texture, f);
  visitIf<TextureFloatInterface>(EXT_TEXTURE_FLOAT, texture, f);
  visitIf<TextureVectorInterface>(EXT_TEXTURE_VECTOR, texture, f);
  visitIf<TextureIntInterface>(EXT_TEXTURE_INT, texture, f);
  visitIf<TextureTransformInterface>(EXT_TEXTURE_TRANSFORM, texture, f);
}

/// Empty where the texture has no such question. Bounds are always written to the same place, so
/// that an input can tell whether it writes them there itself: for one thread.
inline Answer ask(const PluginInterface& texture, Question question, const ShadingContext& sc) {
  Answer answer;
  visit(texture, [&](const auto& t) {
    if (question == Question::Value) answer.add(value(t, sc));
    if constexpr (requires { t.getGradient(sc); }) {
      if (question == Question::Gradient) answer.add(t.getGradient(sc));
      if (question != Question::Bounds) return;
      static decltype(value(t, sc)) lo, hi;
      bounds(t, lo, hi);
      answer = numbersOf(lo, hi);
    }
  });
  return answer;
}

}  // namespace test
