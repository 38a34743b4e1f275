#pragma once

#include <span>

#include "frame/inputs.h"
#include "frame/output_tex.h"
#include "frame/param_table.h"
#include "frame/plugin_descriptor.h"

namespace samplerinfo {

/// Two numbers. An absent `float_a` counts as 0; what an absent `float_b` counts as, 0 or 1, is the
/// output's choice.
struct FloatPair {
  TextureFloatInterface* float_a = nullptr;
  TextureFloatInterface* float_b = nullptr;

  struct Values {
    float a, b;
  };
  struct Bounds {
    Interval a, b;
  };
  struct Gradients {
    Vector da, db;
  };
  Values values(const ShadingContext& sc, float absentB) const;
  Bounds bounds(float absentB) const;
  Gradients gradients(const ShadingContext& sc) const;
};

using FloatOpTex = OperationTex<TextureFloatInterface, FloatPair>;

/// a · b
class ProdTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// a / b, and 0 where b is 0.
class RatioTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// a + b
class FloatAddTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// a - b
class FloatSubTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// a to the power of b; its gradient is zero.
class FloatPowTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
};

/// sin(a · b), radians
class FloatSinTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// cos(a · b), radians
class FloatCosTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// The smaller of a and b, bounded by the range of both.
class FloatMinTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// The greater of a and b, bounded by the range of both.
class FloatMaxTex final : public FloatOpTex {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// Combines two numbers. Not a texture itself: each result is an output.
class TexFloatOp final : public QuorPlugin {
 public:
  static constexpr std::uint64_t kPluginId = 0x7782F94D;
  static constexpr const char* kPluginName = "TexFloatOp";
  static constexpr InterfaceId kInterfaces[] = {EXT_QUOR_PLUGIN};
  static std::span<const ParamRow<TexFloatOp>> description();

  explicit TexFloatOp(QuorPluginDesc* maker);
  void frameBegin(QuorRenderer* renderer) override;

  TextureFloatInterface* float_a = nullptr;
  TextureFloatInterface* float_b = nullptr;
  ProdTex product;
  RatioTex ratio;
  FloatAddTex sum;
  FloatSubTex difference;
  FloatPowTex power;
  FloatSinTex sin;
  FloatCosTex cos;
  FloatMinTex min;
  FloatMaxTex max;
};

using TexFloatOpDesc = PluginDescriptor<TexFloatOp>;

}  // namespace samplerinfo
