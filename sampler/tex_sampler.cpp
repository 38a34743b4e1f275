// SPDX-License-Identifier: MIT
// Gives data of the shading point as textures. Has no inputs and is not a texture itself: each
// quantity is an output.

#include <array>
#include <atomic>
#include <cmath>
#include <mutex>

#include "frame/inputs.h"
#include "frame/platform.h"
#include "frame/plugin_kind.h"
#include "host/shading_context.h"
#include "math/vector.h"

namespace samplerinfo {
namespace {

// ---- What a shading context leads to: its render context is never null --------------------------

const RenderServices& services(const ShadingContext& sc) { return *sc.renderContext->services; }

const QuorFrameData& frameData(const ShadingContext& sc) { return *sc.renderContext->frameData; }

/// The interface of this class that `object`, which may be null, offers, or null.
template <class Interface>
Interface* queryInterface(PluginBase* object) {
  if (object == nullptr) return nullptr;
  return static_cast<Interface*>(object->getInterface(Interface::kInterfaceId));
}

// ---- Spaces -------------------------------------------------------------------------------------
//
// From render space to camera and world space, whose axes are those of render space; in 32-bit
// floats unless said otherwise.

/// The matrix of `t` applied to `v`: one rounding per operation, the y term first.
constexpr Vector transformVector(const PreciseTransform& t, const Vector& v) {
  return (t.c1 * v.y + t.c0 * v.x) + t.c2 * v.z;
}

/// The whole of `t` applied to a point.
constexpr Vector transformPoint(const PreciseTransform& t, const Vector& point) {
  return transformVector(t, point) + toVector(t.offset);
}

/// A render-space direction, seen at the ray's time, in camera space. Not normalised.
Vector directionToCamera(const ShadingContext& sc, Vector v) {
  if (services(sc).cameraMoving != 0) {
    v = services(sc).cameraMotion->vectorFromRayTime(v, sc.rayTime);
  }
  return transformVector(frameData(sc).worldToCamera, v);
}

/// A render-space point in world space, added in double precision.
Vector pointToWorld(const ShadingContext& sc, const DVector& point) {
  const DVector& origin = frameData(sc).worldOffset;
  return toVector({point.x + origin.x, point.y + origin.y, point.z + origin.z});
}

/// Unit length, except for a vector too short to have a direction: that one stays as it is.
Vector safeNormalize(const Vector& v) {
  constexpr float kTooShort = 1e-6F;
  const float len = length(v);
  return len < kTooShort ? v : v / len;
}

// ---- Clipping planes ----------------------------------------------------------------------------

/// The near and far clipping distances of one frame, in units of render space, which enclose the
/// scene's bounding box as the camera sees it. `beginFrame` sets `computed` back to 0; the first
/// `computeClipPlanes` of the frame, on whatever thread, computes both distances and writes them to
/// the host's log.
struct ClipPlaneCache {
  /// Forgets the distances. No evaluation runs now, and the host hands the frame over to its
  /// threads.
  void beginFrame() { computed.store(0, std::memory_order_relaxed); }

  /// One of the distances, which hold for the rest of the frame. Any thread; waits for another one
  /// that is computing. Lets exceptions of the host's scene and log pass.
  float computeClipPlanes(const ShadingContext& sc, float ClipPlaneCache::*plane) {
    return computed.load(std::memory_order_acquire) != 0 ? this->*plane : computeOnce(sc, plane);
  }

  platform::Lock lock;  ///< held while computing
  float nearPlane = 0;
  float farPlane = 0;
  std::atomic<std::int32_t> computed{0};  ///< 1 once the distances are those of this frame

