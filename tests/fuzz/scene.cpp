// SPDX-License-Identifier: MIT
// Any bytes as a scene file: read, its nodes made and connected, and told that a frame begins.

#include <sys/mman.h>
#include <unistd.h>

#include "preview/diagnostics/errors.h"
#include "preview/scene/network.h"
#include "preview/scene/scene_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace preview;
  static const PluginLibrary library({SAMPLERINFO_MODULE}, false, nullptr);
  static const int file = memfd_create("scene", 0);
  static const std::string path = "/proc/self/fd/" + std::to_string(file);
  if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) abort();
  Diagnostics diagnostics;
  diagnostics.attempt([&] {
    const Scene scene = readScene(path, {}, diagnostics);
    const Network network(scene.nodes, library, diagnostics);
    if (!diagnostics.errors().empty()) return;
    network.renderBegin();
    network.frameBegin();
  });
  for (const SceneError& error : diagnostics.errors()) diagnostics.positionOf(error);
  return 0;
}
