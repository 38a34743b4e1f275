// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/records.h"
#include "preview/scene/network.h"
#include "preview/scene/scene.h"

namespace preview {

struct RenderOptions {
  std::filesystem::path output;   ///< the folder for the files
  Frames frames;                  ///< some of the scene's
  std::vector<std::string> only;  ///< names or patterns of pictures; all pictures if empty
  bool half = false;              ///< half floats in EXR files
  RenderLog* log = nullptr;       ///< not owned
};

/// Told of what is being done and which fraction of the whole is done, from any thread, one at a
/// time. What it throws ends the render.
using Progress = std::function<void(const char* doing, double fraction)>;

/// Renders the pictures of a scene into a folder: a PNG for each, `contact_sheet.png`, the page
/// `index.html`, and all raw values in one EXR per frame. Where the scene has several frames, the
/// names of all but the page end in their numbers. Everything is checked before rendering starts,
/// and files appear only when all are done. Throws `SceneError` and `InputError`.
void renderScene(Scene scene, const PluginLibrary& library, const RenderOptions& options,
                 const Progress& progress, Diagnostics& diagnostics);

/// Reports what is wrong with the pictures of a scene, and returns them, each of "node.*" by
/// itself.
std::vector<Picture> checkPictures(const Scene& scene, const Network& network,
                                   Diagnostics& diagnostics);

}  // namespace preview
