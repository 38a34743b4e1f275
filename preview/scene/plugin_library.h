// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <memory>
#include <vector>

#include "frame/plugin_desc.h"
#include "host/plugin_host.h"
#include "standin/plugin_instance.h"

namespace preview {

/// The plugin library, loaded as a host does it: from its file and through its one export. Its
/// descriptors are registered while the object lives.
class PluginLibrary final : private QUtils::QuorPluginHost, private QUtils::PluginDescVisitor {
 public:
  /// Throws `InputError` if `file` cannot be loaded, or describes itself in a way that no host can
  /// use.
  explicit PluginLibrary(const std::filesystem::path& file);
  ~PluginLibrary();
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;

  /// The kinds of plugins, in the order in which the library presents them.
  const std::vector<QUtils::QuorPluginDesc*>& descs() const { return descs_; }

  /// An instance that has what was registered. Throws `InputError` if there is none.
  std::unique_ptr<standin::PluginInstance> newPlugin(QUtils::QuorPluginDesc& desc) const;

 private:
  std::int32_t visitPluginDesc(QUtils::PluginDesc* desc) override;
  void registerPluginDesc(QUtils::QuorPluginDesc* desc) override { descs_.push_back(desc); }
  void unregisterPluginDesc(QUtils::QuorPluginDesc* desc) override { std::erase(descs_, desc); }

  [[noreturn]] void refuse(const std::string& why) const;
  void checkDescs() const;

  struct Close {
    void operator()(void* handle) const;
  };
  std::filesystem::path file_;
  std::unique_ptr<void, Close> handle_;
  std::vector<QUtils::QuorPluginDesc*> descs_;
};

/// Where the plugin library lies if nobody says otherwise: in the folder above this program's.
std::filesystem::path defaultPluginLibrary();

}  // namespace preview
