#pragma once

#include <atomic>

#include "frame/platform.h"
#include "host/shading_context.h"

namespace samplerinfo {

/// The near and far clipping distances of one frame, which enclose the scene's bounding box as the
/// camera sees it. `beginFrame` sets `computed` back to 0; the first `computeClipPlanes` of the
/// frame, on whatever thread, computes both distances and writes them to the host's log.
struct ClipPlaneCache {
  /// Forgets the distances. No evaluation runs now, and the host hands the frame over to its
  /// threads.
  void beginFrame() { computed.store(0, std::memory_order_relaxed); }

  /// After it the distances hold for the rest of the frame. Any thread; waits for another one that
  /// is computing. Lets exceptions of the host's scene and log pass.
  void computeClipPlanes(const QUtils::ShadingContext& sc) {
    if (computed.load(std::memory_order_acquire) == 0) computeOnce(sc);
  }

  platform::Lock lock;  ///< held while computing
  float nearPlane = 0;
  float farPlane = 0;
  std::atomic<std::int32_t> computed{0};  ///< 1 once the distances are those of this frame

 private:
  void computeOnce(const QUtils::ShadingContext& sc);
};

static_assert(std::atomic<std::int32_t>::is_always_lock_free);

}  // namespace samplerinfo
