// SPDX-License-Identifier: MIT
#pragma once

#include <bitset>
#include <string>

#include "preview/scene/texture.h"

namespace preview {

/// What may be wrong with the answers of a texture at a point.
enum class Flaw { NaN, Infinity, OutsideBounds, GradientNotFinite, GradientDiffers };
inline constexpr const char* kFlawNames[] = {"NaN", "infinity", "outside its bounds",
                                             "gradient not finite",
                                             "gradient unlike the change of its values"};
using Flaws = std::bitset<std::size(kFlawNames)>;

/// Those of a texture at one point; the last takes several points. A value that only rounding puts
/// outside is not.
Flaws flawsOf(const PluginInterface& texture, const ShadingContext& sc);

}  // namespace preview
