// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <windows.h>

#include <csetjmp>
#include <cstdlib>
#include <cstring>

#include "validate/check.h"
#include "validate/contract.h"
#include "validate/subject.h"

namespace validate {

namespace {

// A debugger is told of debug output, and everybody of C++ exceptions, by system exceptions; a
// handler of them all looks on.
constexpr DWORD kCppException = 0xE06D7363, kDebugPrint = 0x40010006;

constexpr int kRefusedSize = 64 << 20;

char* hugeName;
char debugText[512];
std::jmp_buf afterThrow;
ULONG_PTR thrown[3];  // a mark, the address of the thrown object, its ThrowInfo
const char* thrownText;

LONG CALLBACK lookOn(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
  if (record->ExceptionCode == kDebugPrint) {
    const auto* text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
    std::strncat(debugText, text, sizeof debugText - 1 - std::strlen(debugText));
  }
  if (record->ExceptionCode != kCppException) return EXCEPTION_CONTINUE_SEARCH;
  std::memcpy(thrown, record->ExceptionInformation, sizeof thrown);
  thrownText = *reinterpret_cast<const char**>(thrown[1]);  // lies on the stack that is left now
  std::longjmp(afterThrow, 1);
}

// What was thrown, as Microsoft's runtime says it on 32-bit x86: attributes, two functions, and a
// list of types that catch it. Of each it has the properties and a descriptor, where the name comes
// after two pointers.
void expectThrownText() {
  void** const info = reinterpret_cast<void**>(thrown[2]);
  void** const types = words(info[3]);
  const auto nameOf = [types](int type) {
    return reinterpret_cast<const char*>(&words(words(types[type])[1])[2]);
  };
  expect("the mark of what is thrown", static_cast<std::uint32_t>(thrown[0]), 0x19930520U);
  expect("what is thrown is not const", info[0], nullptr);
  expect("types that catch it",
         static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(types[0])), 2U);
  expect("the first type that catches it", nameOf(1), ".PAD");   // char*
  expect("the second type that catches it", nameOf(2), ".PAX");  // void*
}

const char* messageOfRefusedName(void* plugin) {
  debugText[0] = '\0';
  if (setjmp(afterThrow) == 0) {
    Plugin::setPluginName(plugin, hugeName);
    return nullptr;
  }
  expectThrownText();
  return thrownText;
}

/// Leaves no room for another copy of a huge name.
void fillMemory() {
  constexpr SIZE_T kLargestHole = 16 << 20;
  hugeName = static_cast<char*>(
      VirtualAlloc(nullptr, kRefusedSize, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE));
  std::memset(hugeName, 'x', kRefusedSize - 1);
  while (VirtualAlloc(nullptr, kLargestHole, MEM_RESERVE, PAGE_NOACCESS) != nullptr) {
  }
  AddVectoredExceptionHandler(1, lookOn);
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

CHECK(samplerinfo, refusal,
      "without memory a message with the figures of the heap is thrown, and debug output written; "
      "then all goes on") {
  const Instance instance(descriptor("TexFloatOp"));
  fillMemory();
  expectRefusal(instance.object());
  expectRefusalInDamagedHeap(instance.object());
  expectRefusal(instance.object());
  Plugin::setPluginName(instance.object(), "small");
}

}  // namespace

}  // namespace validate
