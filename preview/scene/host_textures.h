// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "frame/texture_interfaces.h"
#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/scene.h"

/// The textures of the host that a scene file can have as nodes beside plugins.
namespace preview {

/// What such nodes give for their plugin.
std::vector<std::string> hostTextureNames();

/// The texture of a node whose plugin is one of those. Reports parameters that it does not have,
/// and throws `SceneError` if one is not as it has it.
std::unique_ptr<PluginInterface> makeHostTexture(const Node& node, Diagnostics& diagnostics);

/// A constant texture: a float, a vector or a color. Null if the value is none of these.
std::unique_ptr<PluginInterface> constantTexture(const ParameterValue& value);

}  // namespace preview
