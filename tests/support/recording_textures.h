#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/shading_context.h"
#include "standin/textures.h"

/// Input textures that answer what they are told to and write down each question, in order.
namespace test {

/// The questions that the inputs of one test were asked, such as "mult_a.value", "color_a.bounds".
using Calls = std::vector<std::string>;

/// What recording textures have beyond constant ones; `T` is the type of the value.
template <class T>
struct Recorded : standin::Constant<T> {
  Recorded(Calls& record, std::string textureName) : calls(&record), name(std::move(textureName)) {}

  /// Sets value, bounds and gradient at once.
  void answer(const T& newValue, const T& newLo, const T& newHi, const QUtils::Vector& slope = {}) {
    this->value = newValue;
    this->lo = newLo;
    this->hi = newHi;
    this->gradient = slope;
  }

  T valueAt(const QUtils::ShadingContext& sc) const {
    note("value", sc);
    return this->value;
  }
  QUtils::Range<T> bounds() const {
    note("bounds");
    return {this->lo, this->hi};
  }
  QUtils::Vector gradientAt(const QUtils::ShadingContext& sc) const {
    note("gradient", sc);
    return this->gradient;
  }

  void note(const char* question) const { calls->push_back(name + "." + question); }
  void note(const char* question, const QUtils::ShadingContext& sc) const {
    note(question);
    if (expectedContext != nullptr && expectedContext != &sc) calls->back() += " (other context)";
  }

  Calls* calls;
  std::string name;
  const QUtils::ShadingContext* expectedContext = nullptr;
};

using RecordingFloat = standin::TextureOf<Recorded<float>>;
using RecordingVector = standin::TextureOf<Recorded<QUtils::Vector>>;
using RecordingColor = standin::TextureOf<Recorded<QUtils::AColor>>;

}  // namespace test
