// SPDX-License-Identifier: MIT
#pragma once

#include <cmath>
#include <limits>

#include "sampler/camera_space.h"
#include "sampler/fixed_bounds.h"

/// What the surface at the shading point says of itself and how it faces the ray; where in the
/// image, and when, the sample is taken. A surface that does not offer what is asked for counts as
/// zero.
namespace samplerinfo {

/// The absolute cosine of the angle between smooth normal and ray, both taken to have unit length.
/// Kept: bounded by -1, although it is never negative.
class FacingRatioTex final : public FixedBoundsFloatTex<kMinusOneToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    const double cosine = dot(toDouble(sc.normal), toDouble(sc.rayDirection));
    return std::fabs(static_cast<float>(cosine));
  }
};

/// 1 for a face seen from its back, else 0.
class FlippedNormalTex final : public FixedBoundsFloatTex<kZeroToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return static_cast<float>(sc.backfacing);
  }
};

/// The material id of the surface.
class MtlIDTex final : public OutputTex<TextureIntInterface> {
 public:
  std::int32_t getInt(const ShadingContext& sc) const override {
    auto* source = offered<MaterialIdSource>(sc.surface);
    return source != nullptr ? source->getMaterialId(sc) : 0;
  }
};

/// The uvw coordinates of channel 0.
class UVCoordTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    auto* source = offered<UVWSource>(sc.surface);
    return source != nullptr ? source->getUVW(sc, 0) : Vector{};
  }
};

/// The U or the V axis of uvw channel 0 in camera space, of unit length. Where the uvw derivatives
/// are singular the zero vector takes the same way.
class TangentCameraTex final : public FixedBoundsVectorTex<kMinusOneToOne> {
 public:
  explicit TangentCameraTex(std::int32_t uvwAxis) : axis(uvwAxis) {}

  Vector getVector(const ShadingContext& sc) const override {
    auto* source = offered<UVWSource>(sc.surface);
    if (source == nullptr) return {};
    Vector a{};
    Vector b{};
    Vector c{};
    source->getUVWDerivatives(sc, 0, a, b, c);
    const Vector tangent = inverseColumn(loadedSingly(a), loadedSingly(b), loadedSingly(c), axis);
    return guardedNormalize(directionToCamera(sc, guardedNormalize(tangent)));
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
    return toFloat(cofactors) / static_cast<float>(det);
  }
};

/// The time of the frame, in the host's unit.
class FrameTimeTex final : public FixedBoundsFloatTex<kAnywhere> {
 public:
  float getFloat(const ShadingContext& sc) const override {
    return static_cast<float>(frameData(sc).frameTime);
  }
};

/// The time of the ray within the motion blur interval.
class RayTimeTex final : public FixedBoundsFloatTex<kZeroToOne> {
 public:
  float getFloat(const ShadingContext& sc) const override { return static_cast<float>(sc.rayTime); }
};

/// The centre of the sample's pixel, in pixels from the bottom left corner of the image; z is 0.
class PixelCenterTex final : public FixedBoundsVectorTex<kAnywhere> {
 public:
  Vector getVector(const ShadingContext& sc) const override {
    const double fromBottom = static_cast<double>(frameData(sc).imageHeight) - sc.imageY;
    // Between the braces g++ would send both through memory.
    const float x = centre(static_cast<float>(sc.imageX));
    const float y = centre(static_cast<float>(fromBottom));
    return {x, y, 0};
  }

 private:
  static float centre(float x) { return static_cast<float>(floorToInt(x)) + 0.5F; }

  /// Rounds down. What no 32-bit integer holds truncates to the lowest one, and the step down from
  /// there wraps around.
  static std::int32_t floorToInt(float x) {
    constexpr float kLimit = 0x1p31F;
    std::int32_t whole = std::numeric_limits<std::int32_t>::min();
    if (x > -kLimit && x < kLimit) whole = static_cast<std::int32_t>(x);
    if (!(static_cast<float>(whole) > x)) return whole;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(whole) - 1U);
  }
};

}  // namespace samplerinfo
