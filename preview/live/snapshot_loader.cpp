// SPDX-License-Identifier: MIT
#include "preview/live/snapshot_loader.h"

#include "preview/live/picture_keys.h"
#include "preview/scene/scene_file.h"
#include "preview/system/memory.h"
#include "preview/system/regular_file.h"

namespace preview {

void SnapshotLoader::watch(std::set<std::filesystem::path> files) {
  files.insert(source_.scene);
  files.insert(source_.modules.begin(), source_.modules.end());
  files_.swap(files);
}

std::shared_ptr<Snapshot> SnapshotLoader::load(Diagnostics& diagnostics) {
  const std::filesystem::path& file = source_.scene;
  states_ = statesOf(files_);
  if (states_[file] == FileState()) throw InputError(shownPath(file) + ": there is no file");
  std::string stateOfModules;
  for (const auto& module : source_.modules) stateOfModules += states_[module].text();
  if (library_ == nullptr || stateOfModules_ != stateOfModules) {
    library_.reset();
    library_ = std::make_shared<const PluginLibrary>(source_.loadPlugins());
    stateOfModules_ = stateOfModules;
  }
  std::shared_ptr<Snapshot> snapshot;
  diagnostics.attempt([&] {
    std::ifstream stream = openRegularFile(file);
    const JsonValue json = readSource(stream, source_.settings, diagnostics);
    watch(filesNamedIn(json, file));
    for (const auto& [named, state] : statesOf(files_)) states_.try_emplace(named, state);
    std::erase_if(states_, [&](const auto& state) { return !files_.contains(state.first); });
    Scene scene = sceneOf(json, file, source_.settings, diagnostics);
    if (scene.nodes.empty() && !diagnostics.errors().empty()) return;  // the rest follows from them
    source_.adjust(scene);
    const JsonValue* section = json.find("objects");
    std::string objects = section != nullptr ? textOf(*section, file, states_) : "";
    snapshot = std::make_shared<Snapshot>(library_, std::move(scene), source_.only, diagnostics,
                                          objects == objects_ ? geometry_ : nullptr);
    if (!diagnostics.errors().empty()) return;
    checkMemory("the pictures", snapshot->loaded.plan.bytes);
    // What was read while it changed must not be taken for what it became.
    const std::string unlike = haveChanged() ? " " + std::to_string(++count_) : "";
    geometry_ = snapshot->loaded.geometry;
    objects_ = objects + unlike;
    snapshot->keys = keysOf(json, snapshot->loaded.scene, snapshot->loaded.plan.pictures, states_,
                            stateOfModules + unlike);
    snapshot->diagnostics = diagnostics;
  });
  return diagnostics.errors().empty() ? snapshot : nullptr;
}

}  // namespace preview
