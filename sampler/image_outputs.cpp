#include "sampler/image_outputs.h"

#include <cmath>
#include <limits>

#include "sampler/shading_queries.h"

namespace samplerinfo {
namespace {

/// Rounds down. What no 32-bit integer holds truncates to the lowest one, and the step down from
/// there wraps around.
std::int32_t floorToInt(float x) {
  constexpr float kLimit = 0x1p31F;
  const bool fits = std::fabs(x) < kLimit;
  const std::int32_t truncated =
      fits ? static_cast<std::int32_t>(x) : std::numeric_limits<std::int32_t>::min();
  const std::uint32_t step = static_cast<float>(truncated) > x ? 1U : 0U;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(truncated) - step);
}

float cellCenter(float x) { return static_cast<float>(floorToInt(x)) + 0.5F; }

}  // namespace

float FrameTimeTex::getFloat(const ShadingContext& sc) const {
  return static_cast<float>(frameData(sc).frameTime);
}

float RayTimeTex::getFloat(const ShadingContext& sc) const {
  return static_cast<float>(sc.rayTime);
}

Vector PixelCenterTex::getVector(const ShadingContext& sc) const {
  const double fromBottom = static_cast<double>(frameData(sc).imageHeight) - sc.imageY;
  return {cellCenter(static_cast<float>(sc.imageX)), cellCenter(static_cast<float>(fromBottom)), 0};
}

}  // namespace samplerinfo
