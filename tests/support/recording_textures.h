#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/shading_context.h"

/// Input textures that answer what they are told to and write down each question, in order.
namespace test {

/// The questions that the inputs of one test were asked, such as "mult_a.value", "color_a.bounds".
using Calls = std::vector<std::string>;

/// What all kinds of recording textures have; `T` is the type of the value.
template <class T>
struct Recorded {
  Recorded(Calls& record, std::string textureName) : calls(&record), name(std::move(textureName)) {}

  /// Sets value, bounds and gradient at once.
  void answer(const T& newValue, const T& newLo, const T& newHi, const QUtils::Vector& slope = {}) {
    value = newValue;
    lo = newLo;
    hi = newHi;
    gradient = slope;
  }

  void note(const char* question) const { calls->push_back(name + "." + question); }
  void note(const char* question, const QUtils::ShadingContext& sc) const {
    note(question);
    if (expectedContext != nullptr && expectedContext != &sc) calls->back() += " (other context)";
  }

  Calls* calls;
  std::string name;
  const QUtils::ShadingContext* expectedContext = nullptr;
  T value = {}, lo = {}, hi = {};
  QUtils::Vector gradient = {};
};

class RecordingFloat final : public QUtils::TextureFloatInterface, public Recorded<float> {
 public:
  using Recorded::Recorded;
  QUtils::PluginBase* getPlugin() override { return nullptr; }
  float getFloat(const QUtils::ShadingContext& sc) const override {
    note("value", sc);
    return value;
  }
  void getFloatBounds(float& min, float& max) const override {
    note("bounds");
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    note("gradient", sc);
    return gradient;
  }
};

class RecordingVector final : public QUtils::TextureVectorInterface,
                              public Recorded<QUtils::Vector> {
 public:
  using Recorded::Recorded;
  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::Vector getVector(const QUtils::ShadingContext& sc) const override {
    note("value", sc);
    return value;
  }
  void getVectorBounds(QUtils::Vector& min, QUtils::Vector& max) const override {
    note("bounds");
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    note("gradient", sc);
    return gradient;
  }
};

class RecordingColor final : public QUtils::TextureInterface, public Recorded<QUtils::AColor> {
 public:
  using Recorded::Recorded;
  QUtils::PluginBase* getPlugin() override { return nullptr; }
  QUtils::AColor getColor(const QUtils::ShadingContext& sc) const override {
    note("value", sc);
    return value;
  }
  void getColorBounds(QUtils::AColor& min, QUtils::AColor& max) const override {
    note("bounds");
    min = lo;
    max = hi;
  }
  QUtils::Vector getGradient(const QUtils::ShadingContext& sc) const override {
    note("gradient", sc);
    return gradient;
  }
};

}  // namespace test
