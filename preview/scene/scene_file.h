// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <iosfwd>

#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/json_file.h"
#include "preview/scene/scene.h"

namespace preview {

/// Limits of what a scene or the command line may ask for.
inline constexpr int kMaxImageSide = 8192;  ///< pixels
inline constexpr int kMaxSamples = 4096;    ///< per pixel
inline constexpr int kMaxFrame = 999999;

/// Reads what a scene file says, JSON with comments, and puts the settings into the places of its
/// values. Reports those that fit nowhere; throws `SceneError` if the file is no JSON.
JsonValue readSource(std::istream& file, const std::vector<Setting>& settings,
                     Diagnostics& diagnostics);

/// Makes the scene of it. Checks everything that needs no plugin; the kinds and the parameters of
/// nodes, and what pictures show of them, are checked by `Network`. Paths are relative to the
/// folder of `file`. Reports all that is wrong, and reads the rest; throws `SceneError` if there is
/// none.
Scene sceneOf(const JsonValue& source, const std::filesystem::path& file,
              const std::vector<Setting>& settings, Diagnostics& diagnostics);

/// Both.
Scene readScene(const std::filesystem::path& file, const std::vector<Setting>& settings,
                Diagnostics& diagnostics);

}  // namespace preview
