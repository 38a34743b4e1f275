// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/allocator.h"
#include "frame/platform.h"
#include "standin/introspection.h"
#include "tests/support/library.h"
#include "tests/support/one_sample.h"

extern "C" QUtils::PluginLibDesc* getLibDesc();

// clang declares these only on demand.
void operator delete(void* block, std::size_t size) noexcept;
void operator delete[](void* block, std::size_t size) noexcept;

namespace test {
QUtils::PluginLibDesc& library() { return *getLibDesc(); }
}  // namespace test

namespace {

constexpr int kUnlimited = -1;

/// Hears what the host's library is told while descriptors are made, and notices which of them
/// takes memory, to enter the registry, before it is described.
struct DescriptionListener final : standin::CallListener {
  int descriptions = 0, requestsBefore = 0;
  bool isEmpty = false;
  void called(const char* operation, const char* /*name*/) override {
    isEmpty = std::strcmp(operation, "QuorParameterListDesc") == 0;
    descriptions += isEmpty ? 1 : 0;
  }
};
constinit DescriptionListener descriptionListener;

/// A system that refuses memory on demand and counts what is asked of it. Nothing here allocates.
struct FakePlatform {
  int grants = kUnlimited;  ///< how many blocks the heap still gives
  bool heapIntact = true;
  std::uint32_t total = 0;
  samplerinfo::platform::HeapWalk walk;
  char debugText[1024] = "";  ///< all that was written to the debug output, and looks at the heap
  int blocks = 0, freed = 0;
  int locks = 0, held = 0;
} fake;

}  // namespace

namespace samplerinfo::platform {

void* heapBlock(std::size_t size) noexcept {
  standin::listenToCalls(&descriptionListener);
  descriptionListener.requestsBefore += descriptionListener.isEmpty ? 1 : 0;
  if (fake.grants == 0) return nullptr;
  if (fake.grants != kUnlimited) --fake.grants;
  ++fake.blocks;
  return std::malloc(size);
}
void freeHeapBlock(void* block) noexcept {
  if (block != nullptr) ++fake.freed;
  std::free(block);
}

void debugOutput(const char* text) noexcept {
  std::strncat(fake.debugText, text, sizeof fake.debugText - std::strlen(fake.debugText) - 1);
}
std::uint32_t heapTotal() noexcept {
  debugOutput("(total)\n");
  return fake.total;
}
HeapWalk walkHeap() noexcept {
  debugOutput("(walk)\n");
  return fake.walk;
}
bool heapIsIntact() noexcept { return fake.heapIntact; }

// As the oldest systems have it: no terminator for a text that fills the buffer.
int formatText(char* buffer, std::size_t size, const char* format,
               std::va_list arguments) noexcept {
  char text[1024];
  const int length = std::vsnprintf(text, sizeof(text), format, arguments);
  std::memcpy(buffer, text, std::min(size, static_cast<std::size_t>(length) + 1));
  return static_cast<std::size_t>(length) <= size ? length : -1;
}

// Counts instead of excluding: the one thread would wait for itself for ever if it took a lock
// twice.
Lock::Lock() noexcept { storage_[0] = std::byte{0}; }
Lock::~Lock() {
  if (storage_[0] != std::byte{0}) std::abort();
}
void Lock::lock() {
  if (std::exchange(storage_[0], std::byte{1}) != std::byte{0}) std::abort();
  ++fake.locks;
  ++fake.held;
}
void Lock::unlock() {
  storage_[0] = std::byte{0};
  --fake.held;
}

}  // namespace samplerinfo::platform

