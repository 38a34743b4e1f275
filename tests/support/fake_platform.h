#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include "frame/platform.h"

/// A system for the allocator that does what a test wants.
namespace test {

struct FakePlatform {
  /// How many blocks the heap still gives on this thread before it refuses.
  std::uint64_t grants = std::numeric_limits<std::uint64_t>::max();
  bool heapIntact = true;
  std::uint32_t total = 0;
  samplerinfo::platform::HeapWalk walk;
  std::string debugText;     ///< all that was written to the debug output
  std::uint64_t blocks = 0;  ///< blocks given so far
  std::uint64_t freed = 0;   ///< blocks taken back so far
  std::uint64_t locks = 0;   ///< locks taken so far
  std::uint64_t held = 0;    ///< locks held now
};

/// The calling thread's own.
FakePlatform& fakePlatform();

}  // namespace test
