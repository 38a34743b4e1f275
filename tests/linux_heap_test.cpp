#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/contract/refusal.h"
#include "tests/support/library.h"

namespace {

using namespace test;

/// Lets the process have so many bytes of address space more than now.
class AddressSpaceLimit {
 public:
  explicit AddressSpaceLimit(rlim_t further) {
    getrlimit(RLIMIT_AS, &before_);
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit limit{pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + further,
                       before_.rlim_max};
    setrlimit(RLIMIT_AS, &limit);
  }
  ~AddressSpaceLimit() { setrlimit(RLIMIT_AS, &before_); }
  AddressSpaceLimit(const AddressSpaceLimit&) = delete;
  AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;

 private:
  rlimit before_{};
};

TEST(LinuxHeap, ARefusalIsDiagnosedWithTheFiguresOfTheHeap) {
  constexpr std::size_t kHuge = std::size_t{64} << 20;
  const std::string name(kHuge, 'x');
  Instance instance("TexFloatOp");
  std::string message = "nothing was thrown";
  testing::internal::CaptureStderr();
  const struct mallinfo2 heap = [&] {
    const AddressSpaceLimit limit(kHuge / 4);
    void* volatile refused = std::malloc(kHuge);  // merges free blocks, as any large request does
    EXPECT_EQ(refused, nullptr);
    const struct mallinfo2 before = mallinfo2();
    try {
      static_cast<QUtils::Plugin&>(instance.object()).setPluginName(name.c_str());
    } catch (char* text) {
      message = text;
    }
    return before;
  }();
  const Refusal expected =
      expectedRefusal(kHuge + 1, static_cast<std::uint32_t>(heap.arena + heap.hblkhd),
                      static_cast<std::uint32_t>(heap.fordblks),
                      static_cast<std::uint32_t>(heap.ordblks + heap.smblks + heap.hblks), -5);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), expected.debug);
  EXPECT_EQ(message, expected.message);
}

}  // namespace
