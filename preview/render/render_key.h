// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "preview/scene/scene.h"

namespace preview {

/// Tells renders apart: changes with the bytes of the scene file, of its meshes and of its
/// images, and with all else that decides what is in a frame's files.
std::string renderKey(const Scene& scene, const std::vector<std::string>& only, bool half);

}  // namespace preview
