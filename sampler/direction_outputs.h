#pragma once

#include "sampler/fixed_bounds.h"

/// Normals and viewing directions. World space and render space have the same axes.
namespace samplerinfo {

/// The smooth normal in world space, as the host gives it.
class NormalTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The smooth normal in object space, or in world space for an object that has no such mapping.
class NormalObjTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The smooth normal in camera space, not normalised.
class NormalCameraTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The geometric normal in world space, as the host gives it.
class GNormalTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The direction in which the ray travelled, in world space, as the host gives it.
class ViewTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

/// The direction in which the ray travelled, in camera space, of unit length.
class RayDirectionTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

}  // namespace samplerinfo
