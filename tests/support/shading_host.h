#pragma once

#include <cstdarg>
#include <functional>
#include <string>
#include <vector>

#include "host/shading_context.h"
#include "tests/support/bits.h"
#include "tests/support/library.h"

/// A host around one shading context. What evaluations ask of it is written down, in order; its
/// answers are simple functions of the questions, so that a wrong argument shows in the result.
namespace test {

using namespace QUtils;

// What the camera's motion answers.
inline DVector pointTo(const DVector& p, double t) { return {p.y + t, p.z - 7 * t, p.x + 1.7}; }
inline Vector vectorTo(const Vector& v, double t) {
  return {v.z, v.x + static_cast<float>(t), v.y};
}
inline DVector pointFrom(const DVector& p, double t) { return {p.z - t, p.x + 3 * t, p.y * 1.1}; }
inline Vector vectorFrom(const Vector& v, double t) {
  return {v.y, v.z - static_cast<float>(t), v.x + 0.3F};
}

struct ShadingHost {
  std::vector<std::string> calls;  ///< such as "vectorToRayTime(1)", with x of the argument
  void note(const char* operation, double argument) {
    char text[64];
    std::snprintf(text, sizeof text, "%s(%.10g)", operation, argument);
    calls.emplace_back(text);
  }

  struct Part {
    explicit Part(ShadingHost& owner) : host(owner) {}
    ShadingHost& host;
  };

  struct Motion final : CameraMotion, Part {
    using Part::Part;
    DVector pointToRayTime(const DVector& point, double t) override {
      host.note("pointToRayTime", point.x);
      return pointTo(point, t);
    }
    Vector vectorToRayTime(const Vector& vector, double t) override {
      host.note("vectorToRayTime", static_cast<double>(vector.x));
      return vectorTo(vector, t);
    }
    DVector pointFromRayTime(const DVector& point, double t) override {
      host.note("pointFromRayTime", point.x);
      return pointFrom(point, t);
    }
    Vector vectorFromRayTime(const Vector& vector, double t) override {
      host.note("vectorFromRayTime", static_cast<double>(vector.x));
      return vectorFrom(vector, t);
    }
  };

  /// Offers the interfaces that it is given.
  struct Object final : PluginBase, Part {
    using Part::Part;
    PluginInterface* getInterface(InterfaceId id) override {
      host.note("getInterface", static_cast<double>(id));
      return PluginBase::getInterface(id);
    }
  };

  struct Mapping final : ObjectSpaceMapping, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.object; }
    Vector worldToObjectNormal(const ShadingContext& context, const Vector& n) override {
      EXPECT_EQ(&context, &host.sc);
      host.note("worldToObjectNormal", static_cast<double>(n.x));
      return {n.y, n.z, n.x};
    }
    Vector worldToObjectPoint(const ShadingContext& context, const Vector& p) override {
      EXPECT_EQ(&context, &host.sc);
      host.note("worldToObjectPoint", static_cast<double>(p.x));
      return {p.z, p.x, p.y};
    }
  };

  struct Uvw final : UVWSource, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.surface; }
    void getUVWDerivatives(const ShadingContext& context, std::int32_t channel, Vector& outA,
                           Vector& outB, Vector& outC) override {
      EXPECT_EQ(&context, &host.sc);
      host.note("getUVWDerivatives", channel);
      outA = a;
      outB = b;
      outC = c;
    }
    Vector getUVW(const ShadingContext& context, std::int32_t channel) override {
      EXPECT_EQ(&context, &host.sc);
      host.note("getUVW", channel);
      return uvw;
    }
    Vector a{}, b{}, c{}, uvw{};
  };

  struct MaterialId final : MaterialIdSource, Part {
    using Part::Part;
    PluginBase* getPlugin() override { return &host.surface; }
    std::int32_t getMaterialId(const ShadingContext& context) override {
      EXPECT_EQ(&context, &host.sc);
      host.note("getMaterialId", 0);
      return id;
    }
    std::int32_t id = 0;
  };

  struct Scene final : SceneInfo {
    void getBoundingBox(Vector& outLo, Vector& outHi) override {
      if (whileAsked) whileAsked();
      outLo = lo;
      outHi = hi;
    }
    Vector lo{}, hi{};
    std::function<void()> whileAsked;
  };

  struct Log final : RenderLog {
    void print(const char* format, ...) override {
      char text[128];
      std::va_list arguments;
      va_start(arguments, format);
      std::vsnprintf(text, sizeof text, format, arguments);
      va_end(arguments);
      lines.emplace_back(text);
      if (whilePrinting) whilePrinting();
    }
    std::vector<std::string> lines;
    std::function<void()> whilePrinting;
  };

  Motion motion{*this};
  Object object{*this};
  Object surface{*this};
  Mapping mapping{*this};
  Uvw uvw{*this};
  MaterialId materialId{*this};
  Scene scene;
  Log log;
  RenderServices services{&log, &scene, &motion, 0};
  QuorFrameData frame;
  RenderContext render{&services, &frame};
  ShadingContext sc{};

  /// The camera is at the origin and does not move; no object, no surface.
  ShadingHost() {
    frame.worldToCamera = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
    frame.cameraToWorld = frame.worldToCamera;
    sc.renderContext = &render;
  }

  void offerAll() {
    sc.object = &object;
    sc.surface = &surface;
    object.addInterface(&mapping, 0);
    surface.addInterface(&uvw, 0);
    surface.addInterface(&materialId, 0);
  }
};

/// A sampler as a host uses it, in its first frame.
class Sampler : public Instance {
 public:
  Sampler() : Instance("TexSampler") {
    plugin().renderBegin(nullptr);
    frameBegin();
  }
  float number(const char* name, const ShadingContext& sc) {
    return output<TextureFloatInterface>(name).getFloat(sc);
  }
  Vector vector(const char* name, const ShadingContext& sc) {
    return output<TextureVectorInterface>(name).getVector(sc);
  }
  Transform transform(const char* name, const ShadingContext& sc) {
    return output<TextureTransformInterface>(name).getTransform(sc);
  }
  std::int32_t integer(const char* name, const ShadingContext& sc) {
    return output<TextureIntInterface>(name).getInt(sc);
  }
};

/// Seeded numbers in double precision; one in 32 is one of `kSpecials`.
class RandomReals {
 public:
  explicit RandomReals(std::uint32_t seed) : engine_(seed) {}

  double real() {
    if (engine_() % 32 == 0) {
      return static_cast<double>(kSpecials[engine_() % std::size(kSpecials)]);
    }
    return std::ldexp(std::uniform_real_distribution<>(-1, 1)(engine_),
                      static_cast<int>(engine_() % 9) - 4);
  }
  Vector vector() {
    const DVector v = precise();
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
  }
  DVector precise() {
    const double x = real();
    const double y = real();
    return {x, y, real()};
  }
  PreciseTransform transform() {
    const Vector c0 = vector();
    const Vector c1 = vector();
    const Vector c2 = vector();
    return {c0, c1, c2, precise()};
  }
  std::int32_t below(unsigned n) { return static_cast<std::int32_t>(engine_() % n); }

 private:
  std::mt19937 engine_;
};

}  // namespace test
