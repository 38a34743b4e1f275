// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "preview/live/look.h"
#include "preview/live/watched_files.h"

namespace preview {

/// Makes a look of the files as they are, and knows when they change.
class LookLoader {
 public:
  struct Source {
    std::filesystem::path scene;
    std::vector<Setting> settings;
    std::vector<std::string> only;
    std::vector<std::filesystem::path> modules;  ///< all that `loadPlugins` may load
    std::function<PluginLibrary()> loadPlugins;
    std::function<void(Scene&)> adjust;  ///< makes the scene what else is asked for
  };

  explicit LookLoader(Source source) : source_(std::move(source)) { watch({}); }

  bool haveChanged() const { return statesOf(files_) != states_; }
  bool areReadable() const { return areSettled(statesOf(files_)); }

  /// Reports what is wrong with the scene, and throws what else is; then there is no look.
  std::shared_ptr<Look> load(Diagnostics& diagnostics);

 private:
  /// The scene, the modules and these files.
  void watch(std::set<std::filesystem::path> files);

  Source source_;
  std::set<std::filesystem::path> files_;
  FileStates states_;
  std::shared_ptr<const PluginLibrary> library_;
  std::string stateOfModules_;
  std::shared_ptr<Geometry> geometry_;  ///< of the last look; meshes may be large
  std::string objects_;                 ///< of which it is made
  int count_ = 0;                       ///< of looks whose files changed while they were read
};

}  // namespace preview
