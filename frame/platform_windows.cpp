// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <new>

#include "frame/platform.h"

namespace samplerinfo::platform {

void* heapBlock(std::size_t size) noexcept { return std::malloc(size); }

void freeHeapBlock(void* block) noexcept { std::free(block); }

std::uint32_t heapTotal() noexcept {
  std::uint32_t total = 0;
  _HEAPINFO entry{};  // a null entry starts a walk
  while (_heapwalk(&entry) == _HEAPOK) total += static_cast<std::uint32_t>(entry._size);
  return total;
}

HeapWalk walkHeap() noexcept {
  HeapWalk walk;
  _HEAPINFO entry{};
  while ((walk.status = _heapwalk(&entry)) == _HEAPOK) {
    ++walk.blocks;
    if (entry._useflag != _USEDENTRY) walk.free += static_cast<std::uint32_t>(entry._size);
  }
  return walk;
}

bool heapIsIntact() noexcept { return _heapchk() == _HEAPOK; }

// The oldest of the formatting functions: it is in every version of the C runtime.
int formatText(char* buffer, std::size_t size, const char* format,
               std::va_list arguments) noexcept {
  return _vsnprintf(buffer, size, format, arguments);
}

void debugOutput(const char* text) noexcept { OutputDebugStringA(text); }

static_assert(sizeof(CRITICAL_SECTION) <= sizeof(Lock) &&
              alignof(CRITICAL_SECTION) <= alignof(Lock));

namespace {
CRITICAL_SECTION* sectionIn(std::byte* storage) {
  return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}
}  // namespace

Lock::Lock() noexcept { InitializeCriticalSection(new (storage_) CRITICAL_SECTION); }
Lock::~Lock() { DeleteCriticalSection(sectionIn(storage_)); }
void Lock::lock() { EnterCriticalSection(sectionIn(storage_)); }
void Lock::unlock() { LeaveCriticalSection(sectionIn(storage_)); }

}  // namespace samplerinfo::platform
