// SPDX-License-Identifier: MIT
#pragma once

#include <utility>

#include "preview/render/render_plan.h"
#include "preview/world/frame.h"

namespace preview {

/// A scene with all that is made of it. What is wrong is reported, each thing by itself; the object
/// may be used only if there is none. `plugins` outlives it.
struct LoadedScene {
  LoadedScene(Scene read, const PluginLibrary& plugins, const std::vector<std::string>& only,
              Diagnostics& diagnostics)
      : library(plugins),
        scene(std::move(read)),
        network(scene.nodes, library, diagnostics),
        plan(scene, network, only, diagnostics),
        geometry(scene, diagnostics) {}

  const PluginLibrary& library;
  const Scene scene;
  const Network network;
  const RenderPlan plan;
  Geometry geometry;
};

}  // namespace preview
