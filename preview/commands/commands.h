// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <vector>

#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/scene.h"

namespace CLI {
class App;
}

namespace preview {

inline constexpr const char* kProgram = "samplerinfo-preview";
inline constexpr int kExitBadInput = 2, kExitWarnings = 3;

/// What the parts of a run share.
struct Session {
  std::vector<std::filesystem::path> plugins;  ///< modules beside the installed ones
  bool withoutDefaultPlugin = false;
  std::filesystem::path scene;  ///< of all commands except `list`, as are these:
  std::vector<Setting> settings;
  Diagnostics diagnostics;  ///< of the scene
  int exitCode = 0;
};

// Each adds a command to the program: its options, and its work as a callback. What they throw is
// for the whole program to report.

void addRender(CLI::App& program, Session& session);
void addCheck(CLI::App& program, Session& session);
void addProbe(CLI::App& program, Session& session);
void addList(CLI::App& program, Session& session);
void addView(CLI::App& program, Session& session);

}  // namespace preview
