// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "preview/live/snapshot.h"
#include "preview/live/watched_files.h"

namespace preview {

/// Makes a snapshot of the files as they are, and knows when they change.
class SnapshotLoader {
 public:
  struct Source {
    std::filesystem::path scene;
    std::vector<Setting> settings;
    std::vector<std::string> only;
    std::vector<std::filesystem::path> modules;  ///< all that `loadPlugins` may load
    std::function<PluginLibrary()> loadPlugins;
    std::function<void(Scene&)> adjust;  ///< makes the scene what else is asked for
  };

  explicit SnapshotLoader(Source source) : source_(std::move(source)) { watch({}); }

  bool haveChanged() const { return statesOf(files_) != states_; }
  bool areReadable() const { return areSettled(statesOf(files_)); }

  /// Reports what is wrong with the scene, and throws what else is; then there is no snapshot.
  std::shared_ptr<Snapshot> load(Diagnostics& diagnostics);

 private:
  /// The scene, the modules and these files.
  void watch(std::set<std::filesystem::path> files);

  Source source_;
  std::set<std::filesystem::path> files_;
  FileStates states_;
  std::shared_ptr<const PluginLibrary> library_;
  std::string stateOfModules_;
  std::shared_ptr<Geometry> geometry_;  ///< of the last snapshot; meshes may be large
  std::string objects_;                 ///< of which it is made
  int count_ = 0;                       ///< of snapshots whose files changed while they were read
};

}  // namespace preview
