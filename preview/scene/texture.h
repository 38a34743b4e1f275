// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <optional>

#include "frame/texture_interfaces.h"
#include "preview/scene/scene.h"

/// Textures of any kind, by the interface that they report.
namespace preview {

/// "color", "float", "vector", "integer" or "transform".
const char* kindName(const PluginInterface& texture);

/// How many numbers `show` shows of a texture; 0 if there is no such thing to show.
int channelCount(const PluginInterface& texture, Show show);

using Channels = std::array<float, 4>;

struct Bounds {
  Channels lower, upper;
};

/// The bounds that a texture declares; none if it is of integers or transforms.
std::optional<Bounds> boundsOf(const PluginInterface& texture);

/// What `show` shows of a texture; the channels beyond its count are zero.
Channels evaluate(const PluginInterface& texture, Show show, const ShadingContext& sc);

}  // namespace preview
