#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "frame/plugin_desc.h"
#include "host/plugin_host.h"

namespace preview {

/// The plugin library, loaded as a host does it: from its file and through its one export. Its
/// descriptors are registered while the object lives.
class PluginLibrary final : private QUtils::QuorPluginHost, private QUtils::PluginDescVisitor {
 public:
  /// Throws `InputError` if `file` cannot be loaded.
  explicit PluginLibrary(const std::filesystem::path& file);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  /// The kinds of plugins, in the order in which the library presents them.
  const std::vector<QUtils::QuorPluginDesc*>& descs() const { return descs_; }

 private:
  std::int32_t visitPluginDesc(QUtils::PluginDesc* desc) override;
  void registerPluginDesc(QUtils::QuorPluginDesc* desc) override { descs_.push_back(desc); }
  void unregisterPluginDesc(QUtils::QuorPluginDesc* desc) override { std::erase(descs_, desc); }

  struct Close {
    void operator()(void* handle) const;
  };
  std::unique_ptr<void, Close> handle_;
  std::vector<QUtils::QuorPluginDesc*> descs_;
};

/// Where the plugin library lies if nobody says otherwise: in the folder above this program's.
std::filesystem::path defaultPluginLibrary();

}  // namespace preview
