// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdarg>
#include <string>
#include <thread>

#include "frame/platform.h"

namespace {

using namespace samplerinfo;

int formatText(char* buffer, std::size_t size, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const int length = platform::formatText(buffer, size, format, arguments);
  va_end(arguments);
  return length;
}

TEST(PlatformWindows, TextThatFillsTheBufferHasNoTerminator) {
  const struct {
    std::size_t size;
    int length;
    std::string buffer;
  } cases[] = {
      {6, 4, std::string("four\0#", 6)},
      {5, 4, std::string("four\0#", 6)},
      {4, 4, "four##"},
      {3, -1, "fou###"},
  };
  for (const auto& [size, length, expected] : cases) {
    char buffer[] = "######";
    EXPECT_EQ(formatText(buffer, size, "%s", "four"), length) << size;
    EXPECT_EQ(std::string(buffer, 6), expected) << size;
  }
}

TEST(PlatformWindows, HeapIsWalked) {
  const auto inUse = [] { return platform::heapTotal() - platform::walkHeap().free; };
  constexpr std::size_t kSize = 100'000;
  const std::uint32_t before = inUse();
  void* const block = platform::heapBlock(kSize);
  EXPECT_GE(inUse(), before + kSize);
  EXPECT_EQ(platform::walkHeap().status, _HEAPEND);
  EXPECT_GT(platform::walkHeap().blocks, 1U);
  EXPECT_TRUE(platform::heapIsIntact());
  platform::freeHeapBlock(block);
  EXPECT_LT(inUse(), before + kSize);
}

TEST(PlatformWindows, LockExcludesOtherThreads) {
  platform::Lock lock;
  int count = 0;
  const auto countUp = [&] {
    for (int i = 0; i < 100'000; ++i) {
      lock.lock();
      ++count;
      lock.unlock();
    }
  };
  std::thread other(countUp);
  countUp();
  other.join();
  EXPECT_EQ(count, 200'000);
}

}  // namespace
