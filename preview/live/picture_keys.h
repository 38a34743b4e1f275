// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "preview/live/watched_files.h"
#include "preview/scene/json_file.h"
#include "preview/scene/scene.h"

namespace preview {

/// The files that a scene in `folder` names, whether they are there or not.
std::set<std::filesystem::path> filesNamedIn(const JsonValue& source,
                                             const std::filesystem::path& folder);

/// For each picture a number that changes with what is seen there: its entry without the caption,
/// its node and all nodes upstream, all that is neither picture nor node, the states of the files
/// that these name, and `rest`. The scene is without errors, and made of `source`.
std::map<std::string, std::size_t> keysOf(const JsonValue& source, const Scene& scene,
                                          const std::vector<Picture>& pictures,
                                          const FileStates& states, const std::string& rest);

}  // namespace preview
