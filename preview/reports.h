#pragma once

#include <ostream>

#include "host/records.h"
#include "preview/scene/network.h"
#include "preview/world/meshes.h"

/// What the program says in words.
namespace preview {

/// Every plugin of the library with its parameters, as registered: a table each.
void listPlugins(const PluginLibrary& library, bool markdown, std::ostream& out);

/// Value, bounds and gradient of every texture of the network for the middle of a pixel of frame
/// `number`, in the middle of the shutter interval.
void probe(const Scene& scene, const std::vector<Mesh>& meshes, const Network& network,
           std::int32_t number, int x, int y, RenderLog* log, std::ostream& out);

}  // namespace preview
