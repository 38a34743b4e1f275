#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <initializer_list>

#include "tests/support/recording.h"

/// A host around one shading context. What evaluations ask of it is written down, in order; its
/// answers are simple functions of the questions, so that a wrong argument shows in the result.
namespace test {

struct ShadingHost {
  Log* log = nullptr;  ///< where the calls are written down
  void note(const char* owner, const char* operation, const void* argument,
            std::initializer_list<double> numbers) {
    if (log != nullptr) log->push_back({owner, operation, argument, {numbers}});
  }

  struct Part {
    explicit Part(ShadingHost& owner) : host(owner) {}
    ShadingHost& host;
  };

  struct Motion final : CameraMotion, Part {
    using Part::Part;
    DVector pointToRayTime(const DVector& p, double t) override {
      host.note("motion", "pointToRayTime", nullptr, {p.x, p.y, p.z, t});
      return {p.y + t, p.z - 7 * t, p.x + 1.7};
    }
    Vector vectorToRayTime(const Vector& v, double t) override {
      noteVector("vectorToRayTime", v, t);
      return {v.z, v.x + static_cast<float>(t), v.y};
    }
    DVector pointFromRayTime(const DVector& p, double t) override {
      host.note("motion", "pointFromRayTime", nullptr, {p.x, p.y, p.z, t});
      return {p.z - t, p.x + 3 * t, p.y * 1.1};
    }
    Vector vectorFromRayTime(const Vector& v, double t) override {
      noteVector("vectorFromRayTime", v, t);
      return {v.y, v.z - static_cast<float>(t), v.x + 0.3F};
    }
    void noteVector(const char* operation, const Vector& v, double t) {
      const DVector wide = {v.x, v.y, v.z};
      host.note("motion", operation, nullptr, {wide.x, wide.y, wide.z, t});
    }
  };

  /// Offers one interface or none, whatever it is asked for.
  struct Object final : PluginBase, Part {
    using Part::Part;
    PluginInterface* getInterface(InterfaceId id) override {
      host.note("object", "getInterface", this, {static_cast<double>(id)});
      return offers ? PluginBase::getInterface(id) : nullptr;
    }
    bool offers = true;
  };

  struct Mapping final : ObjectSpaceMapping, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.object; }
    Vector worldToObjectNormal(const ShadingContext& context, const Vector& n) override {
      const DVector wide = {n.x, n.y, n.z};
      host.note("mapping", "worldToObjectNormal", &context, {wide.x, wide.y, wide.z});
      return {n.y, n.z, n.x};
    }
    Vector worldToObjectPoint(const ShadingContext& context, const Vector& p) override {
      const DVector wide = {p.x, p.y, p.z};
      host.note("mapping", "worldToObjectPoint", &context, {wide.x, wide.y, wide.z});
      return {p.z, p.x, p.y};
    }
  };

  struct Uvw final : UVWSource, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.surface; }
    void getUVWDerivatives(const ShadingContext& context, std::int32_t channel, Vector& outA,
                           Vector& outB, Vector& outC) override {
      host.note("uvw", "getUVWDerivatives", &context, {static_cast<double>(channel)});
      outA = a;
      outB = b;
      outC = c;
    }
    Vector getUVW(const ShadingContext& context, std::int32_t channel) override {
      host.note("uvw", "getUVW", &context, {static_cast<double>(channel)});
      return uvw;
    }
    Vector a{}, b{}, c{}, uvw{};
  };

  struct MaterialId final : MaterialIdSource, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.surface; }
    std::int32_t getMaterialId(const ShadingContext& context) override {
      host.note("materialId", "getMaterialId", &context, {});
      return id;
    }
    std::int32_t id = 0;
  };

  struct Scene final : SceneInfo, Part {
    using Part::Part;
    void getBoundingBox(Vector& outLo, Vector& outHi) override {
      host.note("scene", "getBoundingBox", nullptr, {});
      if (whileAsked) whileAsked();
      outLo = lo;
      outHi = hi;
    }
    Vector lo{}, hi{};
    std::function<void()> whileAsked;
  };

  struct Printer final : RenderLog, Part {
    using Part::Part;
    void print(const char* format, ...) override {
      char text[128];
      std::va_list arguments;
      va_start(arguments, format);
      std::vsnprintf(text, sizeof text, format, arguments);
      va_end(arguments);
      va_start(arguments, format);
      const double first = va_arg(arguments, double);
      const double second = va_arg(arguments, double);
      va_end(arguments);
      host.note("log", "print", nullptr, {first, second});
      lines.emplace_back(text);
      if (whilePrinting) whilePrinting();
    }
    std::vector<std::string> lines;
    std::function<void()> whilePrinting;
  };

  Motion motion{*this};
  Object object{*this}, surface{*this};
  Mapping mapping{*this};
  Uvw uvw{*this};
  MaterialId materialId{*this};
  Scene scene{*this};
  Printer printer{*this};
  RenderServices services{&printer, &scene, &motion, 0};
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
    object.addInterface(&mapping, 0);
    surface.addInterface(&uvw, 0);
    surface.addInterface(&materialId, 0);
  }
};

}  // namespace test
