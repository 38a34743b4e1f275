// SPDX-License-Identifier: MIT
// Makes a colour with alpha of four numbers. As a texture the plugin answers what its output does.

#include <array>

#include "frame/inputs.h"
#include "frame/plugin_kind.h"
#include "math/vector.h"

namespace samplerinfo {
namespace {

struct ColorInputs {
  TextureFloatInterface* float1 = nullptr;
  TextureFloatInterface* float2 = nullptr;
  TextureFloatInterface* float3 = nullptr;
  TextureFloatInterface* alpha = nullptr;
  std::int32_t invert = 0;

  /// Asks the colour channels; values alone ask `alpha` too, after them.
  template <class Question, class Use>
  auto ask(const Question& question, const Use& use) const {
    const auto r = question(float1, 1);
    const auto g = question(float2, 1);
    const auto b = question(float3, 1);
    return use(r, g, b);
  }
};

float inverted(float x) { return max(0.0F, 1 - x); }

/// The colour (float1, float2, float3, alpha), an absent number counting as 1; with `invert` the
/// colour channels are 1 - x, and not below 0.
class Float3ToAColorTex final : public OperationTex<TextureInterface, ColorInputs> {
 public:
  AColor getColor(const ShadingContext& sc) const override {
    return inputs.ask(ValueAt{sc}, [&](float r, float g, float b) -> AColor {
      const float a = ValueAt{sc}(inputs.alpha, 1);
      if (inputs.invert != 0) return {inverted(r), inverted(g), inverted(b), a};
      return {r, g, b, a};
    });
  }

  void getColorBounds(AColor& min, AColor& max) const override {
    inputs.ask(BoundsOf{}, [&](const Interval& r, const Interval& g, const Interval& b) {
      // Kept: alpha is bounded as if it were absent, and inverted bounds go below 0.
      if (inputs.invert != 0) {
        min = {1 - r.hi, 1 - g.hi, 1 - b.hi, 1};
        max = {1 - r.lo, 1 - g.lo, 1 - b.lo, 1};
      } else {
        min = {r.lo, g.lo, b.lo, 1};
        max = {r.hi, g.hi, b.hi, 1};
      }
    });
  }

  /// That of the mean of the channels.
  Vector getGradient(const ShadingContext& sc) const override {
    return inputs.ask(GradientAt{sc}, [&](const Vector& dr, const Vector& dg, const Vector& db) {
      const Vector mean = ((dr + dg) + db) / 3.0F;
      return inputs.invert != 0 ? Vector{} - mean : mean;
    });
  }
};

class Float3ToAColor final : public QuorTexture {
 public:
  explicit Float3ToAColor(QuorPluginDesc* maker);

  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    color.inputs = {float1, float2, float3, alpha, invert};
  }

  AColor getColor(const ShadingContext& sc) const override { return color.getColor(sc); }
  void getColorBounds(AColor& min, AColor& max) const override { color.getColorBounds(min, max); }
  Vector getGradient(const ShadingContext& sc) const override { return color.getGradient(sc); }

  Float3ToAColorTex color;
  TextureFloatInterface* float1 = nullptr;
  TextureFloatInterface* float2 = nullptr;
  TextureFloatInterface* float3 = nullptr;
  TextureFloatInterface* alpha = nullptr;
  std::int32_t invert = 0;
};

constexpr std::array kParameters = {
    param<&Float3ToAColor::float1>("float1", "First color"),
    param<&Float3ToAColor::float2>("float2", "Second color"),
    param<&Float3ToAColor::float3>("float3", "Third color"),
    param<&Float3ToAColor::alpha>("alpha", "Alpha"),
    param<&Float3ToAColor::color>("color", "The resulting color"),
    param<&Float3ToAColor::invert>("invert", nullptr, false),
};
constexpr auto kBindingOrder = withMoved(kParameters, "color");

Float3ToAColor::Float3ToAColor(QuorPluginDesc* maker) : QuorTexture(maker) {
  registerCaches(*paramList, kBindingOrder, *this);
}

constexpr InterfaceId kInterfaces[] = {EXT_TEXTURE, EXT_QUOR_PLUGIN};

}  // namespace

constinit const PluginKind kFloat3ToAColor =
    pluginKind<Float3ToAColor, kParameters>("Float3ToAColor", 0x77831EDA, kInterfaces);

}  // namespace samplerinfo
