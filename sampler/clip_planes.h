#pragma once

#include "sampler/clip_plane_cache.h"
#include "sampler/fixed_bounds.h"

/// Camera clipping distances around the scene's bounding box, in units of render space.
namespace samplerinfo {

template <float ClipPlaneCache::*kPlane>
class ClipPlaneTex final : public FixedBoundsFloatTex<kClipDistance> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    clipPlanes->computeClipPlanes(sc);
    return clipPlanes->*kPlane;
  }

  ClipPlaneCache* clipPlanes = nullptr;  ///< the plugin's, from `renderBegin` on
};

using CameraNearClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::nearPlane>;
using CameraFarClipPlaneTex = ClipPlaneTex<&ClipPlaneCache::farPlane>;

}  // namespace samplerinfo
