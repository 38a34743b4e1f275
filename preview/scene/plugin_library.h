// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "frame/plugin_desc.h"
#include "host/plugin_host.h"
#include "standin/plugin_instance.h"

namespace preview {

/// Where a module is loaded from: a linker may write into the file itself as it stands.
enum class LoadFrom { File, Copy };

/// The modules in the folder of the installed one, or the default one in that of a build.
std::vector<std::filesystem::path> installedModules();

/// A module of plugins, loaded as a host does it: from its file and through its one export.
class PluginModule final : private QUtils::QuorPluginHost, private QUtils::PluginDescVisitor {
 public:
  /// Throws `InputError` if `file` cannot be loaded.
  explicit PluginModule(std::filesystem::path file, LoadFrom from = LoadFrom::File);
  ~PluginModule();
  PluginModule(const PluginModule&) = delete;
  PluginModule& operator=(const PluginModule&) = delete;

  const std::filesystem::path& file() const { return file_; }
  std::string libraryName() const { return library_->getLibraryName(); }

  /// Registers its descriptors while the object lives. Throws `InputError` if they are such that no
  /// host can use them.
  void registerPlugins();

  /// The kinds of plugins, in the order in which the module presents them.
  const std::vector<QUtils::QuorPluginDesc*>& descs() const { return descs_; }

  /// An instance that has what was registered. Throws `InputError` if there is none.
  std::unique_ptr<standin::PluginInstance> newPlugin(QUtils::QuorPluginDesc& desc) const;

 private:
  std::int32_t visitPluginDesc(QUtils::PluginDesc* desc) override;
  void registerPluginDesc(QUtils::QuorPluginDesc* desc) override { descs_.push_back(desc); }
  void unregisterPluginDesc(QUtils::QuorPluginDesc* desc) override { std::erase(descs_, desc); }

  [[noreturn]] void refuse(const std::string& why) const;

  struct Close {
    void operator()(void* handle) const;
  };
  std::filesystem::path file_;
  std::unique_ptr<void, Close> handle_;
  const QUtils::PluginLibDesc* library_ = nullptr;
  std::vector<QUtils::QuorPluginDesc*> descs_;
};

/// The plugins of several modules, each of a name and an id of its own.
class PluginLibrary {
 public:
  /// Loads the modules in `files`, and those that are installed except where one of the files is of
  /// a library of the same name; the default one, SamplerInfo, only if it is wanted. Throws
  /// `InputError` if one of the files cannot be used, two plugins have the same name or id, or
  /// there is no module. `warn` is told why an installed one cannot be used.
  PluginLibrary(const std::vector<std::filesystem::path>& files, bool withDefault,
                const std::function<void(const std::string&)>& warn,
                LoadFrom from = LoadFrom::File);

  /// The kinds of plugins of all modules.
  const std::vector<QUtils::QuorPluginDesc*>& descs() const { return descs_; }

  const PluginModule& moduleOf(const QUtils::QuorPluginDesc* desc) const;

 private:
  void add(std::unique_ptr<PluginModule> module);

  std::vector<std::unique_ptr<PluginModule>> modules_;
  std::vector<QUtils::QuorPluginDesc*> descs_;
};

}  // namespace preview
