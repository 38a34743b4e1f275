// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <limits>
#include <mutex>

#include "tests/twins/twin.h"

namespace twins {

/// Textures of the value that a function reads from the context, within fixed bounds.
template <float (*kValue)(const ShadingContext&), std::int64_t kLo, std::int64_t kHi>
class FloatFromContext final : public Twin<TextureFloatInterface> {
  float getFloat(const ShadingContext& sc) const override { return kValue(sc); }
  void getFloatBounds(float& min, float& max) const override {
    store({static_cast<float>(kLo), static_cast<float>(kHi)}, min, max);
  }
};
template <Vector (*kValue)(const ShadingContext&), std::int64_t kBound>
class VectorFromContext final : public Twin<TextureVectorInterface> {
  Vector getVector(const ShadingContext& sc) const override { return kValue(sc); }
  void getVectorBounds(Vector& min, Vector& max) const override {
    constexpr float kHi = static_cast<float>(kBound);
    min = {-kHi, -kHi, -kHi};
    max = {kHi, kHi, kHi};
  }
};

inline Vector transformVector(const PreciseTransform& t, const Vector& v) {
  return (t.c1 * v.y + t.c0 * v.x) + t.c2 * v.z;
}

inline Vector directionToCamera(const ShadingContext& sc, Vector v) {
  const RenderContext& render = *sc.renderContext;
  if (render.services->cameraMoving != 0) {
    v = render.services->cameraMotion->vectorFromRayTime(v, sc.rayTime);
  }
  return transformVector(render.frameData->worldToCamera, v);
}

inline Vector safeNormalize(const Vector& v) {
  const float len = length(v);
  return len < 1e-6F ? v : v / len;
}

template <class Interface>
Interface* queryInterface(PluginBase* object) {
  if (object == nullptr) return nullptr;
  return static_cast<Interface*>(object->getInterface(Interface::kInterfaceId));
}

inline Vector point(const ShadingContext& sc) {
  const DVector &p = sc.shadingPoint, &origin = sc.renderContext->frameData->worldOffset;
  return narrow({p.x + origin.x, p.y + origin.y, p.z + origin.z});
}

inline Vector pointObject(const ShadingContext& sc) {
  auto* const mapping = queryInterface<ObjectSpaceMapping>(sc.object);
  const Vector p = narrow(sc.shadingPoint);
  return mapping != nullptr ? mapping->worldToObjectPoint(sc, p) : p;
}

inline Vector pointCamera(const ShadingContext& sc) {
  const RenderContext& render = *sc.renderContext;
  DVector q = sc.shadingPoint;
  if (render.services->cameraMoving != 0) {
    q = render.services->cameraMotion->pointFromRayTime(q, sc.rayTime);
  }
  const PreciseTransform& t = render.frameData->worldToCamera;
  return transformVector(t, narrow(q)) + narrow(t.offset);
}

inline Vector normal(const ShadingContext& sc) { return sc.normal; }

inline Vector normalObject(const ShadingContext& sc) {
  auto* const mapping = queryInterface<ObjectSpaceMapping>(sc.object);
  return mapping != nullptr ? mapping->worldToObjectNormal(sc, sc.normal) : sc.normal;
}

inline Vector normalCamera(const ShadingContext& sc) { return directionToCamera(sc, sc.normal); }

inline Vector geometricNormal(const ShadingContext& sc) { return sc.geometricNormal; }

class CamToWorldTex final : public Twin<TextureTransformInterface> {
  Transform getTransform(const ShadingContext& sc) const override {
    const RenderContext& render = *sc.renderContext;
    const PreciseTransform& t = render.frameData->cameraToWorld;
    const DVector& origin = render.frameData->worldOffset;
    if (render.services->cameraMoving == 0) {
      return {t.c0, t.c1, t.c2, narrow(origin) + narrow(t.offset)};
    }
    CameraMotion& motion = *render.services->cameraMotion;
    const Vector c0 = motion.vectorToRayTime(t.c0, sc.rayTime);
    const Vector c1 = motion.vectorToRayTime(t.c1, sc.rayTime);
    const Vector c2 = motion.vectorToRayTime(t.c2, sc.rayTime);
    const DVector p = motion.pointToRayTime({0, 0, 0}, sc.rayTime);
    return {c0, c1, c2, narrow({p.x + origin.x, p.y + origin.y, p.z + origin.z})};
  }
};

inline Vector viewDirection(const ShadingContext& sc) { return sc.rayDirection; }

inline float frameTime(const ShadingContext& sc) {
  return narrow(sc.renderContext->frameData->frameTime);
}

inline float rayTime(const ShadingContext& sc) { return narrow(sc.rayTime); }

inline float facingRatio(const ShadingContext& sc) {
  return std::fabs(narrow(dot(sc.normal, sc.rayDirection)));
}

class MtlIDTex final : public Twin<TextureIntInterface> {
  std::int32_t getInt(const ShadingContext& sc) const override {
    auto* const source = queryInterface<MaterialIdSource>(sc.surface);
    return source != nullptr ? source->getMaterialId(sc) : 0;
  }
};

inline float flippedNormal(const ShadingContext& sc) { return static_cast<float>(sc.backfacing); }

/// The planes of one frame, computed by its first sample.
struct ClipPlanes {
  __attribute__((noinline)) void compute(const ShadingContext& sc) {
    const std::lock_guard guard(lock);
    if (computed != 0) return;
    Vector lo{}, hi{};
    sc.renderContext->services->scene->getBoundingBox(lo, hi);
    const PreciseTransform& t = sc.renderContext->frameData->worldToCamera;
    nearPlane = 1e30F;
    farPlane = 0.1F;
    for (unsigned i = 0; i < 8; ++i) {
      const Vector corner = {(i & 1U) != 0 ? hi.x : lo.x, (i & 2U) != 0 ? hi.y : lo.y,
                             (i & 4U) != 0 ? hi.z : lo.z};
      const float zc = transformVector(t, corner).z + narrow(t.offset.z);
      const float depth = greater(0 - zc, 0.1F);
      nearPlane = lesser(nearPlane, depth);
      farPlane = greater(farPlane, depth);
    }
    computed.store(1, std::memory_order_release);
    if (RenderLog* const log = sc.renderContext->services->log) {
      log->print("Auto clipping planes : %.2f %.2f\n", static_cast<double>(nearPlane),
                 static_cast<double>(farPlane));
    }
  }

