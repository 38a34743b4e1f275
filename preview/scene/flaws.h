// SPDX-License-Identifier: MIT
#pragma once

#include <bitset>
#include <span>
#include <string>

#include "preview/scene/texture.h"

namespace preview {

/// What may be wrong with the answers of a texture at a point.
enum class Flaw { NaN, Infinity, OutsideBounds, GradientNotFinite, GradientDiffers };
inline constexpr const char* kFlawNames[] = {"NaN", "infinity", "outside its bounds",
                                             "gradient not finite",
                                             "gradient unlike the change of its values"};
using Flaws = std::bitset<std::size(kFlawNames)>;

/// Whether a value lies outside its bounds by more than rounding. NaN does not.
bool isOutside(std::span<const float> values, const Bounds& bounds);

/// Those of a texture at one point; the last takes several points.
Flaws flawsOf(const PluginInterface& texture, const ShadingContext& sc);

}  // namespace preview
