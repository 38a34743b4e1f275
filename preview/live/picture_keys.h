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

// Of a value, or a part of one, in the file of a scene:

/// The files that it names, whether they are there or not.
std::set<std::filesystem::path> filesNamedIn(const JsonValue& value,
                                             const std::filesystem::path& scene);

/// A text that changes with it and with the states of the files that it names.
std::string textOf(const JsonValue& value, const std::filesystem::path& scene,
                   const FileStates& states);

/// For each picture a number that changes with what is seen there: its entry without the caption,
/// its node and all nodes upstream, all that is neither picture nor node, the states of the files
/// that these name, and `rest`. The scene is without errors, and made of `source`.
std::map<std::string, std::size_t> keysOf(const JsonValue& source, const Scene& scene,
                                          const std::vector<Picture>& pictures,
                                          const FileStates& states, const std::string& rest);

}  // namespace preview
