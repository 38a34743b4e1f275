// SPDX-License-Identifier: MIT
#include "preview/scene/plugin_library.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <map>
#include <optional>
#include <set>

#include "preview/diagnostics/errors.h"
#include "preview/scene/host_textures.h"
#include "preview/system/regular_file.h"
#include "standin/introspection.h"

namespace preview {

namespace {

/// Whether a library ends before the last of what its header announces, the table of its sections:
/// the loader would map what is not there, and crash.
bool isCutOff(const std::filesystem::path& file) {
  ElfW(Ehdr) header = {};
  std::ifstream(file, std::ios::binary).read(reinterpret_cast<char*>(&header), sizeof header);
  const std::size_t sections = std::size_t{header.e_shnum} * header.e_shentsize;
  constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
  return std::memcmp(header.e_ident, ELFMAG, SELFMAG) == 0 && header.e_ident[EI_CLASS] == kClass &&
         file_size(file) < header.e_shoff + sections;
}

constexpr const char* kDefault = "SamplerInfo.so";

/// A copy of a module, of the same name, while the object lives; the loader needs its name no
/// longer. Beside it are links to what stands beside the module, which may look for it there.
class ModuleCopy {
 public:
  explicit ModuleCopy(const std::filesystem::path& file) : ModuleCopy() {
    const std::filesystem::path name = file.filename();
    std::error_code ignored;
    for (const auto& entry :
         std::filesystem::directory_iterator(absolute(file).parent_path(), ignored)) {
      if (entry.path().filename() == name) continue;
      create_symlink(entry.path(), folder_ / entry.path().filename(), ignored);
    }
    std::ofstream copy(path_ = folder_ / name, std::ios::binary);
    if (!(copy << openRegularFile(file).rdbuf()).flush()) {
      throw InputError(shownPath(file) + ": cannot be copied to " + shownPath(path_));
    }
  }
  ~ModuleCopy() {
    std::error_code ignored;
    remove_all(folder_, ignored);
  }
  ModuleCopy(const ModuleCopy&) = delete;
  ModuleCopy& operator=(const ModuleCopy&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  ModuleCopy() {
    const char* named = std::getenv("TMPDIR");
    const std::filesystem::path parent = named != nullptr && *named != 0 ? named : "/tmp";
    std::string folder = parent / "samplerinfo-XXXXXX";
    struct statvfs system = {};
    if (statvfs(parent.c_str(), &system) != 0 || (system.f_flag & ST_NOEXEC) != 0 ||
        mkdtemp(folder.data()) == nullptr) {
      throw std::runtime_error("no plugin library can be copied to " + shownPath(parent) +
                               " and loaded from there; TMPDIR names another folder");
    }
    folder_ = folder;
  }

  std::filesystem::path folder_, path_;
};

}  // namespace

std::vector<std::filesystem::path> installedModules() {
  // Other libraries lie beside the default one in the folder of a build.
  const auto root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
  if (exists(root / kDefault)) return {root / kDefault};
  std::vector<std::filesystem::path> files;
  std::error_code isMissing;
  for (const auto& entry :
       std::filesystem::directory_iterator(root / INSTALLED_PLUGINS, isMissing)) {
    if (entry.path().extension() == ".so") files.push_back(entry.path());
  }
  std::ranges::sort(files);
  return files;
}

void PluginModule::Close::operator()(void* handle) const {
  // What is thrown may be of a class of the module, which stays then; in `view` until its end.
  if (std::uncaught_exceptions() == 0) dlclose(handle);
}

void PluginModule::refuse(const std::string& why) const {
  throw InputError("the plugin library \"" + shortened(file_.filename().string()) +
                   "\" cannot be used: " + why);
}

PluginModule::PluginModule(std::filesystem::path file, LoadFrom from) : file_(std::move(file)) {
  std::error_code unusable;
  if (!is_regular_file(file_, unusable)) refuse("it is not a file");
  std::optional<ModuleCopy> copy;
  if (from == LoadFrom::Copy) copy.emplace(file_);
  // A name without a slash would be looked for in the system's folders.
  const std::string loaded = copy ? copy->path() : absolute(file_);
  if (isCutOff(loaded)) refuse("it is cut off");
  handle_.reset(dlopen(loaded.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) {
    std::string why = dlerror();
    if (why.starts_with(loaded)) why.replace(0, loaded.size(), absolute(file_).string());
    throw InputError("cannot load the plugin library: " + why);
  }
  const auto getLibDesc =
      reinterpret_cast<QUtils::PluginLibDesc* (*)()>(dlsym(handle_.get(), "getLibDesc"));
  if (getLibDesc == nullptr) refuse("it has no getLibDesc");
  library_ = getLibDesc();
  if (library_ == nullptr) refuse("its getLibDesc gives null");
  if (library_->getLibraryName() == nullptr) refuse("it has no name");
}

PluginModule::~PluginModule() {
  auto registered = descs_;  // each takes itself out of the list
  std::erase(registered, nullptr);
  std::for_each(registered.rbegin(), registered.rend(),
                [this](QUtils::QuorPluginDesc* desc) { desc->unregisterPlugin(this); });
}

std::int32_t PluginModule::visitPluginDesc(QUtils::PluginDesc* desc) {
  if (desc == nullptr) {
    descs_.push_back(nullptr);  // to be refused when the library is no longer on the stack
  } else {
    desc->registerPlugin(this);
  }
  return 1;
}

void PluginModule::registerPlugins() {
  library_->enumPluginDescs(this);
  for (const QUtils::QuorPluginDesc* desc : descs_) {
    if (desc == nullptr) refuse("one of its descriptors is null");
    const char* name = desc->getPluginName();
    if (name == nullptr) refuse("one of its plugins has no name");
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      if (info.name == nullptr) refuse(std::string(name) + " has a parameter without name");
    }
  }
}

std::unique_ptr<standin::PluginInstance> PluginModule::newPlugin(
    QUtils::QuorPluginDesc& desc) const {
  const std::string name = desc.getPluginName();
  std::unique_ptr<standin::PluginInstance> instance;
  try {
    instance = std::make_unique<standin::PluginInstance>(desc);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (...) {
    refuse(name + " cannot be made: " + textOfThrown());
  }
  for (const standin::ParameterInfo& info : standin::registeredParameters(&desc)) {
    if (!info.isOutput()) continue;
    const QUtils::PluginInterface* texture = instance->texture(info.name);
    if (texture == nullptr || texture->getInterfaceId() != info.kind().texture) {
      refuse(name + "." + info.name + " is no " + info.kind().value + " texture");
    }
  }
  return instance;
}

PluginLibrary::PluginLibrary(const std::vector<std::filesystem::path>& files, bool withDefault,
                             const std::function<void(const std::string&)>& warn, LoadFrom from) {
  for (const std::filesystem::path& file : files) add(std::make_unique<PluginModule>(file, from));
  std::set<std::string> replaced;
  for (const auto& module : modules_) replaced.insert(module->libraryName());
  for (const std::filesystem::path& file : installedModules()) {
    if (!withDefault && file.filename() == kDefault) continue;
    try {
      auto module = std::make_unique<PluginModule>(file, from);
      if (!replaced.contains(module->libraryName())) add(std::move(module));
    } catch (const InputError& e) {
      warn(e.what());
    }
  }
  if (modules_.empty() && withDefault) {
    throw InputError("no plugin library can be used; name one with --plugin");
  }
  std::map<std::string, const PluginModule*> owners;
  for (const auto& module : modules_) {
    const auto claim = [&](const std::string& what, const std::string& how) {
      const auto [owner, isNew] = owners.emplace(what, module.get());
      if (isNew) return;
      throw InputError("two plugins " + how + ": in " + shownPath(owner->second->file()) + " and " +
                       shownPath(module->file()));
    };
    for (QUtils::QuorPluginDesc* desc : module->descs()) {
      const std::string name = desc->getPluginName(), id = std::to_string(desc->getPluginId());
      claim("name " + name, "are named \"" + shortened(name) + "\"");
      claim("id " + id, "have the id " + id);
      descs_.push_back(desc);
    }
  }
}

void PluginLibrary::add(std::unique_ptr<PluginModule> module) {
  module->registerPlugins();
  const std::vector<std::string> ofHost = hostTextureNames();
  for (const QUtils::QuorPluginDesc* desc : module->descs()) {
    const std::string name = desc->getPluginName();
    if (std::ranges::find(ofHost, name) == ofHost.end()) continue;
    throw InputError("\"" + name + "\" is a texture of the host and a plugin in " +
                     shownPath(module->file()));
  }
  modules_.push_back(std::move(module));
}

const PluginModule& PluginLibrary::moduleOf(const QUtils::QuorPluginDesc* desc) const {
  return **std::ranges::find_if(modules_, [desc](const auto& module) {
    return std::ranges::find(module->descs(), desc) != module->descs().end();
  });
}

}  // namespace preview