 private:
  // Out of line, so that all later samples of the frame read a flag and a field and save nothing.
  [[gnu::noinline]] float computeOnce(const ShadingContext& sc, float ClipPlaneCache::*plane) {
    const std::lock_guard guard(lock);
    if (computed.load(std::memory_order_relaxed) != 0) return this->*plane;

    constexpr float kClosest = 0.1F;
    constexpr float kFarthest = 1e30F;
    Vector lo{};
    Vector hi{};
    services(sc).scene->getBoundingBox(lo, hi);
    const PreciseTransform& worldToCamera = frameData(sc).worldToCamera;
    nearPlane = kFarthest;
    farPlane = kClosest;
    for (unsigned i = 0; i < 8; ++i) {
      const Vector corner = {(i & 1U) != 0 ? hi.x : lo.x, (i & 2U) != 0 ? hi.y : lo.y,
                             (i & 4U) != 0 ? hi.z : lo.z};
      // The camera looks down its negative z axis. A NaN depth becomes the closest.
      const float depth = max(0 - transformPoint(worldToCamera, corner).z, kClosest);
      nearPlane = min(nearPlane, depth);
      farPlane = max(farPlane, depth);
    }
    // Before the message, so that a host may evaluate from inside its log.
    computed.store(1, std::memory_order_release);
    if (RenderLog* log = services(sc).log) {
      log->print("Auto clipping planes : %.2f %.2f\n", static_cast<double>(nearPlane),
                 static_cast<double>(farPlane));
    }
    return this->*plane;
  }
};

static_assert(std::atomic<std::int32_t>::is_always_lock_free);

// ---- Outputs -----------------------------------------------------------------------------------

// Bounds are constants, declared to the host and not checked against the values.
constexpr Interval kAnywhere{-1e18F, 1e18F};
constexpr Interval kMinusOneToOne{-1, 1};
constexpr Interval kZeroToOne{0, 1};
constexpr Interval kClipDistance{0, 1e9F};

template <const Interval& kBounds>
class BoundedFloatTex : public OutputTex<TextureFloatInterface> {
 public:
  void getFloatBounds(float& min, float& max) const final { store(kBounds, min, max); }
};

/// The same bounds for each component.
template <const Interval& kBounds>
class BoundedVectorTex : public OutputTex<TextureVectorInterface> {
 public:
  void getVectorBounds(Vector& min, Vector& max) const final {
    min = {kBounds.lo, kBounds.lo, kBounds.lo};
    max = {kBounds.hi, kBounds.hi, kBounds.hi};
  }
};

/// A number or a vector that is read from the shading context by `kValue`.
template <float (*kValue)(const ShadingContext&), const Interval& kBounds>
class FloatTex final : public BoundedFloatTex<kBounds> {
 public:
  float getFloat(const ShadingContext& sc) const override { return kValue(sc); }
};
template <Vector (*kValue)(const ShadingContext&), const Interval& kBounds>
class VectorTex final : public BoundedVectorTex<kBounds> {
 public:
  Vector getVector(const ShadingContext& sc) const override { return kValue(sc); }
};

/// The shading point in world space.
Vector point(const ShadingContext& sc) { return pointToWorld(sc, sc.shadingPoint); }
using PointTex = VectorTex<point, kAnywhere>;

/// The shading point in object space, or in render space for an object that has no such mapping.
Vector pointObject(const ShadingContext& sc) {
  // Kept: without a mapping it is the render-space point, not the one in world space.
  Vector point = toVector(sc.shadingPoint);
  auto* mapping = queryInterface<ObjectSpaceMapping>(sc.object);
  if (mapping != nullptr) point = mapping->worldToObjectPoint(sc, point);
  return point;
}
using PointObjectTex = VectorTex<pointObject, kAnywhere>;

/// The shading point in camera space.
Vector pointCamera(const ShadingContext& sc) {
  DVector point = sc.shadingPoint;
  if (services(sc).cameraMoving != 0) {
    point = services(sc).cameraMotion->pointFromRayTime(point, sc.rayTime);
  }
  return transformPoint(frameData(sc).worldToCamera, toVector(point));
}
using PointCameraTex = VectorTex<pointCamera, kAnywhere>;

/// The smooth normal in world space, as the host gives it.
Vector normal(const ShadingContext& sc) { return sc.normal; }
using NormalTex = VectorTex<normal, kMinusOneToOne>;

/// The smooth normal in camera space, not normalised.
Vector normalCamera(const ShadingContext& sc) { return directionToCamera(sc, sc.normal); }
using NormalCameraTex = VectorTex<normalCamera, kMinusOneToOne>;

/// The smooth normal in object space, or in world space for an object that has no such mapping.
Vector normalObject(const ShadingContext& sc) {
  auto* mapping = queryInterface<ObjectSpaceMapping>(sc.object);
  return mapping != nullptr ? mapping->worldToObjectNormal(sc, sc.normal) : sc.normal;
}
using NormalObjTex = VectorTex<normalObject, kMinusOneToOne>;

/// The geometric normal in world space, as the host gives it.
Vector gnormal(const ShadingContext& sc) { return sc.geometricNormal; }
using GNormalTex = VectorTex<gnormal, kMinusOneToOne>;

/// The transform from camera space to world space at the ray's time.
class CamToWorldTex final : public OutputTex<TextureTransformInterface> {
 public:
  Transform getTransform(const ShadingContext& sc) const override {
    const PreciseTransform& camera = frameData(sc).cameraToWorld;
    if (services(sc).cameraMoving == 0) {
      // Kept: rounds before it adds, unlike a moving camera.
      const Vector offset = toVector(frameData(sc).worldOffset) + toVector(camera.offset);
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

/// The direction in which the ray travelled, in world space, as the host gives it.
Vector viewDirection(const ShadingContext& sc) { return sc.rayDirection; }
using ViewTex = VectorTex<viewDirection, kMinusOneToOne>;

/// The time of the frame, in the host's unit.
float frameTime(const ShadingContext& sc) { return static_cast<float>(frameData(sc).frameTime); }
using FrameTimeTex = FloatTex<frameTime, kAnywhere>;

/// The time of the ray within the motion blur interval.
float rayTime(const ShadingContext& sc) { return static_cast<float>(sc.rayTime); }
using RayTimeTex = FloatTex<rayTime, kZeroToOne>;

/// The absolute cosine of the angle between smooth normal and ray, both taken to have unit length.
/// Kept: bounded by -1, although it is never negative.
float facingRatio(const ShadingContext& sc) {
  const double cosine = dot(toDouble(sc.normal), toDouble(sc.rayDirection));
  return std::fabs(static_cast<float>(cosine));
}
using FacingRatioTex = FloatTex<facingRatio, kMinusOneToOne>;

/// The material id of the surface, or 0.
class MtlIDTex final : public OutputTex<TextureIntInterface> {
 public:
  std::int32_t getInt(const ShadingContext& sc) const override {
    auto* source = queryInterface<MaterialIdSource>(sc.surface);
    return source != nullptr ? source->getMaterialId(sc) : 0;
  }
};

/// 1 for a face seen from its back, else 0.
float flippedNormal(const ShadingContext& sc) { return static_cast<float>(sc.backfacing); }
using FlippedNormalTex = FloatTex<flippedNormal, kZeroToOne>;

template <float ClipPlaneCache::*kPlane>
class ClipPlaneTex final : public BoundedFloatTex<kClipDistance> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return clipPlanes->computeClipPlanes(sc, kPlane);
  }

  ClipPlaneCache* clipPlanes = nullptr;  ///< the plugin's, from `renderBegin` on
};

using CameraNearClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::nearPlane>;
using CameraFarClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::farPlane>;

/// The uvw coordinates of channel 0, or zero.
Vector uvCoord(const ShadingContext& sc) {
  auto* source = queryInterface<UVWSource>(sc.surface);
  return source != nullptr ? source->getUVW(sc, 0) : Vector{};
}
using UVCoordTex = VectorTex<uvCoord, kAnywhere>;

/// The direction in which the ray travelled, in camera space, of unit length.
Vector rayDirection(const ShadingContext& sc) {
  return safeNormalize(directionToCamera(sc, sc.rayDirection));
}
using RayDirectionTex = VectorTex<rayDirection, kMinusOneToOne>;

/// Rounds down. What no 32-bit integer holds truncates to the lowest one, and the step down from
/// there wraps around.
std::int32_t floorToInt(float x) {
  constexpr float kLimit = 0x1p31F;
  std::int32_t whole = INT32_MIN;
  if (x > -kLimit && x < kLimit) whole = static_cast<std::int32_t>(x);
  if (!(static_cast<float>(whole) > x)) return whole;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(whole) - 1U);
}

float centerOfPixel(float x) { return static_cast<float>(floorToInt(x)) + 0.5F; }

/// The centre of the sample's pixel, in pixels from the bottom left corner of the image; z is 0.
Vector pixelCenter(const ShadingContext& sc) {
  const double fromBottom = static_cast<double>(frameData(sc).imageHeight) - sc.imageY;
  // Between the braces g++ would send both through memory.
  const float x = centerOfPixel(static_cast<float>(sc.imageX));
  const float y = centerOfPixel(static_cast<float>(fromBottom));
  return {x, y, 0};
}
using PixelCenterTex = VectorTex<pixelCenter, kAnywhere>;

/// The U or the V axis of uvw channel 0 in camera space, of unit length; zero for a surface that
/// has no uvw. Where the uvw derivatives are singular the zero vector takes the same way.
class TangentCameraTex final : public BoundedVectorTex<kMinusOneToOne> {
 public:
  explicit TangentCameraTex(std::int32_t uvwAxis) : axis(uvwAxis) {}

