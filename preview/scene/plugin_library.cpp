#include "preview/scene/plugin_library.h"

#include <dlfcn.h>

#include "preview/messages/errors.h"

namespace preview {

void PluginLibrary::Close::operator()(void* handle) const { dlclose(handle); }

PluginLibrary::PluginLibrary(const std::filesystem::path& file) {
  // A name without a slash would be looked for in the system's folders.
  handle_.reset(dlopen(absolute(file).c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) throw InputError(std::string("cannot load the plugin library: ") + dlerror());
  const auto getLibDesc =
      reinterpret_cast<QUtils::PluginLibDesc* (*)()>(dlsym(handle_.get(), "getLibDesc"));
  if (getLibDesc == nullptr) {
    throw InputError("\"" + file.string() + "\" is no plugin library: it has no getLibDesc");
  }
  getLibDesc()->enumPluginDescs(this);
}

PluginLibrary::~PluginLibrary() {
  while (!descs_.empty()) descs_.back()->unregisterPlugin(this);
}

std::int32_t PluginLibrary::visitPluginDesc(QUtils::PluginDesc* desc) {
  desc->registerPlugin(this);
  return 1;
}

std::filesystem::path defaultPluginLibrary() {
  return std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() /
         "SamplerInfo.so";
}

}  // namespace preview
