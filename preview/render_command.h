#pragma once

#include <filesystem>
#include <functional>

#include "host/records.h"
#include "preview/scene/network.h"
#include "preview/scene/scene.h"

namespace preview {

/// Renders the pictures of a scene into a folder: a PNG for each, `contact_sheet.png`, and all raw
/// values in one EXR per frame. Where the scene has several frames, file names end in their
/// numbers. Everything is checked before rendering starts, and files appear only when all are done.
/// Throws `SceneError` and `InputError`; `log` may be null.
void renderScene(Scene scene, const Frames& frames, const PluginLibrary& library, RenderLog* log,
                 const std::filesystem::path& output, const std::function<void(double)>& progress,
                 Problems& problems);

/// Tells what is wrong with the pictures of a scene, and returns them, each of "node.*" by itself.
std::vector<Picture> checkPictures(Scene scene, const Network& network, Problems& problems);

}  // namespace preview
