// SPDX-License-Identifier: MIT
// The allocation operator of a DLL that brings none of its own. In a file of its own, so that the
// linker leaves it out of one that does.

#include <cstdlib>
#include <new>

void* operator new(std::size_t size) {
  if (void* block = std::malloc(size)) return block;
  std::abort();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { std::free(block); }
