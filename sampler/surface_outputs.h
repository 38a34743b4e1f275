#pragma once

#include "sampler/fixed_bounds.h"

/// What the surface at the shading point says of itself, and how it faces the ray. A surface that
/// does not offer what is asked for counts as zero.
namespace samplerinfo {

/// The absolute cosine of the angle between smooth normal and ray, both taken to have unit length.
class FacingRatioTex final : public FixedBoundsFloatTex<kMinusOneToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override;
};

/// 1 for a face seen from its back, else 0.
class FlippedNormalTex final : public FixedBoundsFloatTex<kZeroToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override;
};

/// The material id of the surface.
class MtlIDTex final : public OutputTex<TextureIntInterface> {
 public:
  std::int32_t getInt(const ShadingContext& sc) const override;
};

/// The uvw coordinates of channel 0.
class UVCoordTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The U or the V axis of uvw channel 0 in camera space, of unit length. Where the uvw derivatives
/// are singular the zero vector takes the same way.
class TangentCameraTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  explicit TangentCameraTex(std::int32_t uvwAxis) : axis(uvwAxis) {}
  Vector getVector(const ShadingContext& sc) const override;

  const std::int32_t axis;  ///< 0 for U, 1 for V
};

}  // namespace samplerinfo
