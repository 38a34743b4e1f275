// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <string>
#include <string_view>

#include "tests/twins/answers.h"

/// What a host owns, and writes down when it is asked.
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
struct Input final : TextureInterface, TextureFloatInterface, TextureVectorInterface {
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

  void note(const char* question, const void* argument, const auto&... answer) const {
    log.push_back({name, question, argument, numbersOf(answer...)});
  }
};

/// A host around one shading context. What evaluations ask of it is written down, in order; its
/// answers are simple functions of the questions, so that a wrong argument shows in the result.
struct ShadingHost final : CameraMotion,
                           ObjectSpaceMapping,
                           UVWSource,
                           MaterialIdSource,
                           SceneInfo,
                           RenderLog {
  /// Offers one interface or none, whatever it is asked for.
  struct Object final : PluginBase {
    PluginInterface* getInterface(InterfaceId id) override {
      host->note("getInterface", this, id);
      return offers ? PluginBase::getInterface(id) : nullptr;
    }
    ShadingHost* host = nullptr;
    bool offers = true;
  };

  Log log;
  Vector uvw{}, uvwA{}, uvwB{}, uvwC{}, boxLo{}, boxHi{};
  std::int32_t materialId = 0;
  Object object, surface;
  RenderServices services{this, this, this, 0};
  QuorFrameData frame;
  RenderContext render{&services, &frame};
  ShadingContext sc{};

  /// The camera is at the origin and does not move; object and surface offer all they can.
  ShadingHost() {
    frame.worldToCamera = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
    frame.cameraToWorld = frame.worldToCamera;
    sc.renderContext = &render;
    sc.object = &object;
    sc.surface = &surface;
    object.host = surface.host = this;
    object.addInterface(static_cast<ObjectSpaceMapping*>(this), 0);
    surface.addInterface(static_cast<UVWSource*>(this), 0);
    surface.addInterface(static_cast<MaterialIdSource*>(this), 0);
  }

  void note(const char* operation, const void* argument, const auto&... numbers) {
    log.push_back({"host", operation, argument, numbersOf(numbers...)});
  }

  PluginBase* getPlugin() override { return nullptr; }

  DVector pointToRayTime(const DVector& p, double t) override {
    return note("pointToRayTime", nullptr, p, t), DVector{p.y + t, p.z - 7 * t, p.x + 1.7};
  }
  Vector vectorToRayTime(const Vector& v, double t) override {
    return note("vectorToRayTime", nullptr, v, t), Vector{v.z, v.x + static_cast<float>(t), v.y};
  }
  DVector pointFromRayTime(const DVector& p, double t) override {
    return note("pointFromRayTime", nullptr, p, t), DVector{p.z - t, p.x + 3 * t, p.y * 1.1};
  }
  Vector vectorFromRayTime(const Vector& v, double t) override {
    return note("vectorFromRayTime", nullptr, v, t),
           Vector{v.y, v.z - static_cast<float>(t), v.x + 0.3F};
  }

  Vector worldToObjectNormal(const ShadingContext& context, const Vector& n) override {
    return note("worldToObjectNormal", &context, n), Vector{n.y, n.z, n.x};
  }
  Vector worldToObjectPoint(const ShadingContext& context, const Vector& p) override {
    return note("worldToObjectPoint", &context, p), Vector{p.z, p.x, p.y};
  }

  void getUVWDerivatives(const ShadingContext& context, std::int32_t channel, Vector& a, Vector& b,
                         Vector& c) override {
    note("getUVWDerivatives", &context, channel);
    a = uvwA;
    b = uvwB;
    c = uvwC;
  }
  Vector getUVW(const ShadingContext& context, std::int32_t channel) override {
    return note("getUVW", &context, channel), uvw;
  }
  std::int32_t getMaterialId(const ShadingContext& context) override {
    return note("getMaterialId", &context), materialId;
  }

  void getBoundingBox(Vector& lo, Vector& hi) override {
    note("getBoundingBox", nullptr);
    lo = boxLo;
    hi = boxHi;
  }
  void print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    const double first = va_arg(arguments, double);
    note(format, nullptr, first, va_arg(arguments, double));
    va_end(arguments);
  }
};

}  // namespace test
