#include <dlfcn.h>

#include <stdexcept>

#include "tests/support/library.h"

namespace test {

QUtils::PluginLibDesc& library() {
  static QUtils::PluginLibDesc* const lib = [] {
    void* module = dlopen(SAMPLERINFO_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) throw std::runtime_error(dlerror());
    using GetLibDesc = QUtils::PluginLibDesc* (*)();
    return reinterpret_cast<GetLibDesc>(dlsym(module, "getLibDesc"))();
  }();
  return *lib;
}

}  // namespace test
