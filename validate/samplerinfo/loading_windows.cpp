// SPDX-License-Identifier: MIT
// What SamplerInfo does where the module is loaded and unloaded by 32-bit Windows, and its
// arithmetic on the x87 there.
#include <windows.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cstring>

#include "validate/checks/throwing.h"
#include "validate/samplerinfo/records.h"
#include "validate/subject/subject.h"
#include "validate/system/process.h"

namespace validate {

namespace {

// ---- Loading ----

struct {
  std::int32_t calls, plugins;
} atDisabling;

/// Stands in for the system's function. The host's library may call it too.
BOOL WINAPI disableThreadLibraryCalls(HMODULE module) {
  auto* const getLibDesc = reinterpret_cast<void* (*)()>(symbolOf(module, "getLibDesc"));
  if (getLibDesc == nullptr) return TRUE;
  ++atDisabling.calls;
  void* const library = getLibDesc();
  if (words(library)[0] != nullptr) {
    atDisabling.plugins = PluginLibDesc::enumPluginDescs(library, nullptr);
  }
  return TRUE;
}

/// Every call of a function goes to another from now on.
void divert(void* function, void* other) {
  unsigned char jump[5] = {0xE9};
  const std::int32_t distance =
      static_cast<char*>(other) - (static_cast<char*>(function) + sizeof jump);
  std::memcpy(&jump[1], &distance, sizeof distance);
  DWORD protection;
  VirtualProtect(function, sizeof jump, PAGE_EXECUTE_READWRITE, &protection);
  std::memcpy(function, jump, sizeof jump);
}

CHECK(samplerinfo, thread_notifications,
      "loading makes the descriptors, then switches off the notifications of threads, once") {
  divert(symbolOf(GetModuleHandleA("kernel32"), "DisableThreadLibraryCalls"),
         reinterpret_cast<void*>(&disableThreadLibraryCalls));
  const std::int32_t plugins = PluginLibDesc::enumPluginDescs(library(), nullptr);
  expect("calls of DisableThreadLibraryCalls", atDisabling.calls, 1);
  expect("descriptors at that time", atDisabling.plugins, plugins);
}

CHECK(samplerinfo, throwing_library,
      "a host's library that throws in newPlugin has its exception passed on; nothing is lost") {
  const std::vector<void*>& descs = descriptors();
  constexpr char kName[] =
      "?newParameterList@QuorParameterListDesc@QUtils@@QAEPAVQuorParameterList@2@XZ";
  divert(symbolOf(GetModuleHandleA("quor.dll"), kName), reinterpret_cast<void*>(&throwHostFailure));
  for (void* desc : descs) {
    const std::string asked = nameOf(desc) + ".newPlugin: ";
    const std::size_t before = heapInUse();
    const bool thrown = throws([desc] { PluginDesc::newPlugin(desc, nullptr); });
    expect(asked + "the exception comes back", thrown, true);
    expect(asked + "the heap is as before", heapInUse() == before, true);
  }
}

std::vector<void*> destroyed;
void METHOD noteDestroyed(void* description) { destroyed.push_back(description); }

CHECK(samplerinfo, unloading,
      "unloading destroys the descriptors from the newest to the oldest, as they are enumerated") {
  std::vector<void*> expected;
  {
    const Loaded module;
    for (void* desc : enumerate(module.library()).descs) {
      expected.push_back(words(desc)[kParametersOfDesc]);
    }
    divert(symbolOf(GetModuleHandleA("quor.dll"), "??1QuorParameterListDesc@QUtils@@QAE@XZ"),
           reinterpret_cast<void*>(&noteDestroyed));
  }
  expect("descriptions of parameters destroyed", text(destroyed.size()), text(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    expect("the description destroyed as number " + std::to_string(i + 1), destroyed[i],
           expected[i]);
  }
}

// ---- Arithmetic ----

CHECK(samplerinfo, x87,
      "every output answers as recorded with the x87 at 53 bits, and most at 24 bits, too") {
  _controlfp(_PC_53, _MCW_PC);
  const std::vector<std::string> lines = resultLines();
  expectRecorded(lines);
  _controlfp(_PC_24, _MCW_PC);
  const std::vector<std::string> inSingle = resultLines();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool ofRuntime = std::ranges::any_of(
        std::array{".power ", ".mode=5 ", ".sin ", ".cos "},
        [&](const char* name) { return lines[i].find(name) != std::string::npos; });
    if (!ofRuntime) expect("at 24 bits", inSingle[i], lines[i]);
  }
}

}  // namespace

}  // namespace validate
