// SPDX-License-Identifier: MIT
#pragma once

#include "sampler/camera_space.h"
#include "sampler/fixed_bounds.h"

/// The shading point, directions and the camera's place. World space and render space have the same
/// axes.
namespace samplerinfo {

/// The shading point in world space.
class PointTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    return pointToWorld(sc, sc.shadingPoint);
  }
};

/// The shading point in object space, or in render space for an object that has no such mapping.
class PointObjectTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    const Vector point = toFloat(sc.shadingPoint);
    auto* mapping = offered<ObjectSpaceMapping>(sc.object);
    // Kept: without a mapping it is the render-space point, not the one in world space.
    return mapping != nullptr ? mapping->worldToObjectPoint(sc, point) : point;
  }
};

/// The shading point in camera space.
class PointCameraTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    DVector point = sc.shadingPoint;
    if (services(sc).cameraMoving != 0) {
      point = services(sc).cameraMotion->pointFromRayTime(point, sc.rayTime);
    }
    return applyTransform(frameData(sc).worldToCamera, toFloat(point));
  }
};

/// The smooth normal in world space, as the host gives it.
class NormalTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override { return sc.normal; }
};

/// The smooth normal in object space, or in world space for an object that has no such mapping.
class NormalObjTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    auto* mapping = offered<ObjectSpaceMapping>(sc.object);
    return mapping != nullptr ? mapping->worldToObjectNormal(sc, sc.normal) : sc.normal;
  }
};

/// The smooth normal in camera space, not normalised.
class NormalCameraTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    return directionToCamera(sc, sc.normal);
  }
};

/// The geometric normal in world space, as the host gives it.
class GNormalTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override { return sc.geometricNormal; }
};

/// The direction in which the ray travelled, in world space, as the host gives it.
class ViewTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override { return sc.rayDirection; }
};

/// The direction in which the ray travelled, in camera space, of unit length.
class RayDirectionTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    return guardedNormalize(directionToCamera(sc, sc.rayDirection));
  }
};

/// The transform from camera space to world space at the ray's time.
class CamToWorldTex final : public OutputTex<TextureTransformInterface> {
 public:
  Transform getTransform(const ShadingContext& sc) const override {
    const PreciseTransform& camera = frameData(sc).cameraToWorld;
    if (services(sc).cameraMoving == 0) {
      // Kept: rounds before it adds, unlike a moving camera.
      const Vector offset = toFloat(frameData(sc).worldOffset) + toFloat(camera.offset);
      return {camera.c0, camera.c1, camera.c2, offset};
    }
    CameraMotion& motion = *services(sc).cameraMotion;
    const Vector c0 = motion.vectorToRayTime(camera.c0, sc.rayTime);
    const Vector c1 = motion.vectorToRayTime(camera.c1, sc.rayTime);
    const Vector c2 = motion.vectorToRayTime(camera.c2, sc.rayTime);
    // Kept: moves the origin of render space; the camera's own offset does not enter.
    const DVector origin = motion.pointToRayTime({0, 0, 0}, sc.rayTime);
    return {c0, c1, c2, pointToWorld(sc, origin)};
  }
};

}  // namespace samplerinfo
