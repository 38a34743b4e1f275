#pragma once

#include <span>

#include "frame/output_tex.h"
#include "frame/param_table.h"
#include "frame/plugin_descriptor.h"

namespace samplerinfo {

/// The colour (float1, float2, float3, alpha), an absent number counting as 1; with `invert` the
/// colour channels are 1 - x, and not below 0.
class Float3ToAColorTex final : public OutputTex<TextureInterface> {
 public:
  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  TextureFloatInterface* float1 = nullptr;
  TextureFloatInterface* float2 = nullptr;
  TextureFloatInterface* float3 = nullptr;
  TextureFloatInterface* alpha = nullptr;
  std::int32_t invert = 0;
};

/// Makes a colour of four numbers. As a texture it answers what its output answers.
class Float3ToAColor final : public QuorTexture {
 public:
  static constexpr std::uint64_t kPluginId = 0x77831EDA;
  static constexpr const char* kPluginName = "Float3ToAColor";
  static constexpr InterfaceId kInterfaces[] = {EXT_TEXTURE, EXT_QUOR_PLUGIN};
  static std::span<const ParamRow<Float3ToAColor>> description();

  explicit Float3ToAColor(QuorPluginDesc* maker);
  void frameBegin(QuorRenderer* renderer) override;

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

using Float3ToAColorDesc = PluginDescriptor<Float3ToAColor>;

}  // namespace samplerinfo