namespace {

using namespace test;
using namespace QUtils;

/// What `call` throws after so many granted blocks; null if nothing.
template <class Call>
const char* thrownAfter(int grants, const Call& call) {
  fake.grants = grants;
  const char* message = nullptr;
  try {
    call();
  } catch (char* text) {
    message = text;
  }
  fake.grants = kUnlimited;
  return message;
}

class AllocationTest : public ::testing::Test {
 protected:
  void SetUp() override { fake = {}; }
};

TEST_F(AllocationTest, ARefusedRequestDiagnosesTheHeapAndThrowsItsMessage) {
  fake.total = 4000000000U;
  fake.walk = {123456, 789, -5};
  const auto request = [] { samplerinfo::release(samplerinfo::allocate(3000000000U)); };
  EXPECT_STREQ(thrownAfter(0, request),
               "Memory allocation failure; 3000000000 bytes requested; 4000000000 bytes already in "
               "heap; 123456 bytes free heap space.");
  EXPECT_STREQ(fake.debugText,
               "[operator new] failed (size is -1294967296)\n"
               "(total)\n"
               "[getFreeHeapMemory] Getting free heap memory.\n"
               "(walk)\n"
               "[getFreeHeapMemory] heapstatus=-5\n"
               "[getFreeHeapMemory] Number of blocks visited: 789\n");
  fake.heapIntact = false;
  EXPECT_STREQ(thrownAfter(0, request), " Heap is reported damaged.\n") << "in its place";
}

TEST_F(AllocationTest, EveryFormOfNewAndDeleteUsesTheOneAllocator) {
  const char* one = thrownAfter(0, [] { ::operator delete(::operator new(8)); });
  const char* array = thrownAfter(0, [] { ::operator delete[](::operator new[](0)); });
  EXPECT_NE(std::strstr(one, " 8 bytes requested"), nullptr) << "overwritten by the next message";
  EXPECT_NE(std::strstr(array, " 0 bytes requested"), nullptr);

  fake = {};
  ::operator delete(::operator new(8));
  ::operator delete[](::operator new[](8));
  ::operator delete (::operator new(8), std::size_t{8});
  ::operator delete[](::operator new[](8), std::size_t{8});
  samplerinfo::release(samplerinfo::allocate(0));
  samplerinfo::release(nullptr);
  EXPECT_EQ(fake.blocks, 5);
  EXPECT_EQ(fake.freed, 5);
  EXPECT_STREQ(fake.debugText, "");
}

TEST_F(AllocationTest, ADescriptorIsDescribedBeforeItEntersTheRegistry) {
  EXPECT_GT(descriptionListener.descriptions, 3);
  EXPECT_EQ(descriptionListener.requestsBefore, 0);
}

TEST_F(AllocationTest, FormatBoundedKeepsItsReturnRules) {
  struct Row {
    const char* text;
    int size;
    int result;
    const char* left;
  };
  const Row rows[] = {
      {"abc", 0, 0, "........"},       {"abc", -4, 0, "........"}, {"", 8, 0, ""},
      {"1234567", 8, 7, "1234567"},    // just fits
      {"12345678", 8, -1, "1234567"},  // fills the buffer, so its last character is lost
      {"123456789", 8, -1, "1234567"}, {"x", 1, -1, ""},
  };
  for (const Row& row : rows) {
    char buffer[] = "........";
    EXPECT_EQ(samplerinfo::formatBounded(buffer, row.size, "%s", row.text), row.result)
        << row.text << " in " << row.size;
    EXPECT_STREQ(buffer, row.left) << row.text << " in " << row.size;
  }
  // The terminator takes nothing away from a text that ends in one itself.
  char buffer[] = "........";
  EXPECT_EQ(samplerinfo::formatBounded(buffer, 8, "%s%c", "1234567", '\0'), 8);
  EXPECT_STREQ(buffer, "1234567");
}

TEST_F(AllocationTest, DebugPrintCutsAtFiveHundredAndElevenCharacters) {
  samplerinfo::debugPrint("%s", std::string(511, 'x').c_str());
  samplerinfo::debugPrint("%s", std::string(600, 'y').c_str());
  EXPECT_EQ(fake.debugText, std::string(511, 'x') + std::string(511, 'y'));
}

TEST_F(AllocationTest, MessagesStayReadableThroughManyMoreRefusals) {
  const char* messages[256];
  std::size_t size = 0;
  for (const char*& message : messages) {
    ++size;
    fake.debugText[0] = '\0';
    message = thrownAfter(0, [size] { samplerinfo::release(samplerinfo::allocate(size)); });
  }
  for (size = 1; size <= std::size(messages); ++size) {
    const std::string expected = "; " + std::to_string(size) + " bytes requested;";
    ASSERT_NE(std::string(messages[size - 1]).find(expected), std::string::npos);
  }
}

/// Counts its lines and how many of them were written under a lock.
struct CountingLog final : RenderLog {
  int lines = 0, underLock = 0;
  void print(const char* /*format*/, ...) override {
    ++lines;
    underLock += fake.held;
  }
};

TEST_F(AllocationTest, TheClippingPlanesAreLoggedUnderTheirLockWhichIsTakenOnce) {
  OneSample sample(true);
  CountingLog log;
  sample.services.log = &log;
  Instance sampler("TexSampler");
  sampler.plugin().renderBegin(nullptr);
  sampler.frameBegin();
  const auto& plane = static_cast<TextureFloatInterface&>(*sampler.texture("cameraNearClipPlane"));
  for (int i = 0; i < 2; ++i) plane.getFloat(sample.sc);
  EXPECT_EQ(fake.locks, 1);
  EXPECT_EQ(fake.held, 0);
  EXPECT_EQ(log.lines, 1);
  EXPECT_EQ(log.underLock, 1);
}

}  // namespace
