// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <ostream>

#include "preview/scene/plugin_library.h"

namespace preview {

/// What a check has found. Notes are of outputs that guarantee no better.
struct CheckSummary {
  std::size_t errors = 0, warnings = 0, notes = 0;
};

/// Writes a line for everything that is wrong in a scene file. Where nothing is, looks at what its
/// pictures need, on a coarse grid over the first, the middle and the last frame, and writes a line
/// for what seems wrong there, and one for each note if `showNotes`.
CheckSummary check(const std::filesystem::path& file, const PluginLibrary& library, bool showNotes,
                   std::ostream& out);

}  // namespace preview
