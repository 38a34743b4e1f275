// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

#include "validate/check.h"
#include "validate/checks/refusal.h"
#include "validate/contract.h"

namespace validate {

namespace {

int debugOutput[2];
std::string& hugeName() {
  static std::string name(kRefusedSize - 1, 'x');
  return name;
}

}  // namespace

void prepareRefusal() {
  hugeName();
  if (pipe(debugOutput) != 0 || dup2(debugOutput[1], STDERR_FILENO) < 0) fail("no pipe");
}

Refusal refuseName(void* plugin) {
  Refusal refusal{};
  rlimit limit{};
  getrlimit(RLIMIT_AS, &limit);
  const rlimit none{1, limit.rlim_max};
  setrlimit(RLIMIT_AS, &none);
  void* volatile large =
      std::malloc(kRefusedSize);  // merges free blocks, as any large request does
  std::free(large);
  const struct mallinfo2 heap = mallinfo2();
  const char* message = nullptr;
  try {
    Plugin::setPluginName(plugin, hugeName().c_str());
  } catch (char* thrown) {
    message = thrown;
  }
  setrlimit(RLIMIT_AS, &limit);
  if (message == nullptr) return refusal;

  char text[512];
  const ssize_t length = read(debugOutput[0], text, sizeof text);
  refusal.debugText.assign(text, static_cast<std::size_t>(length));
  refusal.thrown = true;
  refusal.message = message;
  refusal.heap = {static_cast<std::uint32_t>(heap.arena + heap.hblkhd),
                  static_cast<std::uint32_t>(heap.fordblks),
                  static_cast<std::uint32_t>(heap.ordblks + heap.smblks + heap.hblks), -5};
  return refusal;
}

bool canDamageHeap() { return false; }  // the C library would end the process
std::string refuseNameInDamagedHeap(void* /*plugin*/) { return {}; }

}  // namespace validate
