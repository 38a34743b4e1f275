// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

/// Memory of this library. The replaced `operator new` (allocation_operator.cpp) forwards to
/// `allocate`, so every object of the library lives in the platform's heap.
namespace samplerinfo {

/// At least `size` bytes; never null. An allocation failure writes four lines about the heap to the
/// debug output and throws a `char*` to a message, which stays readable until the 256th further
/// failure.
void* allocate(std::size_t size);

/// Gives back a block from `allocate`; null is ignored.
void release(void* block) noexcept;

/// Formats a text of at most 511 characters to the system's debug output.
[[gnu::format(printf, 1, 2)]] void debugPrint(const char* format, ...) noexcept;

/// Formats into a buffer of `size` bytes, which is left terminated. Returns the length of the text,
/// -1 when it did not fit, 0 for a `size` of 0 or less, which leaves the buffer as it was.
[[gnu::format(printf, 3, 4)]] int formatBounded(char* buffer, int size, const char* format,
                                                ...) noexcept;

}  // namespace samplerinfo
