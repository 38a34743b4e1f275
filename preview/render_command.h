#pragma once

#include <filesystem>
#include <functional>

#include "host/records.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene.h"

namespace preview {

/// Renders the pictures of a scene into a folder: a PNG for each, `contact_sheet.png`, and all raw
/// values in one EXR per frame. Where the scene has several frames, file names end in their
/// numbers. Everything is checked before rendering starts, and files appear only when all are done.
/// Throws `SceneError` and `InputError`; `log` may be null.
void renderScene(Scene scene, const Frames& frames, const PluginLibrary& library, RenderLog* log,
                 const std::filesystem::path& output, const std::function<void(double)>& progress);

}  // namespace preview
