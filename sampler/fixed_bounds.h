// SPDX-License-Identifier: MIT
#pragma once

#include "frame/output_tex.h"
#include "math/interval.h"

/// Outputs whose bounds are constants, declared to the host and not checked against the values.
namespace samplerinfo {

inline constexpr Interval kAnywhere{-1e18F, 1e18F};
inline constexpr Interval kMinusOneToOne{-1, 1};
inline constexpr Interval kZeroToOne{0, 1};
inline constexpr Interval kClipDistance{0, 1e9F};

template <const Interval& kBounds>
class FixedBoundsFloatTex : public OutputTex<TextureFloatInterface> {
 public:
  void getFloatBounds(float& min, float& max) const final { store(kBounds, min, max); }
};

/// The same bounds for each component.
template <const Interval& kBounds>
class FixedBoundsVectorTex : public OutputTex<TextureVectorInterface> {
 public:
  void getVectorBounds(Vector& min, Vector& max) const final {
    min = {kBounds.lo, kBounds.lo, kBounds.lo};
    max = {kBounds.hi, kBounds.hi, kBounds.hi};
  }
};

}  // namespace samplerinfo
