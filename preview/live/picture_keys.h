// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <set>
#include <string>

#include "preview/scene/scene.h"

namespace preview {

/// What stands in a scene file, unchecked; null where it is no JSON. The text of its parts tells
/// whether they changed.
nlohmann::json sourceOf(const std::filesystem::path& scene);

/// The files that it names, whether they are there or not.
std::set<std::filesystem::path> filesNamedIn(const nlohmann::json& source,
                                             const std::filesystem::path& folder);

/// For each picture a number that changes with what is seen there: its entry in the file, its node
/// and all nodes upstream, all that is neither picture nor node, and `rest`.
std::map<std::string, std::size_t> keysOf(const nlohmann::json& source,
                                          const std::vector<Picture>& pictures,
                                          const std::string& rest);

}  // namespace preview
