// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/scene.h"

namespace preview {

/// Limits of what a scene or the command line may ask for.
inline constexpr int kMaxImageSide = 8192;  ///< pixels
inline constexpr int kMaxSamples = 4096;    ///< per pixel
inline constexpr int kMaxFrame = 999999;

/// Reads a scene file: JSON with comments. Checks everything that needs no plugin; the kinds and
/// the parameters of nodes, and what pictures show of them, are checked by `Network`. Paths in the
/// file are relative to its folder. Reports all that is wrong, and reads the rest; throws
/// `SceneError` if there is none.
Scene readScene(const std::filesystem::path& file, const std::vector<Setting>& settings,
                Diagnostics& diagnostics);

}  // namespace preview
