// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "preview/scene/plugin_library.h"

namespace preview {

enum class Listing { Text, Markdown, Json };

/// The plugins of the library with their parameters, as registered: those whose names fit one of
/// `patterns`, all if there are none. In Markdown with what outputs guarantee.
void listPlugins(const PluginLibrary& library, const std::vector<std::string>& patterns, Listing as,
                 std::ostream& out);

}  // namespace preview
