#pragma once

#include "colorops/scaled_color.h"
#include "colorops/shader_source_export.h"
#include "frame/output_tex.h"

/// The float outputs of TexAColorOp: one number of the scaled colour color · mult. The gradient of
/// all but alpha is that of the scaled intensity.
namespace samplerinfo {

/// A channel of the scaled colour.
template <float AColor::*kChannel>
class ChannelTex : public OperationTex<TextureFloatInterface, ScaledColor> {
 public:
  float getFloat(const ShadingContext& sc) const final {
    const auto [c, m] = inputs.values(sc);
    return c.*kChannel * m;
  }
  void getFloatBounds(float& min, float& max) const final {
    const auto [c, m] = inputs.bounds();
    store(product(Interval{c.lo.*kChannel, c.hi.*kChannel}, m), min, max);
  }
};

/// A channel that counts for the intensity.
template <float AColor::*kChannel>
class ColorChannelTex : public ChannelTex<kChannel> {
 public:
  Vector getGradient(const ShadingContext& sc) const final {
    return this->inputs.scaledIntensity(sc).gradient;  // Kept: not that of the channel.
  }
};

/// Red. Kept: it is an object, although nothing uses that.
class RTex final : public PluginBase, public ColorChannelTex<&AColor::r> {};

class GTex final : public ColorChannelTex<&AColor::g> {};

class BTex final : public ColorChannelTex<&AColor::b> {};

/// Alpha, scaled like the others; its gradient is zero.
class ATex final : public ChannelTex<&AColor::a> {};

/// Intensity. An object of its own, so that the host can ask it for shader source.
class ITex final : public PluginBase, public TextureFloatInterface, public ShaderSourceExport {
 public:
  PluginInterface* getInterface(InterfaceId id) override;
  PluginBase* getPlugin() override { return this; }

  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  std::int32_t getShaderSource(const char* outputName, const char* secondName,
                               const char* descriptorKind, ShaderSource& source,
                               OCLData& oclData) override;

  ScaledColor inputs;
};

}  // namespace samplerinfo
