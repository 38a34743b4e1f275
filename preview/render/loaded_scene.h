// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <utility>

#include "preview/render/render_plan.h"
#include "preview/world/frame.h"

namespace preview {

/// A scene with all that is made of it. What is wrong is reported, each thing by itself; the object
/// may be used only if there is none. `plugins` outlives it. `known` is what another with the same
/// objects has of them; only one of the two may have a frame at a time.
struct LoadedScene {
  LoadedScene(Scene read, const PluginLibrary& plugins, const std::vector<std::string>& only,
              Diagnostics& diagnostics, std::shared_ptr<Geometry> known = nullptr)
      : library(plugins),
        scene(std::move(read)),
        network(scene.nodes, library, diagnostics),
        plan(scene, network, only, diagnostics),
        geometry(known != nullptr ? std::move(known)
                                  : std::make_shared<Geometry>(scene, diagnostics)) {}

  const PluginLibrary& library;
  const Scene scene;
  const Network network;
  const RenderPlan plan;
  const std::shared_ptr<Geometry> geometry;
};

}  // namespace preview
