// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <mutex>

#include "frame/platform.h"
#include "sampler/camera_space.h"
#include "sampler/fixed_bounds.h"

/// Camera clipping distances around the scene's bounding box, in units of render space.
namespace samplerinfo {

/// The near and far clipping distances of one frame, which enclose the scene's bounding box as the
/// camera sees it. `beginFrame` sets `computed` back to 0; the first `computeClipPlanes` of the
/// frame, on whatever thread, computes both distances and writes them to the host's log.
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
      const float depth = max(0 - applyTransform(worldToCamera, corner).z, kClosest);
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

template <float ClipPlaneCache::*kPlane>
class ClipPlaneTex final : public FixedBoundsFloatTex<kClipDistance> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return clipPlanes->computeClipPlanes(sc, kPlane);
  }

  ClipPlaneCache* clipPlanes = nullptr;  ///< the plugin's, from `renderBegin` on
};

using CameraNearClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::nearPlane>;
using CameraFarClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::farPlane>;

}  // namespace samplerinfo
