#pragma once

#include "sampler/clip_plane_cache.h"
#include "sampler/fixed_bounds.h"

/// Camera clipping distances around the scene's bounding box, in units of render space.
namespace samplerinfo {

class CameraNearClipPlaneTex final : public FixedBoundsFloatTex<kClipDistance> {
 public:
  float getFloat(const ShadingContext& sc) const override;

  ClipPlaneCache* clipPlanes = nullptr;  ///< the plugin's, from `renderBegin` on
};

class CameraFarClipPlaneTex final : public FixedBoundsFloatTex<kClipDistance> {
 public:
  float getFloat(const ShadingContext& sc) const override;

  ClipPlaneCache* clipPlanes = nullptr;  ///< the plugin's, from `renderBegin` on
};

}  // namespace samplerinfo
