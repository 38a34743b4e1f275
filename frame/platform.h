// SPDX-License-Identifier: MIT
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

/// What this library asks of the system it runs on; one source file per system answers it.
namespace samplerinfo::platform {

/// A block of `size` bytes from the heap, of its own even for 0; null on allocation failure.
/// Any thread.
void* heapBlock(std::size_t size) noexcept;
void freeHeapBlock(void* block) noexcept;  ///< null is ignored

/// The bytes of all heap entries, in use or free.
std::uint32_t heapTotal() noexcept;

/// What a walk over all heap entries finds.
struct HeapWalk {
  std::uint32_t free = 0;    ///< bytes of the entries not in use
  std::uint32_t blocks = 0;  ///< entries visited
  std::int32_t status = 0;   ///< why the walk ended, in the system's own numbers
};
HeapWalk walkHeap() noexcept;

bool heapIsIntact() noexcept;

/// Formats at most `size` characters and returns how many, or a negative number when the text has
/// more. A text of exactly `size` characters either comes whole, with no terminator, or counts as
/// one that has more (on Linux).
int formatText(char* buffer, std::size_t size, const char* format, std::va_list arguments) noexcept;

/// Writes a terminated text to where the system's debuggers look.
void debugOutput(const char* text) noexcept;

/// Mutual exclusion between threads; not recursive.
class Lock {
 public:
  Lock() noexcept;
  ~Lock();
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void lock();
  void unlock();

 private:
  // Holds the system's own lock, whose headers stay out of this one.
  alignas(void*) std::byte storage_[8 * sizeof(void*)];
};

}  // namespace samplerinfo::platform
