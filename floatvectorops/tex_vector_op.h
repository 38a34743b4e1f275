#pragma once

#include <span>

#include "frame/inputs.h"
#include "frame/output_tex.h"
#include "frame/param_table.h"
#include "frame/plugin_descriptor.h"

namespace samplerinfo {

/// Two vectors with a multiplier each. An absent vector counts as zero, an absent multiplier as 1.
/// The multipliers are asked first.
struct VectorPair {
  TextureVectorInterface* vector_a = nullptr;
  TextureVectorInterface* vector_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;

  struct Values {
    float ma, mb;
    Vector va, vb;
  };
  struct Bounds {
    Interval ma, mb;
    Range<Vector> va, vb;
  };
  struct Gradients {
    Vector dma, dmb, dva, dvb;
  };
  Values values(const ShadingContext& sc) const;
  Bounds bounds() const;
  Gradients gradients(const ShadingContext& sc) const;
};

/// One vector with its multiplier, by the rules of `VectorPair`.
struct ScaledVector {
  TextureVectorInterface* vector = nullptr;
  TextureFloatInterface* mult = nullptr;

  struct Values {
    float m;
    Vector v;
  };
  struct Bounds {
    Interval m;
    Range<Vector> v;
  };
  struct Gradients {
    Vector dm, dv;
  };
  Values values(const ShadingContext& sc) const;
  Bounds bounds() const;
  Gradients gradients(const ShadingContext& sc) const;
};

/// (va · vb) · (ma · mb); its gradient is zero. Bounded by the products of whole corner vectors,
/// which do not enclose every value.
class DotProdTex final : public OperationTex<TextureFloatInterface, VectorPair> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
};

/// (va x vb) · (ma · mb); its gradient is zero. Bounded as the dot product.
class CrossProdTex final : public OperationTex<TextureVectorInterface, VectorPair> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
  void getVectorBounds(Vector& min, Vector& max) const override;
};

/// va · ma + vb · mb. Here and below the gradient of a vector input stands for that of the vector's
/// length.
class AddTex final : public OperationTex<TextureVectorInterface, VectorPair> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
  void getVectorBounds(Vector& min, Vector& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// va · ma - vb · mb
class SubTex final : public OperationTex<TextureVectorInterface, VectorPair> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
  void getVectorBounds(Vector& min, Vector& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// v · m
class MulTex final : public OperationTex<TextureVectorInterface, ScaledVector> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
  void getVectorBounds(Vector& min, Vector& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

/// A component of v · m. The gradient of the vector input stands for that of the component.
template <float Vector::*Component>
class ComponentTex final : public OperationTex<TextureFloatInterface, ScaledVector> {
 public:
  float getFloat(const ShadingContext& sc) const override;
  void getFloatBounds(float& min, float& max) const override;
  Vector getGradient(const ShadingContext& sc) const override;
};

using XTex = ComponentTex<&Vector::x>;
using YTex = ComponentTex<&Vector::y>;
using ZTex = ComponentTex<&Vector::z>;

/// Combines two vectors, each scaled by a number. Not a texture itself: each result is an output.
class TexVectorOp final : public QuorPlugin {
 public:
  static constexpr std::uint64_t kPluginId = 0x7782F94A;
  static constexpr const char* kPluginName = "TexVectorOp";
  static constexpr InterfaceId kInterfaces[] = {EXT_QUOR_PLUGIN};
  static std::span<const ParamRow<TexVectorOp>> description();

  explicit TexVectorOp(QuorPluginDesc* maker);
  void frameBegin(QuorRenderer* renderer) override;

  TextureVectorInterface* vector_a = nullptr;
  TextureVectorInterface* vector_b = nullptr;
  TextureFloatInterface* mult_a = nullptr;
  TextureFloatInterface* mult_b = nullptr;
  DotProdTex dot_product;
  CrossProdTex cross_product;
  AddTex sum;
  SubTex difference;
  MulTex result_a;
  MulTex result_b;
  XTex x;
  YTex y;
  ZTex z;
};

using TexVectorOpDesc = PluginDescriptor<TexVectorOp>;

}  // namespace samplerinfo
