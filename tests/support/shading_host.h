#pragma once

#include <cstdarg>
#include <functional>

#include "tests/support/recording.h"

/// A host around one shading context. What evaluations ask of it is written down, in order; its
/// answers are simple functions of the questions, so that a wrong argument shows in the result.
namespace test {

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

  Log* log = nullptr;  ///< where the calls are written down
  Vector uvw{}, uvwA{}, uvwB{}, uvwC{}, boxLo{}, boxHi{};
  std::int32_t materialId = 0;
  int printed = 0;  ///< lines of the log
  std::function<void()> whileBoxIsAsked, whilePrinting;
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
    if (log != nullptr) log->push_back({"host", operation, argument, numbersOf(numbers...)});
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
    if (whileBoxIsAsked) whileBoxIsAsked();
    lo = boxLo;
    hi = boxHi;
  }
  void print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    const double first = va_arg(arguments, double);
    note(format, nullptr, first, va_arg(arguments, double));
    va_end(arguments);
    ++printed;
    if (whilePrinting) whilePrinting();
  }
};

}  // namespace test