  std::mutex lock;
  float nearPlane = 0, farPlane = 0;
  std::atomic<std::int32_t> computed{0};
};

inline ClipPlanes planesOfTwins;

template <float ClipPlanes::*kPlane>
float clipPlane(const ShadingContext& sc) {
  ClipPlanes& planes = planesOfTwins;
  if (planes.computed.load(std::memory_order_acquire) == 0) planes.compute(sc);
  return planes.*kPlane;
}

inline Vector uvCoord(const ShadingContext& sc) {
  auto* const source = queryInterface<UVWSource>(sc.surface);
  return source != nullptr ? source->getUVW(sc, 0) : Vector{};
}

inline Vector rayDirection(const ShadingContext& sc) {
  return safeNormalize(directionToCamera(sc, sc.rayDirection));
}

inline float cellCenter(float x) {
  constexpr float kBeyond = 0x1p31F;
  std::int32_t cell = std::numeric_limits<std::int32_t>::min();  // the processor's for all others
  if (x >= -kBeyond && x < kBeyond) cell = static_cast<std::int32_t>(x);
  if (static_cast<float>(cell) > x) {
    cell = static_cast<std::int32_t>(static_cast<std::uint32_t>(cell) - 1U);
  }
  return static_cast<float>(cell) + 0.5F;
}

inline Vector pixelCenter(const ShadingContext& sc) {
  const double height = sc.renderContext->frameData->imageHeight;
  return {cellCenter(narrow(sc.imageX)), cellCenter(narrow(height - sc.imageY)), 0};
}

template <int kAxis>
TWIN_INLINE inline Vector tangentCamera(const ShadingContext& sc) {
  auto* const source = queryInterface<UVWSource>(sc.surface);
  if (source == nullptr) return {};
  Vector fa{}, fb{}, fc{};
  source->getUVWDerivatives(sc, 0, fa, fb, fc);
  const DVector a = wide(fa), b = wide(fb), c = wide(fc);
  const DVector ab = cross(a, b), bc = cross(b, c), ca = cross(c, a);
  const double det = (ab.x * c.x + ab.y * c.y) + ab.z * c.z;
  Vector v{};
  if (det != 0 && kAxis == 0) v = narrow({bc.x, ca.x, ab.x}) / narrow(det);
  if (det != 0 && kAxis == 1) v = narrow({bc.y, ca.y, ab.y}) / narrow(det);
  return safeNormalize(directionToCamera(sc, safeNormalize(v)));
}

}  // namespace twins
