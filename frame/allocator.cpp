// SPDX-License-Identifier: MIT
#include "frame/allocator.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>

#include "frame/platform.h"

namespace samplerinfo {
namespace {

constexpr int kTextSize = 512;

int formatBoundedV(char* buffer, int size, const char* format, std::va_list arguments) noexcept {
  if (size <= 0) return 0;
  char& last = buffer[size - 1];
  last = '\0';
  const int length =
      platform::formatText(buffer, static_cast<std::size_t>(size), format, arguments);
  const bool lost = length == size && last != '\0';  // a character gives way to the terminator
  last = '\0';
  return length < 0 || length > size || lost ? -1 : length;
}

/// Storage for the message of one allocation failure. Nothing may be allocated here, so the
/// messages of failures on different threads take turns in a ring.
char* nextMessage() noexcept {
  constexpr std::uint32_t kMessages = 256;
  static char messages[kMessages][kTextSize];
  static std::atomic<std::uint32_t> taken{0};
  return messages[taken.fetch_add(1, std::memory_order_relaxed) % kMessages];
}

[[noreturn]] void throwAllocationFailure(std::size_t size) {
  // 32 bits, as the texts have them: signed in the first line, unsigned in the message.
  const auto requested = static_cast<std::uint32_t>(size);
  debugPrint("[operator new] failed (size is %i)\n", static_cast<std::int32_t>(requested));
  const std::uint32_t total = platform::heapTotal();
  debugPrint("[getFreeHeapMemory] Getting free heap memory.\n");
  const platform::HeapWalk walk = platform::walkHeap();
  debugPrint("[getFreeHeapMemory] heapstatus=%i\n", walk.status);
  debugPrint("[getFreeHeapMemory] Number of blocks visited: %u\n", walk.blocks);

  char* message = nextMessage();
  formatBounded(message, kTextSize,
                "Memory allocation failure; %u bytes requested; %u bytes already in heap; "
                "%u bytes free heap space.",
                requested, total, walk.free);
  // Kept: replaces the message instead of adding to it.
  if (!platform::heapIsIntact()) formatBounded(message, kTextSize, " Heap is reported damaged.\n");
  throw message;
}

}  // namespace

void* allocate(std::size_t size) {
  if (void* block = platform::heapBlock(size)) return block;
  throwAllocationFailure(size);
}

void release(void* block) noexcept { platform::freeHeapBlock(block); }

void debugPrint(const char* format, ...) noexcept {
  char text[kTextSize];
  std::va_list arguments;
  va_start(arguments, format);
  formatBoundedV(text, kTextSize, format, arguments);
  va_end(arguments);
  platform::debugOutput(text);
}

int formatBounded(char* buffer, int size, const char* format, ...) noexcept {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = formatBoundedV(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}

}  // namespace samplerinfo
