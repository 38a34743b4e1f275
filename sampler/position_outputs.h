#pragma once

#include "sampler/fixed_bounds.h"

/// The shading point and the camera's place.
namespace samplerinfo {

/// The shading point in world space.
class PointTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The shading point in object space, or in render space for an object that has no such mapping.
class PointObjectTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The shading point in camera space.
class PointCameraTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The transform from camera space to world space at the ray's time.
class CamToWorldTex final : public OutputTex<TextureTransformInterface> {
 public:
  Transform getTransform(const ShadingContext& sc) const override;
};

}  // namespace samplerinfo