  Vector getVector(const ShadingContext& sc) const override {
    auto* source = queryInterface<UVWSource>(sc.surface);
    if (source == nullptr) return {};
    Vector a{};
    Vector b{};
    Vector c{};
    source->getUVWDerivatives(sc, 0, a, b, c);
    const Vector tangent = inverseColumn(loadedSingly(a), loadedSingly(b), loadedSingly(c), axis);
    return safeNormalize(directionToCamera(sc, safeNormalize(tangent)));
  }

  const std::int32_t axis;  ///< 0 for U, 1 for V

 private:
  /// Column 0 or 1 of the inverse of the matrix with the columns a, b, c, by Cramer's rule; zero
  /// for a singular matrix.
  static Vector inverseColumn(const DVector& a, const DVector& b, const DVector& c,
                              std::int32_t column) {
    const DVector ab = cross(a, b);
    const double det = dot(ab, c);
    if (det == 0) return {};
    const DVector bc = cross(b, c);
    const DVector ca = cross(c, a);
    const DVector cofactors = column == 0 ? DVector{bc.x, ca.x, ab.x} : DVector{bc.y, ca.y, ab.y};
    // Kept: a determinant that rounds to zero divides all the same.
    return toVector(cofactors) / static_cast<float>(det);
  }
};

// ---- The plugin ---------------------------------------------------------------------------------

class TexSampler final : public QuorPlugin {
 public:
  explicit TexSampler(QuorPluginDesc* maker);

