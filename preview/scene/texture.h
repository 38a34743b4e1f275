// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "frame/texture_interfaces.h"
#include "preview/scene/scene.h"

/// Textures of any kind, by the interface that they report.
namespace preview {

/// "color", "float", "vector", "integer" or "transform".
const char* kindName(const PluginInterface& texture);

/// How many numbers `show` shows of a texture; 0 if there is no such thing to show.
int channelCount(const PluginInterface& texture, Show show);

using Channels = std::array<float, 4>;

/// What `show` shows of a texture; the channels beyond its count are zero.
Channels evaluate(const PluginInterface& texture, Show show, const ShadingContext& sc);

}  // namespace preview
