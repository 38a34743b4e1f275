// SPDX-License-Identifier: MIT
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "preview/render/frame_files.h"
#include "preview/scene/network.h"

namespace preview {

/// What the page shows of a scene: its pictures, its nodes with what their inputs are set to or
/// connected with, and the plugins as they are registered. Within a frame, as it asks for bounds.
/// `digits` are those of frame numbers in file names; 0 if these have none.
nlohmann::ordered_json pageData(const Scene& scene, const Plan& plan, const Network& network,
                                const PluginLibrary& library, std::size_t digits);

}  // namespace preview
