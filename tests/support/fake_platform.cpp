#include "tests/support/fake_platform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace test {

FakePlatform& fakePlatform() {
  static thread_local FakePlatform platform;
  return platform;
}

}  // namespace test

namespace samplerinfo::platform {
namespace {

// Not part of FakePlatform: its text allocates, and so does its creation, on the first use in a
// thread.
thread_local bool insideFake = false;

}  // namespace

void* heapBlock(std::size_t size) noexcept {
  if (!std::exchange(insideFake, true)) {
    test::FakePlatform& fake = test::fakePlatform();
    const bool refused = fake.grants == 0;
    if (!refused) {
      --fake.grants;
      ++fake.blocks;
    }
    insideFake = false;
    if (refused) return nullptr;
  }
  return std::malloc(size);
}

void freeHeapBlock(void* block) noexcept {
  if (block != nullptr && !insideFake) ++test::fakePlatform().freed;
  std::free(block);
}

std::uint32_t heapTotal() noexcept { return test::fakePlatform().total; }
HeapWalk walkHeap() noexcept { return test::fakePlatform().walk; }
bool heapIsIntact() noexcept { return test::fakePlatform().heapIntact; }

// As the oldest systems have it: no terminator for a text that fills the buffer.
int formatText(char* buffer, std::size_t size, const char* format,
               std::va_list arguments) noexcept {
  char text[1024];
  const int length = std::vsnprintf(text, sizeof(text), format, arguments);
  std::memcpy(buffer, text, std::min(size, static_cast<std::size_t>(length) + 1));
  return static_cast<std::size_t>(length) <= size ? length : -1;
}

void debugOutput(const char* text) noexcept {
  insideFake = true;
  test::fakePlatform().debugText += text;
  insideFake = false;
}

// Counts instead of excluding: the tests that use it have one thread, which would wait for itself
// for ever if it took a lock twice.
Lock::Lock() noexcept { storage_[0] = std::byte{0}; }
Lock::~Lock() {
  if (storage_[0] != std::byte{0}) std::abort();
}
void Lock::lock() {
  if (storage_[0] != std::byte{0}) std::abort();
  storage_[0] = std::byte{1};
  ++test::fakePlatform().locks;
  ++test::fakePlatform().held;
}
void Lock::unlock() {
  storage_[0] = std::byte{0};
  --test::fakePlatform().held;
}

}  // namespace samplerinfo::platform
