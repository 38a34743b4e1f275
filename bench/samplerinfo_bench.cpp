#include <benchmark/benchmark.h>

#include <cmath>
#include <concepts>
#include <functional>

#include "math/color.h"
#include "math/interval.h"
#include "math/vector.h"
#include "standin/host_objects.h"
#include "standin/textures.h"
#include "tests/support/bits.h"
#include "tests/support/library.h"

// What an answer of the loaded library costs, beside the same arithmetic written into one body
// ("inlined"). Both are asked through one virtual call of the same interface. The body reads the
// inputs from memory where the library asks connected textures: the difference is the price of the
// shading network. A comparison whose answers differ is reported as an error.

namespace {

using namespace QUtils;

/// A render with a camera at the origin that does not move.
struct Scene {
  standin::BoxScene box;
  RenderServices services{nullptr, &box, nullptr, 0};
  QuorFrameData frame;
  RenderContext render{&services, &frame};
  ShadingContext sc{};

  Scene() {
    box.lo = {-1, -1, -8};
    box.hi = {1, 1, -2};
    frame.worldToCamera = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
    sc.renderContext = &render;
    sc.shadingPoint = {0.25, 0.5, -3};
    sc.normal = {0.6F, 0, 0.8F};
    sc.rayDirection = {0.1F, 0.2F, -0.9F};
  }
} scene;

/// The inputs of all plugins. Their gradients differ from zero.
struct Inputs {
  standin::ConstantFloat a, b;
  standin::ConstantVector va, vb;
  standin::ConstantColor ca, cb;

  Inputs() {
    a.value = 0.7F, a.lo = -0.5F, a.hi = 2, a.gradient = {1, 2, 3};
    b.value = 1.3F, b.lo = 0.25F, b.hi = 3, b.gradient = {3, 1, 2};
    va.value = {1, 2, 3}, va.lo = {-1, 0, 1}, va.hi = {2, 3, 4}, va.gradient = {2, 3, 1};
    vb.value = {6, 5, 4}, vb.lo = {-4, 1, 0}, vb.hi = {7, 6, 5}, vb.gradient = {1, 1, 2};
    ca.value = {0.1F, 0.2F, 0.3F, 0.4F}, ca.hi = {1, 1, 1, 1}, ca.gradient = {1, 3, 2};
    cb.value = {0.5F, 0.6F, 0.7F, 0.8F}, cb.hi = {1, 2, 1, 1}, cb.gradient = {2, 1, 1};
  }
} in;

template <class Texture>
auto range(const Texture& texture) {
  return Range<decltype(texture.value)>{texture.lo, texture.hi};
}

// ------------------------------------------------------------------------------------------------
// The inlined bodies.

template <class Interface>
class Inlined : public Interface {
 public:
  using Texture = Interface;
  PluginBase* getPlugin() override { return nullptr; }
};

class Product final : public Inlined<TextureFloatInterface> {
  float getFloat(const ShadingContext& /*sc*/) const override { return in.a.value * in.b.value; }
  void getFloatBounds(float& min, float& max) const override {
    store(chainedCorners(range(in.a), range(in.b), std::multiplies{}), min, max);
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override {
    return in.a.gradient * in.b.value + in.a.gradient * in.b.value;
  }
};

class Sine final : public Inlined<TextureFloatInterface> {
  float getFloat(const ShadingContext& /*sc*/) const override {
    return static_cast<float>(std::sin(static_cast<double>(in.a.value * in.b.value)));
  }
  void getFloatBounds(float& /*min*/, float& /*max*/) const override {}
};

class DotProduct final : public Inlined<TextureFloatInterface> {
  static double wideDot(Vector a, Vector b) { return dot(toDouble(a), toDouble(b)); }

  float getFloat(const ShadingContext& /*sc*/) const override {
    return static_cast<float>(static_cast<double>(in.a.value * in.b.value) *
                              wideDot(in.va.value, in.vb.value));
  }
  void getFloatBounds(float& min, float& max) const override {
    const Interval m = chainedCorners(range(in.a), range(in.b), std::multiplies{});
    const Range<double> d = chainedCorners(range(in.va), range(in.vb), wideDot);
    const Interval rounded = {static_cast<float>(d.lo), static_cast<float>(d.hi)};
    store(chainedCorners(m, rounded, std::multiplies{}), min, max);
  }
};

class CrossProduct final : public Inlined<TextureVectorInterface> {
  static Vector roundedCross(Vector a, Vector b) {
    return toFloat(cross(toDouble(a), toDouble(b)));
  }

