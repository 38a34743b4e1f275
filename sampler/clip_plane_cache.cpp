#include "sampler/clip_plane_cache.h"

#include <mutex>

#include "math/minmax.h"
#include "sampler/camera_space.h"

namespace samplerinfo {

void ClipPlaneCache::computeOnce(const ShadingContext& sc) {
  const std::lock_guard guard(lock);
  if (computed.load(std::memory_order_relaxed) != 0) return;

  constexpr float kClosest = 0.1F;
  Vector lo{};
  Vector hi{};
  services(sc).scene->getBoundingBox(lo, hi);
  const PreciseTransform& worldToCamera = frameData(sc).worldToCamera;
  nearPlane = 1e30F;
  farPlane = kClosest;
  for (unsigned i = 0; i < 8; ++i) {
    const Vector corner = {(i & 1U) != 0 ? hi.x : lo.x, (i & 2U) != 0 ? hi.y : lo.y,
                           (i & 4U) != 0 ? hi.z : lo.z};
    // The camera looks down its negative z axis. A depth that is not a number becomes the closest.
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
}

}  // namespace samplerinfo
