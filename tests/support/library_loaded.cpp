// SPDX-License-Identifier: MIT
#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

#include <stdexcept>

#include "tests/support/library.h"

namespace test {

QUtils::PluginLibDesc& library() {
#ifdef _WIN32
  static HMODULE const module = LoadLibraryA(SAMPLERINFO_MODULE);
  const auto symbol = reinterpret_cast<void*>(GetProcAddress(module, "getLibDesc"));
#else
  static void* const module = dlopen(SAMPLERINFO_MODULE, RTLD_NOW | RTLD_LOCAL);
  void* const symbol = dlsym(module, "getLibDesc");
#endif
  if (symbol == nullptr) throw std::runtime_error("cannot load " SAMPLERINFO_MODULE);
  return *reinterpret_cast<QUtils::PluginLibDesc* (*)()>(symbol)();
}

}  // namespace test
