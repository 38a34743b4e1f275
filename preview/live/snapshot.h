// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "preview/render/loaded_scene.h"

namespace preview {

/// One state of the files that are viewed: made anew when one of them changes.
struct Snapshot {
  /// Reports what is wrong as `LoadedScene` does.
  Snapshot(std::shared_ptr<const PluginLibrary> plugins, Scene scene,
           const std::vector<std::string>& only, Diagnostics& report,
           std::shared_ptr<Geometry> geometry)
      : library(std::move(plugins)),
        loaded(std::move(scene), *library, only, report, std::move(geometry)) {}

  std::shared_ptr<const PluginLibrary> library;
  LoadedScene loaded;
  Diagnostics diagnostics;  ///< knows the places of the scene file
  /// By the names of the pictures: changes with what is seen there.
  std::map<std::string, std::size_t> keys;
};

}  // namespace preview
