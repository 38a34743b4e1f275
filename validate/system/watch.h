// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// What is asked of the system while it is watched: memory and locks. For processes with one
/// thread.
namespace validate {

/// Why nothing can be watched here; null where it can.
const char* whyNotWatched();

enum class Asker { Nobody, Module, Other };
struct Watched {
  int allocations = 0, locks = 0;
  int left = 0;     ///< blocks allocated meanwhile and not given back
  int printed = 0;  ///< bytes, once `takeStreams` has been called
  Asker refused = Asker::Nobody;
};

/// Watches until `stopWatching`. Refuses the n-th request for memory, from 1 on.
void watch(int refuse = 0);
Watched stopWatching();
Asker refusedSoFar();

struct Block {
  const unsigned char* first = nullptr;
  std::size_t size = 0;

  bool holds(const void* address) const { return address >= first && address < first + size; }
};
/// The blocks allocated when last watched and not given back meanwhile.
std::vector<Block> blocksLeft();
/// The module's own variables: where it can write among what holds this address.
std::vector<Block> variablesAround(const void* address);

/// Takes the standard streams away, once; the report goes on to where they went.
void takeStreams();
int printedSoFar();  ///< bytes, since then

/// The next write to one of these blocks is told, with its address. An allocation ends the watch,
/// as the heap lies between them.
void guard(const std::vector<Block>& all, std::function<void(const unsigned char*)> whenWritten);
void endGuard();

/// Loads the module in a process of its own, where the n-th request for memory that is not the
/// loader's own is refused.
struct RefusedLoad {
  Asker refused = Asker::Nobody;
  std::string ending;  ///< as of an `Ending`; empty if it went on
  std::string debugOutput;
};
RefusedLoad loadRefusing(int refuse);

}  // namespace validate