  void renderBegin(QuorRenderer* /*renderer*/) override {
    cameraNearClipPlane.clipPlanes = &clipPlanes;
    cameraFarClipPlane.clipPlanes = &clipPlanes;
  }
  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    clipPlanes.beginFrame();
  }

  PointTex point;
  PointObjectTex pointObject;
  PointCameraTex pointCamera;
  NormalTex normal;
  NormalObjTex normalObject;
  NormalCameraTex normalCamera;
  GNormalTex gnormal;
  CamToWorldTex camToWorld;
  ViewTex view_dir;
  FrameTimeTex frame_time;
  RayTimeTex ray_time;
  FacingRatioTex facing_ratio;
  MtlIDTex material_id;
  FlippedNormalTex flipped_normal;
  CameraNearClipPlaneTex cameraNearClipPlane;
  CameraFarClipPlaneTex cameraFarClipPlane;
  ClipPlaneCache clipPlanes;
  UVCoordTex uvCoord;
  RayDirectionTex rayDirection;
  PixelCenterTex pixelCenter;
  TangentCameraTex tangentUCamera{0};
  TangentCameraTex tangentVCamera{1};
};

constexpr std::array kParameters = {
    param<&TexSampler::point>("point", "The shading point in world space"),
    param<&TexSampler::pointObject>("pointObject", "The shading point in object space"),
    param<&TexSampler::pointCamera>("pointCamera", "The shading point in camera space"),
    param<&TexSampler::normal>("normal", "The smooth normal in world space"),
    param<&TexSampler::normalCamera>("normalCamera", "The smooth normal in camera space"),
    param<&TexSampler::normalObject>("normalObject", "The smooth normal in object space"),
    param<&TexSampler::gnormal>("gnormal", "The geometric normal in world space"),
    param<&TexSampler::camToWorld>("camToWorld", "The transformation from camera to world space"),
    param<&TexSampler::view_dir>("view_dir", "The viewing direction"),
    param<&TexSampler::frame_time>("frame_time", "The current frame (image) time"),
    param<&TexSampler::ray_time>("ray_time", "The ray time within the motion blur interval"),
    param<&TexSampler::facing_ratio>(
        "facing_ratio", "The cosine of the angle between the normal and the viewing direction"),
    param<&TexSampler::material_id>("material_id",
                                    "The surface material id, if the surface supports it"),
    param<&TexSampler::flipped_normal>(
        "flipped_normal",
        "Zero if the face is front facing and one if it is backfacing the camera"),
    param<&TexSampler::cameraNearClipPlane>(
        "cameraNearClipPlane",
        "The camera near clipping plane, calculated from the scene bounding box and the camera "
        "transform in the frame data."),
    param<&TexSampler::cameraFarClipPlane>(
        "cameraFarClipPlane",
        "The camera far clipping plane, calculated from the scene bounding box and the camera "
        "transform in the frame data."),
    param<&TexSampler::uvCoord>(
        "uvCoord",
        "The uvw coordinates of the point being shaded. These are the coordinates of channel 0."),
    param<&TexSampler::rayDirection>(
        "rayDirection",
        "The viewing direction in camera space. Used for the samplerInfo node in Maya."),
    param<&TexSampler::pixelCenter>(
        "pixelCenter",
        "The current sample image coordinates. Used for the samplerInfo node in Maya."),
    param<&TexSampler::tangentUCamera>(
        "tangentUCamera",
        "The U axis of the currently shaded point's UVW space, transformed in camera space. UV "
        "channel 0 is used."),
    param<&TexSampler::tangentVCamera>(
        "tangentVCamera",
        "The V axis of the currently shaded point's UVW space, transformed in camera space. UV "
        "channel 0 is used."),
};
constexpr auto kBindingOrder = withMoved(kParameters, "normalObject", "normalCamera");

TexSampler::TexSampler(QuorPluginDesc* maker) : QuorPlugin(maker) {
  registerCaches(*paramList, kBindingOrder, *this);
}

}  // namespace

constinit const PluginKind kTexSampler =
    pluginKind<TexSampler, kParameters>("TexSampler", 0x7782F949);

}  // namespace samplerinfo
