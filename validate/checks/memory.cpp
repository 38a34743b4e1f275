// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <new>

#include "validate/checks/added_interface.h"
#include "validate/network.h"
#include "validate/watch.h"

namespace validate {

namespace {

void leaveOutUnwatched() {
  if (whyNotWatched() != nullptr) leaveOut(whyNotWatched());
}

// ---- Evaluation ----

void expectNone(const char* ofWhat, int Watched::*count) {
  leaveOutUnwatched();
  for (int i = 0; i < 40; ++i, ++trial.seed) {
    const Network network({.descs = descriptors(), .seed = trial.seed});
    network.answers();
    for (int n = 0; n < network.questions(); ++n) {
      watch();
      network.answer(n);
      const Watched watched = stopWatching();
      if (watched.*count != 0) expect(network.question(n) + ": " + ofWhat, watched.*count, 0);
    }
  }
}

CHECK("memory.allocations", "after the first sample of a frame no question allocates memory") {
  expectNone("allocations", &Watched::allocations);
}

CHECK("memory.locks", "after the first sample of a frame no question takes a lock") {
  expectNone("locks", &Watched::locks);
}

/// A block of memory and what was in it.
struct Copy {
  std::string owner;
  Block block;
  std::vector<unsigned char> bytes;

  Copy(std::string ownerName, const Block& original)
      : owner(std::move(ownerName)),
        block(original),
        bytes(original.first, original.first + original.size) {}
};

CHECK(
    "memory.unchanged",
    "after the first sample of a frame nothing is written into plugins or the module's variables") {
  leaveOutUnwatched();
  for (int i = 0; i < 20; ++i, ++trial.seed) {
    const std::vector<void*> descs = descriptors();
    watch();
    const Network network({.descs = descs, .seed = trial.seed});
    stopWatching();
    network.answers();
    std::vector<Copy> copies;
    for (const Instance& plugin : network.plugins()) {
      const Block block = blockOf(plugin.object());
      if (block.size == 0) leaveOut(plugin.name() + " is not on the heap");
      copies.emplace_back(plugin.name(), block);
    }
    for (const Block& variables : variablesAround(library()))
      copies.emplace_back("the module's variables", variables);
    for (int n = 0; n < network.questions(); ++n) {
      network.answer(n);
      for (const Copy& copy : copies) {
        if (std::memcmp(copy.block.first, copy.bytes.data(), copy.bytes.size()) == 0) continue;
        const auto written =
            std::mismatch(copy.bytes.begin(), copy.bytes.end(), copy.block.first).first;
        failExpectation(network.question(n) + ": " + copy.owner,
                        "byte " + std::to_string(written - copy.bytes.begin()) + " written",
                        "nothing written");
      }
    }
  }
}

// ---- Refusal ----

void ignore(void* /*host*/, void* /*desc*/) {}
const Table hostTable{
    QuorPluginHost::registerPluginDesc.entry<ignore>(),
    QuorPluginHost::unregisterPluginDesc.entry<ignore>(),
};

/// A call and what is wrong with it; null if nothing is.
struct Fault {
  const char *call = nullptr, *came = nullptr;
};

enum class Outcome { DONE, REFUSED, WRONG };
/// A refused request of the module's own is thrown as a text, one of the libraries that it uses as
/// they like.
template <class Call>
Outcome outcomeOf(const Call& call) {
  try {
    return call() ? Outcome::DONE : Outcome::REFUSED;
  } catch (char*) {
    return Outcome::REFUSED;
  } catch (const std::bad_alloc&) {
    return refusedSoFar() == Asker::OTHER ? Outcome::REFUSED : Outcome::WRONG;
  } catch (...) {
    return Outcome::WRONG;
  }
}

/// Tries a call, and once more if a request is refused to it. Allocates nothing, as it is watched.
template <class Call>
void attempt(Fault& fault, const char* name, const Call& call) {
  if (fault.call != nullptr) return;
  Outcome outcome = outcomeOf(call);
  if (outcome == Outcome::REFUSED && refusedSoFar() != Asker::NOBODY) outcome = outcomeOf(call);
  if (outcome == Outcome::WRONG) fault = {name, "an exception that is no char*"};
  if (outcome == Outcome::REFUSED) fault = {name, "a refusal without a refused request"};
}

/// The life of a plugin.
Fault live(void* desc, AddedInterface& added) {
  void* const* table = hostTable.slots;
  Fault fault;
  void* plugin = nullptr;
  const auto setName = [&](const char* name) {
    Plugin::setPluginName(plugin, name);
    return true;
  };
  const auto add = [&](std::int32_t releaseWithOwner) {
    return PluginBase::addInterface(plugin, &added, releaseWithOwner) != 0;
  };
  attempt(fault, "registerPlugin", [&] {
    PluginDesc::registerPlugin(desc, &table);
    return true;
  });
  attempt(fault, "newPlugin",
          [&] { return (plugin = PluginDesc::newPlugin(desc, nullptr)) != nullptr; });
  attempt(fault, "setPluginName", [&] { return setName("a name"); });
  attempt(fault, "setPluginName again", [&] { return setName("another name, a longer one"); });
  attempt(fault, "addInterface", [&] { return add(1); });
  attempt(fault, "addInterface again", [&] { return add(0); });
  PluginDesc::deletePlugin(desc, plugin);
  PluginDesc::unregisterPlugin(desc, &table);
  return fault;
}

CHECK("memory.refused",
      "a refused request for memory is thrown as a text, costs nothing, and the next try works") {
  leaveOutUnwatched();
  silenceDebugOutput();
  int refusals = 0;
  for (void* desc : descriptors()) {
    const std::string name = nameOf(desc);
    AddedInterface added(1);
    live(desc, added);
    for (int request = 1;; ++request) {
      added.releases = 0;
      watch(request);
      const Fault fault = live(desc, added);
      const Watched watched = stopWatching();
      const std::string asked = name + ", request " + text(request) + " of its life refused";
      if (fault.call != nullptr)
        failExpectation(asked + ": " + fault.call, fault.came, "success, or char* once");
      expect(asked + ": blocks left", watched.left, 0);
      expect(asked + ": releases", added.releases, 1);
      if (watched.refused == Asker::NOBODY) break;
      ++refusals;
    }
  }
  note(text(refusals) + " requests refused");
}

CHECK("memory.refused_at_load",
      "a request that is refused while the module is loaded ends the process with debug output, or "
      "nothing") {
  leaveOutUnwatched();
  int refusals = 0;
  for (int request = 1;; ++request) {
    const RefusedLoad load = loadRefusing(request);
    const std::string asked = "loading, request " + text(request) + " refused";
    if (load.refused == Asker::NOBODY) {
      expect("loading with no request refused: came to its end by", load.ending, "");
      break;
    }
    ++refusals;
    if (load.ending.empty()) continue;
    expect(asked + ": came to its end by", load.ending, "signal 6");
    if (load.refused != Asker::MODULE) continue;
    std::string::size_type at = 0;
    for (const char* line : {"[operator new] failed (size is ", "Getting free heap memory.\n",
                             "heapstatus=", "Number of blocks visited: "}) {
      at = load.debugOutput.find(line, at);
      if (at == std::string::npos)
        failExpectation(asked + ": debug output", text(load.debugOutput),
                        "lines with " + text(line));
    }
  }
  note(text(refusals) + " requests refused");
}

}  // namespace

}  // namespace validate
