#pragma once

#include "colorops/scaled_color.h"
#include "frame/output_tex.h"

/// The float outputs of TexAColorOp: one number of the scaled colour color · mult. The gradient of
/// all but alpha is that of the scaled intensity.
namespace samplerinfo {

/// Red. Kept: it is an object, although nothing uses that.
class RTex final : public PluginBase, public OutputTex<TextureFloatInterface> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  ScaledColor inputs;
};

/// Green.
class GTex final : public OutputTex<TextureFloatInterface> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  ScaledColor inputs;
};

/// Blue.
class BTex final : public OutputTex<TextureFloatInterface> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  ScaledColor inputs;
};

/// Alpha, scaled like the others; its gradient is zero.
class ATex final : public OutputTex<TextureFloatInterface> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;

  ScaledColor inputs;
};

/// Intensity. An object of its own, so that the host can ask it for shader source.
class ITex final : public PluginBase, public TextureFloatInterface, public RTTexInterface {
 public:
  PluginInterface* getInterface(InterfaceId id) override;
  PluginBase* getPlugin() override { return this; }

  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  void* getShaderInfo() override { return nullptr; }
  void setShaderInfo(void* /*info*/) override {}
  std::int32_t getShaderSource(const char* outputName, const char* secondName,
                               const char* descriptorKind, ShaderSource& source,
                               OCLData& oclData) override;

  ScaledColor inputs;
};

}  // namespace samplerinfo
