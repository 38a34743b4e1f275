// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "preview/render/loaded_scene.h"

namespace preview {

/// What the page shows of a scene: its pictures, its nodes with what their inputs are set to or
/// connected with, and the plugins as they are registered. Within a frame, as it asks for bounds.
nlohmann::ordered_json pageData(const LoadedScene& loaded);

}  // namespace preview
