#pragma once

#include <filesystem>
#include <memory>

#include "standin/host_registry.h"

namespace preview {

/// The plugin library, loaded as a host does it: from its file and through its one export. Its
/// descriptors are registered while the object lives.
class PluginLibrary {
 public:
  /// Throws `InputError` if `file` cannot be loaded.
  explicit PluginLibrary(const std::filesystem::path& file);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  /// The kinds of plugins, in the order in which the library presents them.
  const std::vector<QUtils::QuorPluginDesc*>& descs() const { return registry_.descs; }

 private:
  struct Close {
    void operator()(void* handle) const;
  };
  std::unique_ptr<void, Close> handle_;
  standin::HostRegistry registry_;
};

/// Where the plugin library lies if nobody says otherwise: in the folder above this program's.
std::filesystem::path defaultPluginLibrary();

}  // namespace preview
