// SPDX-License-Identifier: MIT
#pragma once

#include "math/vector.h"
#include "sampler/shading_queries.h"

/// From render space to camera and world space, in 32-bit floats unless said otherwise.
namespace samplerinfo {

/// The matrix of `t` applied to `v`: one rounding per operation, the y term first.
constexpr Vector applyMatrix(const PreciseTransform& t, const Vector& v) {
  return (t.c1 * v.y + t.c0 * v.x) + t.c2 * v.z;
}

/// The whole of `t` applied to a point.
constexpr Vector applyTransform(const PreciseTransform& t, const Vector& point) {
  return applyMatrix(t, point) + toFloat(t.offset);
}

/// A render-space direction, seen at the ray's time, in camera space. Not normalised.
inline Vector directionToCamera(const ShadingContext& sc, Vector v) {
  if (services(sc).cameraMoving != 0) {
    v = services(sc).cameraMotion->vectorFromRayTime(v, sc.rayTime);
  }
  return applyMatrix(frameData(sc).worldToCamera, v);
}

/// A render-space point in world space, added in double precision.
inline Vector pointToWorld(const ShadingContext& sc, const DVector& point) {
  const DVector& origin = frameData(sc).worldOffset;
  return toFloat({point.x + origin.x, point.y + origin.y, point.z + origin.z});
}

/// Unit length, but for a vector too short to have a direction: that one stays as it is.
inline Vector guardedNormalize(const Vector& v) {
  constexpr float kTooShort = 1e-6F;
  const float len = length(v);
  return len < kTooShort ? v : v / len;
}

}  // namespace samplerinfo
