// SPDX-License-Identifier: MIT
// The allocation operator of this library. It stays inside the module (nothing but `getLibDesc` is
// exported), so the process around it keeps its own. In a file of its own because a compiler that
// inlines one half of a new/delete pair warns that they do not match.
// The aligned and the non-throwing forms are not replaced: nothing here is over-aligned or asks
// twice.

#include <new>

#include "frame/allocator.h"

void* operator new(std::size_t size) { return samplerinfo::allocate(size); }
void* operator new[](std::size_t size) { return samplerinfo::allocate(size); }
void operator delete(void* block) noexcept { samplerinfo::release(block); }
void operator delete[](void* block) noexcept { samplerinfo::release(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { samplerinfo::release(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { samplerinfo::release(block); }
