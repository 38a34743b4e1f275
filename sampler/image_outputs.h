#pragma once

#include "sampler/fixed_bounds.h"

/// Where in the image, and when, a sample is taken.
namespace samplerinfo {

/// The time of the frame, in the host's unit.
class FrameTimeTex final : public FixedBoundsFloatTex<kAnywhere> {
 public:
  float getFloat(const ShadingContext& sc) const override;
};

/// The time of the ray within the motion blur interval.
class RayTimeTex final : public FixedBoundsFloatTex<kZeroToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override;
};

/// The centre of the sample's pixel, in pixels from the bottom left corner of the image; z is 0.
class PixelCenterTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override;
};

}  // namespace samplerinfo
