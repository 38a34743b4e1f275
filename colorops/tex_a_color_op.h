#pragma once

#include <span>

#include "colorops/channel_outputs.h"
#include "colorops/color_outputs.h"
#include "colorops/shader_source_export.h"
#include "frame/param_table.h"
#include "frame/plugin_descriptor.h"

namespace samplerinfo {

/// Combines two scaled colours. Each result is an output; one of them, chosen by `mode`, is also
/// what the plugin itself answers as a texture. The GPU renderer is given `color_a`.
class TexAColorOp final : public QuorTexture, public ShaderSourceExport {
 public:
  static constexpr std::uint64_t kPluginId = 0x7782F94E;
  static constexpr const char* kPluginName = "TexAColorOp";
  // Kept: an instance also answers EXT_TEXTURE and EXT_RTTEX, which are not announced.
  static constexpr InterfaceId kInterfaces[] = {EXT_QUOR_PLUGIN};
  static std::span<const ParamRow<TexAColorOp>> description();

  explicit TexAColorOp(QuorPluginDesc* maker);
  PluginInterface* getInterface(InterfaceId id) override;
  PluginBase* getPlugin() override { return this; }
  void frameBegin(QuorRenderer* renderer) override;

  AColor getColor(const ShadingContext& sc) const override;
  void getColorBounds(AColor& min, AColor& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;

  std::int32_t getShaderSource(const char* outputName, const char* secondName,
                               const char* descriptorKind, ShaderSource& source,
                               OCLData& oclData) override;

  TextureInterface* color_a = nullptr;
  TextureInterface* color_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;
  TextureFloatInterface* result_alpha = nullptr;
  std::int32_t mode = 0;
  ColorProdTex product;
  ColorAddTex sum;
  ColorSubTex difference;
  ColorDiffTex absolute_difference;
  ColorMulTex result_a;
  ColorMulTex result_b;
  ColorPowTex power;
  ColorDivTex division;
  ColorMinTex minimum;
  ColorMaxTex maximum;
  RTex red;
  GTex green;
  BTex blue;
  ATex alpha;
  ITex intensity;

 private:
  /// The output that `mode` selects at the moment.
  const TextureInterface& mainOutput() const;
};

using TexAColorOpDesc = PluginDescriptor<TexAColorOp>;

}  // namespace samplerinfo