  Vector getVector(const ShadingContext& /*sc*/) const override {
    return roundedCross(in.va.value, in.vb.value) * (in.a.value * in.b.value);
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const Interval m = chainedCorners(range(in.a), range(in.b), std::multiplies{});
    const Range<Vector> c = pairedCorners(range(in.va), range(in.vb), roundedCross);
    store(pairedCorners(m, c, std::multiplies{}), min, max);
  }
};

class VectorSum final : public Inlined<TextureVectorInterface> {
  Vector getVector(const ShadingContext& /*sc*/) const override {
    return in.va.value * in.a.value + in.vb.value * in.b.value;
  }
  void getVectorBounds(Vector& min, Vector& max) const override {
    const auto a = pairedCorners(range(in.va), range(in.a), std::multiplies{});
    const auto b = pairedCorners(range(in.vb), range(in.b), std::multiplies{});
    store(pairedCorners(a, b, std::plus{}), min, max);
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override {
    return productGradient(in.a.value, in.a.gradient, length(in.va.value), in.va.gradient) +
           productGradient(in.b.value, in.b.gradient, length(in.vb.value), in.vb.gradient);
  }
};

class ColorSum final : public Inlined<TextureInterface> {
  AColor getColor(const ShadingContext& /*sc*/) const override {
    return withAlpha(in.ca.value * in.a.value + in.cb.value * in.b.value, in.ca.value.a);
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    const auto a = chainedCorners(range(in.ca), range(in.a), std::multiplies{});
    const auto b = chainedCorners(range(in.cb), range(in.b), std::multiplies{});
    const auto sum = chainedCorners(a, b, std::plus{});
    min = withAlpha(sum.lo, in.ca.lo.a);
    max = withAlpha(sum.hi, in.ca.hi.a);
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override {
    return productGradient(in.a.value, in.a.gradient, intensity(in.ca.value), in.ca.gradient) +
           productGradient(in.b.value, in.b.gradient, intensity(in.cb.value), in.cb.gradient);
  }
};

class Intensity final : public Inlined<TextureFloatInterface> {
  float getFloat(const ShadingContext& /*sc*/) const override {
    const AColor& c = in.ca.value;
    return (in.a.value * ((c.r + c.g) + c.b)) / 3.0F;
  }
  void getFloatBounds(float& min, float& max) const override {
    const Interval i = {intensity(in.ca.lo), intensity(in.ca.hi)};
    store(chainedCorners(i, range(in.a), std::multiplies{}), min, max);
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override {
    return productGradient(in.a.value, in.a.gradient, intensity(in.ca.value), in.ca.gradient);
  }
};

class ColorOfNumbers final : public Inlined<TextureInterface> {
  AColor getColor(const ShadingContext& /*sc*/) const override {
    return {in.a.value, in.b.value, in.a.value, in.b.value};
  }
  void getColorBounds(AColor& min, AColor& max) const override {
    min = {in.a.lo, in.b.lo, in.a.lo, 1};
    max = {in.a.hi, in.b.hi, in.a.hi, 1};
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override {
    return ((in.a.gradient + in.b.gradient) + in.a.gradient) / 3.0F;
  }
};

float facingRatio(const ShadingContext& sc) {
  return std::fabs(static_cast<float>(dot(toDouble(sc.normal), toDouble(sc.rayDirection))));
}

class FacingRatio final : public Inlined<TextureFloatInterface> {
  float getFloat(const ShadingContext& sc) const override { return facingRatio(sc); }
  void getFloatBounds(float& /*min*/, float& /*max*/) const override {}
};

class PointCamera final : public Inlined<TextureVectorInterface> {
  Vector getVector(const ShadingContext& sc) const override {
    const PreciseTransform& t = sc.renderContext->frameData->worldToCamera;
    const Vector p = toFloat(sc.shadingPoint);
    return ((t.c1 * p.y + t.c0 * p.x) + t.c2 * p.z) + toFloat(t.offset);
  }
  void getVectorBounds(Vector& /*min*/, Vector& /*max*/) const override {}
};

class NearClipPlane final : public Inlined<TextureFloatInterface> {
  float getFloat(const ShadingContext& /*sc*/) const override { return -scene.box.hi.z; }
  void getFloatBounds(float& /*min*/, float& /*max*/) const override {}
};

/// A tinted facing ratio: colour of three numbers, times a ratio, through the texture that the
/// plugin itself is.
class Network final : public Inlined<TextureInterface> {
  AColor getColor(const ShadingContext& sc) const override {
    const float ratio = in.b.value == 0 ? 0 : in.a.value / in.b.value;
    const AColor color = {facingRatio(sc), 1, 1, 1};
    return withAlpha(color * ratio + AColor{} * 1.0F, color.a);
  }
  void getColorBounds(AColor& /*min*/, AColor& /*max*/) const override {}
};

// ------------------------------------------------------------------------------------------------
// The three questions.

constexpr auto kValue = [](const auto& texture) {
  using Texture = std::remove_cvref_t<decltype(texture)>;
  if constexpr (std::same_as<Texture, TextureInterface>) {
    return texture.getColor(scene.sc);
  } else if constexpr (std::same_as<Texture, TextureFloatInterface>) {
    return texture.getFloat(scene.sc);
  } else {
    return texture.getVector(scene.sc);
  }
};

constexpr auto kBounds = [](const auto& texture) {
  auto bounds = exactly(decltype(kValue(texture)){});
  using Texture = std::remove_cvref_t<decltype(texture)>;
  if constexpr (std::same_as<Texture, TextureInterface>) {
    texture.getColorBounds(bounds.lo, bounds.hi);
  } else if constexpr (std::same_as<Texture, TextureFloatInterface>) {
    texture.getFloatBounds(bounds.lo, bounds.hi);
  } else {
    texture.getVectorBounds(bounds.lo, bounds.hi);
  }
  return bounds;
};

constexpr auto kGradient = [](const auto& texture) { return texture.getGradient(scene.sc); };

template <class T>
bool agree(const T& a, const T& b) {
  return test::sameBits(a, b);
}
template <class T>
bool agree(const Range<T>& a, const Range<T>& b) {
  return test::sameBits(a.lo, b.lo) && test::sameBits(a.hi, b.hi);
}

template <class Texture, class Question>
void measureBoth(const std::string& name, const Texture& loaded, const Texture& inlined,
                 Question question) {
  const auto measure = [&loaded, &inlined, question](benchmark::State& state,
                                                     const Texture* asked) {
    if (!agree(question(loaded), question(inlined))) state.SkipWithError("the answers differ");
    for (auto _ : state) {
      benchmark::DoNotOptimize(asked);
      benchmark::DoNotOptimize(question(*asked));
    }
  };
  benchmark::RegisterBenchmark(name.c_str(), measure, &loaded);
  benchmark::RegisterBenchmark((name + "/inlined").c_str(), measure, &inlined);
}

enum class Answers { All, Value };

/// Measures a texture of the library against the inlined `Body`.
template <class Body>
void compare(const std::string& name, const typename Body::Texture& loaded, Answers answers) {
  static const Body body;
  const typename Body::Texture& inlined = body;
  measureBoth(name + "/value", loaded, inlined, kValue);
  if (answers == Answers::Value) return;
  measureBoth(name + "/bounds", loaded, inlined, kBounds);
  measureBoth(name + "/gradient", loaded, inlined, kGradient);
}

/// The same for an output of a plugin.
template <class Body>
void compare(test::Instance& plugin, const std::string& output, Answers answers) {
  const std::string name = static_cast<Plugin&>(plugin.object()).getPluginDesc()->getPluginName();
  compare<Body>(name + "/" + output, plugin.output<typename Body::Texture>(output.c_str()),
                answers);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  test::Instance floatOp("TexFloatOp");
  floatOp.connect("float_a", &in.a);
  floatOp.connect("float_b", &in.b);
  test::Instance vectorOp("TexVectorOp");
  vectorOp.connect("vector_a", &in.va);
  vectorOp.connect("vector_b", &in.vb);
  vectorOp.connect("mult_a", &in.a);
  vectorOp.connect("mult_b", &in.b);
  test::Instance colorOp("TexAColorOp");
  colorOp.connect("color_a", &in.ca);
  colorOp.connect("color_b", &in.cb);
  colorOp.connect("mult_a", &in.a);
  colorOp.connect("mult_b", &in.b);
  test::Instance colorOfNumbers("Float3ToAColor");
  colorOfNumbers.connect("float1", &in.a);
  colorOfNumbers.connect("float2", &in.b);
  colorOfNumbers.connect("float3", &in.a);
  colorOfNumbers.connect("alpha", &in.b);
  test::Instance sampler("TexSampler");
  sampler.plugin().renderBegin(nullptr);
  test::Instance facingColor("Float3ToAColor");
  facingColor.connect("float1", &sampler.output<TextureFloatInterface>("facing_ratio"));
  test::Instance tinted("TexAColorOp");
  tinted.set("mode", std::int32_t{3});
  tinted.connect("color_a", &facingColor.output<TextureInterface>("color"));
  tinted.connect("mult_a", &floatOp.output<TextureFloatInterface>("ratio"));
  for (test::Instance* plugin :
       {&floatOp, &vectorOp, &colorOp, &colorOfNumbers, &sampler, &facingColor, &tinted}) {
    plugin->frameBegin();
  }

  compare<Product>(floatOp, "product", Answers::All);
  compare<Sine>(floatOp, "sin", Answers::Value);
  compare<DotProduct>(vectorOp, "dot_product", Answers::All);
  compare<CrossProduct>(vectorOp, "cross_product", Answers::All);
  compare<VectorSum>(vectorOp, "sum", Answers::All);
  compare<ColorSum>(colorOp, "sum", Answers::All);
  compare<Intensity>(colorOp, "intensity", Answers::All);
  compare<ColorOfNumbers>(colorOfNumbers, "color", Answers::All);
  compare<FacingRatio>(sampler, "facing_ratio", Answers::Value);
  compare<PointCamera>(sampler, "pointCamera", Answers::Value);
  // The check of the answers is the frame's first evaluation: what is measured are the later ones.
  compare<NearClipPlane>(sampler, "cameraNearClipPlane", Answers::Value);
  compare<Network>("network",
                   *static_cast<TextureInterface*>(tinted.object().getInterface(EXT_TEXTURE)),
                   Answers::Value);

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
