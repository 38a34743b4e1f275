// SPDX-License-Identifier: MIT
#include "validate/harness/check.h"
#include "validate/system/watch.h"

// Where nothing can be watched.
namespace validate {

const char* whyNotWatched() {
  return kSanitized ? "a sanitizer has a heap and locks of its own"
                    : "memory and locks are watched on Linux alone";
}

void watch(int /*refuse*/) {}
Watched stopWatching() { return {}; }
Asker refusedSoFar() { return Asker::Nobody; }
std::vector<Block> blocksLeft() { return {}; }
std::vector<Block> variablesAround(const void* /*address*/) { return {}; }
void takeStreams() {}
int printedSoFar() { return 0; }
void guard(const std::vector<Block>& /*all*/,
           std::function<void(const unsigned char*)> /*whenWritten*/) {}
void endGuard() {}
RefusedLoad loadRefusing(int /*refuse*/) { return {}; }

}  // namespace validate
