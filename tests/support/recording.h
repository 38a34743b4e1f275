#pragma once

#include <string>
#include <string_view>

#include "tests/support/answers.h"

namespace test {

/// One call of something that a host owns: an input texture, an object, the camera's motion.
struct Call {
  std::string_view owner;
  std::string_view operation;
  const void* argument;  ///< the context, or the place of the bounds
  Answer numbers;        ///< the other arguments of the host's, the answer of an input

  bool operator==(const Call& other) const = default;
};
using Log = std::vector<Call>;

inline std::ostream& operator<<(std::ostream& out, const Log& log) {
  for (const Call& call : log) {
    out << "\n  " << call.owner << '.' << call.operation << '(' << call.argument << ") "
        << call.numbers;
  }
  return out;
}

/// An input that answers what it is told to, as a texture of any of the three kinds, and writes
/// down each question.
class Input final : public TextureInterface,
                    public TextureFloatInterface,
                    public TextureVectorInterface {
 public:
  Input(std::string inputName, Log& record) : name(std::move(inputName)), log(record) {}

  /// As the kind of texture that an input of this name takes.
  PluginInterface* texture() {
    if (name.starts_with("color")) return static_cast<TextureInterface*>(this);
    if (name.starts_with("vector")) return static_cast<TextureVectorInterface*>(this);
    return static_cast<TextureFloatInterface*>(this);
  }

  PluginBase* getPlugin() override { return nullptr; }
  AColor getColor(const ShadingContext& sc) const override {
    return note("value", &sc, value), value;
  }
  float getFloat(const ShadingContext& sc) const override {
    return note("value", &sc, value.r), value.r;
  }
  Vector getVector(const ShadingContext& sc) const override {
    const Vector v = {value.r, value.g, value.b};
    return note("value", &sc, v), v;
  }
  Vector getGradient(const ShadingContext& sc) const override {
    return note("gradient", &sc, gradient), gradient;
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    note("bounds", nullptr, min = lo, max = hi);
  }
  void getFloatBounds(float& min, float& max) const override {
    note("bounds", name == "result_alpha" ? &min : nullptr, min = lo.r, max = hi.r);
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    min = {lo.r, lo.g, lo.b};
    max = {hi.r, hi.g, hi.b};
    note("bounds", nullptr, min, max);
  }

  std::string name;
  Log& log;
  AColor value = {}, lo = {}, hi = {};
  Vector gradient = {};

 private:
  void note(const char* question, const void* argument, const auto&... answer) const {
    log.push_back({name, question, argument, numbersOf(answer...)});
  }
};

}  // namespace test
