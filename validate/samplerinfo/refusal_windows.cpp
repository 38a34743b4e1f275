// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "validate/checks/throwing.h"
#include "validate/subject/subject.h"
#include "validate/system/process.h"

namespace validate {

namespace {

constexpr int kRefusedSize = 64 << 20;

char* hugeName;
char debugText[512];

// A debugger is told of debug output by an exception of the system.
LONG CALLBACK readDebugText(EXCEPTION_POINTERS* pointers) {
  constexpr DWORD kDebugPrint = 0x40010006;
  const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
  if (record->ExceptionCode == kDebugPrint) {
    const auto* text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
    std::strncat(debugText, text, sizeof debugText - 1 - std::strlen(debugText));
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

const char* messageOfRefusedName(void* plugin) {
  debugText[0] = '\0';
  return thrownText([plugin] { Plugin::setPluginName(plugin, hugeName); });
}

/// Leaves no room for another copy of a huge name.
void fillMemory() {
  constexpr SIZE_T kLargestHole = 16 << 20;
  hugeName = static_cast<char*>(
      VirtualAlloc(nullptr, kRefusedSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  std::memset(hugeName, 'x', kRefusedSize - 1);
  while (VirtualAlloc(nullptr, kLargestHole, MEM_RESERVE, PAGE_NOACCESS) != nullptr) {
  }
  AddVectoredExceptionHandler(1, readDebugText);
}

void expectRefusal(void* plugin) {
  const char* const message = messageOfRefusedName(plugin);
  unsigned total = 0, free = 0, blocks = 0;
  int status = 0;
  _HEAPINFO entry{};
  while ((status = _heapwalk(&entry)) == _HEAPOK) {
    ++blocks;
    total += entry._size;
    if (entry._useflag != _USEDENTRY) free += entry._size;
  }
  if (message == nullptr) fail("setPluginName with no memory: got no exception");
  expect("debug output", std::string(debugText),
         formatted("[operator new] failed (size is %d)\n"
                   "[getFreeHeapMemory] Getting free heap memory.\n"
                   "[getFreeHeapMemory] heapstatus=%d\n"
                   "[getFreeHeapMemory] Number of blocks visited: %u\n",
                   kRefusedSize, status, blocks));
  expect("message", std::string(message),
         formatted("Memory allocation failure; %d bytes requested; %u bytes already in heap; %u "
                   "bytes free heap space.",
                   kRefusedSize, total, free));
  expect("how the walk over the heap ended", std::int32_t{status}, -5);
  expect("the heap has blocks, some of them in use", blocks > 0 && total > free, true);
}

// The compiler takes nobody but this function to be interested in the block, and knows its size:
// hence `volatile`, twice.
void expectRefusalInDamagedHeap(void* plugin) {
  constexpr int kHeader = 8;
  volatile char* volatile block = static_cast<char*>(std::malloc(64));
  char intact[kHeader];
  for (int i = 0; i < kHeader; ++i) {
    intact[i] = block[i - kHeader];
    block[i - kHeader] = 0x55;
  }
  const char* const message = messageOfRefusedName(plugin);
  for (int i = 0; i < kHeader; ++i) block[i - kHeader] = intact[i];
  std::free(const_cast<char*>(block));
  expect("the heap afterwards", std::int32_t{_heapchk()}, _HEAPOK);
  expect("message while the heap is damaged", message, " Heap is reported damaged.\n");
}

bool refusing;
void* mallocUnlessRefused(std::size_t size) { return refusing ? nullptr : std::malloc(size); }

/// Has the module call that for `malloc`.
void takeMalloc() {
  MEMORY_BASIC_INFORMATION module;
  VirtualQuery(library(), &module, sizeof module);
  char* const base = static_cast<char*>(module.AllocationBase);
  const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const auto& table = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
  void** const first = reinterpret_cast<void**>(base + table.VirtualAddress);
  void** const last = first + table.Size / sizeof *first;
  void** const found = std::find(first, last, symbolOf(GetModuleHandleA("msvcrt"), "malloc"));
  if (found == last) skip("the module does not allocate in msvcrt.dll");
  DWORD protection;
  VirtualProtect(found, sizeof *found, PAGE_READWRITE, &protection);
  *found = reinterpret_cast<void*>(&mallocUnlessRefused);
}

void expectRefusedPlugin(void* desc) {
  const std::string asked = nameOf(desc) + ".newPlugin with no memory: ";
  const std::size_t before = heapInUse();
  refusing = true;
  const bool thrown = thrownText([desc] { PluginDesc::newPlugin(desc, nullptr); }) != nullptr;
  refusing = false;
  expect(asked + "throws a text", thrown, true);
  expect(asked + "the heap is as before", heapInUse() == before, true);
}

CHECK(samplerinfo, refusal,
      "without memory a message with the figures of the heap is thrown, and debug output written; "
      "nothing is lost, and all goes on") {
  takeMalloc();
  for (void* desc : descriptors()) expectRefusedPlugin(desc);
  const Instance instance(descriptor("TexFloatOp"));
  fillMemory();
  expectRefusal(instance.object());
  expectRefusalInDamagedHeap(instance.object());
  expectRefusal(instance.object());
  Plugin::setPluginName(instance.object(), "small");
}

}  // namespace

}  // namespace validate
