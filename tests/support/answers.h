#pragma once

#include <algorithm>
#include <ostream>
#include <vector>

#include "host/shading_context.h"
#include "tests/support/bits.h"

/// Textures of any kind, asked any question. Answers are compared as bits: signs of zero count, any
/// NaN equals any other.
namespace test {

using namespace QUtils;

enum class Question { Value, Bounds, Gradient };
inline constexpr Question kQuestions[] = {Question::Value, Question::Bounds, Question::Gradient};
inline constexpr const char* kQuestionNames[] = {"value", "bounds", "gradient"};

/// The numbers of an answer in their order, widened; of bounds first the lower one's.
struct Answer {
  std::vector<double> numbers;

  void add(float x) { numbers.push_back(static_cast<double>(x)); }
  void add(std::int32_t x) { numbers.push_back(x); }
  void add(const Vector& v) { add(v.x), add(v.y), add(v.z); }
  void add(const AColor& c) { add(c.r), add(c.g), add(c.b), add(c.a); }
  void add(const Transform& t) { add(t.c0), add(t.c1), add(t.c2), add(t.offset); }
};

inline bool operator==(const Answer& a, const Answer& b) {
  return std::equal(a.numbers.begin(), a.numbers.end(), b.numbers.begin(), b.numbers.end(),
                    [](double x, double y) { return sameBits(x, y); });
}
inline std::ostream& operator<<(std::ostream& out, const Answer& answer) {
  const auto digits = out.precision(9);
  for (const double number : answer.numbers) out << number << ' ';
  out.precision(digits);
  return out;
}

// The kinds of textures under the same names.
inline AColor value(const TextureInterface& t, const ShadingContext& sc) { return t.getColor(sc); }
inline float value(const TextureFloatInterface& t, const ShadingContext& sc) {
  return t.getFloat(sc);
}
inline Vector value(const TextureVectorInterface& t, const ShadingContext& sc) {
  return t.getVector(sc);
}
inline std::int32_t value(const TextureIntInterface& t, const ShadingContext& sc) {
  return t.getInt(sc);
}
inline Transform value(const TextureTransformInterface& t, const ShadingContext& sc) {
  return t.getTransform(sc);
}
inline void bounds(const TextureInterface& t, AColor& lo, AColor& hi) { t.getColorBounds(lo, hi); }
inline void bounds(const TextureFloatInterface& t, float& lo, float& hi) {
  t.getFloatBounds(lo, hi);
}
inline void bounds(const TextureVectorInterface& t, Vector& lo, Vector& hi) {
  t.getVectorBounds(lo, hi);
}

/// Calls `f` with the texture as what it is.
template <class F>
void visit(const PluginInterface& texture, F f) {
  switch (texture.getInterfaceId()) {
    case EXT_TEXTURE:
      return f(static_cast<const TextureInterface&>(texture));
    case EXT_TEXTURE_FLOAT:
      return f(static_cast<const TextureFloatInterface&>(texture));
    case EXT_TEXTURE_VECTOR:
      return f(static_cast<const TextureVectorInterface&>(texture));
    case EXT_TEXTURE_INT:
      return f(static_cast<const TextureIntInterface&>(texture));
    case EXT_TEXTURE_TRANSFORM:
      return f(static_cast<const TextureTransformInterface&>(texture));
    default:
      break;
  }
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
      answer.add(lo);
      answer.add(hi);
    }
  });
  return answer;
}

}  // namespace test
