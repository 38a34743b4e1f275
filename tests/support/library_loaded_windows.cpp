#include <windows.h>

#include <stdexcept>

#include "tests/support/library.h"

namespace test {

QUtils::PluginLibDesc& library() {
  static QUtils::PluginLibDesc* const lib = [] {
    HMODULE module = LoadLibraryA(SAMPLERINFO_MODULE);
    if (module == nullptr) throw std::runtime_error("cannot load " SAMPLERINFO_MODULE);
    using GetLibDesc = QUtils::PluginLibDesc* (*)();
    return reinterpret_cast<GetLibDesc>(
        reinterpret_cast<void*>(GetProcAddress(module, "getLibDesc")))();
  }();
  return *lib;
}

}  // namespace test
