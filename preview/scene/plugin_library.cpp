// SPDX-License-Identifier: MIT
#include "preview/scene/plugin_library.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>

#include "preview/diagnostics/errors.h"
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

}  // namespace

void PluginLibrary::Close::operator()(void* handle) const { dlclose(handle); }

void PluginLibrary::refuse(const std::string& why) const {
  throw InputError("the plugin library \"" + shortened(file_.filename().string()) +
                   "\" cannot be used: " + why);
}

PluginLibrary::PluginLibrary(const std::filesystem::path& file) : file_(file) {
  if (isCutOff(file)) refuse("it is cut off");
  // A name without a slash would be looked for in the system's folders.
  handle_.reset(dlopen(absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) throw InputError(std::string("cannot load the plugin library: ") + dlerror());
  const auto getLibDesc =
      reinterpret_cast<QUtils::PluginLibDesc* (*)()>(dlsym(handle_.get(), "getLibDesc"));
  if (getLibDesc == nullptr) refuse("it has no getLibDesc");
  const QUtils::PluginLibDesc* library = getLibDesc();
  if (library == nullptr) refuse("its getLibDesc gives null");
  library->enumPluginDescs(this);
  checkDescs();
}

PluginLibrary::~PluginLibrary() {
  const auto registered = descs_;  // each takes itself out of the list
  std::for_each(registered.rbegin(), registered.rend(),
                [this](QUtils::QuorPluginDesc* desc) { desc->unregisterPlugin(this); });
}

std::int32_t PluginLibrary::visitPluginDesc(QUtils::PluginDesc* desc) {
  if (desc == nullptr) {
    descs_.push_back(nullptr);  // to be refused when the library is no longer on the stack
  } else {
    desc->registerPlugin(this);
  }
  return 1;
}

void PluginLibrary::checkDescs() const {
  for (const QUtils::QuorPluginDesc* desc : descs_) {
    if (desc == nullptr) refuse("one of its descriptors is null");
    const char* name = desc->getPluginName();
    if (name == nullptr) refuse("one of its plugins has no name");
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      if (info.name == nullptr) refuse(std::string(name) + " has a parameter without name");
    }
  }
}

std::unique_ptr<standin::PluginInstance> PluginLibrary::newPlugin(
    QUtils::QuorPluginDesc& desc) const {
  const std::string name = desc.getPluginName();
  try {
    auto instance = std::make_unique<standin::PluginInstance>(desc);
    for (const standin::ParameterInfo& info : standin::registeredParameters(&desc)) {
      if (!info.isOutput()) continue;
      const QUtils::PluginInterface* texture = instance->texture(info.name);
      if (texture == nullptr || texture->getInterfaceId() != info.kind().texture) {
        refuse(name + "." + info.name + " is no " + info.kind().value + " texture");
      }
    }
    return instance;
  } catch (const std::logic_error& e) {
    refuse(name + ": " + e.what());
  } catch (const char* text) {  // the library's own kind of exception
    refuse(name + " threw \"" + (text != nullptr ? text : "") + "\" when it was made");
  }
}

std::filesystem::path defaultPluginLibrary() {
  const auto root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path();
  const auto built = root / "SamplerInfo.so";
  return exists(built) ? built : root / INSTALLED_PLUGINS / "SamplerInfo.so";
}

}  // namespace preview
