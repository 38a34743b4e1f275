// SPDX-License-Identifier: MIT
#include <algorithm>
#include <new>

#include "validate/checks/added_interface.h"
#include "validate/subject/network.h"
#include "validate/system/watch.h"

namespace validate {

namespace {

void prepareToWatch() {
  if (whyNotWatched() != nullptr) skip(whyNotWatched());
  takeStreams();
}

// ---- Evaluation ----

void expectNone(const char* ofWhat, int Watched::*count) {
  prepareToWatch();
  forSeeds(40, [&, &descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed});
    HostLog& log = network.samples().host.log;
    network.samples().host.services.log = &log;
    const std::size_t questions = network.answers().size();
    for (std::size_t n = 0; n < questions; ++n) {
      log.lines = 0;
      watch();
      network.answer(n);
      Watched watched = stopWatching();
      watched.printed += log.lines;
      if (watched.*count != 0) expect(network.question(n) + ": " + ofWhat, watched.*count, 0);
    }
    return 2 * questions;
  });
}

CHECK(memory, allocations, "after the first sample of a frame no question allocates memory") {
  expectNone("allocations", &Watched::allocations);
}

CHECK(memory, locks, "after the first sample of a frame no question takes a lock") {
  expectNone("locks", &Watched::locks);
}

CHECK(memory, output,
      "loading and making plugins print nothing; nor does a question after the first sample of a "
      "frame, to the log or a standard stream") {
  prepareToWatch();
  for (const Instance& instance : Instances()) static_cast<void>(instance);
  expect("loaded, plugins made and deleted: bytes in the streams", printedSoFar(), 0);
  expectNone("lines in the log and bytes in the streams", &Watched::printed);
}

CHECK(memory, unchanged,
      "after the first sample of a frame nothing is written into plugins, what they have allocated "
      "or the module's variables, not for a moment either") {
  prepareToWatch();
  forSeeds(10, [&descs = descriptors()](std::uint32_t seed) {
    watch();
    const Network network({.descs = descs, .seed = seed});
    const std::size_t questions = network.answers().size();
    stopWatching();
    std::vector<Block> blocks = blocksLeft(), variables = variablesAround(library());
    blocks.insert(blocks.end(), variables.begin(), variables.end());
    std::size_t n = 0;
    guard(blocks, [&](const unsigned char* written) {
      const auto block = std::ranges::find_if(
          blocks, [written](const Block& each) { return each.holds(written); });
      if (block == blocks.end()) return;
      std::string owner = "memory allocated before";
      for (const Block& each : variables) {
        if (each.holds(written)) owner = "the module's variables";
      }
      for (const Instance& plugin : network.plugins()) {
        if (block->holds(plugin.object())) owner = plugin.name();
      }
      failExpectation(network.question(n) + ": " + owner,
                      "byte " + std::to_string(written - block->first) + " written",
                      "nothing written");
    });
    for (; n < questions; ++n) network.answer(n);
    endGuard();
    return 2 * questions;
  });
}

// ---- Refusal ----

/// A call and what is wrong with it; null if nothing is.
struct Fault {
  const char *call = nullptr, *got = nullptr;
};

/// What is wrong with a call, which is tried once more if a request is refused to it. A
/// `std::bad_alloc` will do, too, unless the refused request was the module's own and it is to
/// throw a text.
template <class Call>
const char* wrongWith(bool textAlone, const Call& call) {
  for (const bool again : {false, true}) {
    try {
      if (call()) return nullptr;
    } catch (char*) {
    } catch (const std::bad_alloc&) {
      if (textAlone && refusedSoFar() == Asker::Module) return "another exception";
    } catch (...) {
      return "another exception";
    }
    if (again || refusedSoFar() == Asker::Nobody) break;
  }
  return "a refusal without a refused request";
}

/// The life of a plugin. Allocates nothing, as it is watched.
Fault live(void* desc, AddedInterface& added, bool textAlone) {
  void* const* table = hostTable.slots;
  Fault fault;
  void* plugin = nullptr;
  const auto attempt = [&](const char* name, const auto& call) {
    if (fault.call != nullptr) return;
    fault.got = wrongWith(textAlone, call);
    if (fault.got != nullptr) fault.call = name;
  };
  const auto setName = [&](const char* name) {
    Plugin::setPluginName(plugin, name);
    return true;
  };
  const auto add = [&](std::int32_t releaseWithOwner) {
    return PluginBase::addInterface(plugin, &added, releaseWithOwner) != 0;
  };
  attempt("registerPlugin", [&] {
    PluginDesc::registerPlugin(desc, &table);
    return true;
  });
  attempt("newPlugin", [&] { return (plugin = PluginDesc::newPlugin(desc, nullptr)) != nullptr; });
  attempt("setPluginName", [&] { return setName("a name"); });
  attempt("setPluginName again", [&] { return setName("another name, a longer one"); });
  attempt("addInterface", [&] { return add(1); });
  attempt("addInterface again", [&] { return add(0); });
  PluginDesc::deletePlugin(desc, plugin);
  PluginDesc::unregisterPlugin(desc, &table);
  return fault;
}

void refuseInLife(bool textAlone) {
  prepareToWatch();
  int refusals = 0;
  for (void* desc : descriptors()) {
    const std::string name = nameOf(desc);
    AddedInterface added(1);
    live(desc, added, textAlone);
    for (int request = 1;; ++request) {
      added.releases = 0;
      watch(request);
      const Fault fault = live(desc, added, textAlone);
      const Watched watched = stopWatching();
      const std::string asked = name + ", request " + text(request) + " of its life refused";
      if (fault.call != nullptr) {
        failExpectation(
            asked + ": " + fault.call, fault.got,
            textAlone ? "one exception, a char*" : "one exception, a char* or std::bad_alloc");
      }
      expect(asked + ": blocks left", watched.left, 0);
      expect(asked + ": releases", added.releases, 1);
      if (watched.refused == Asker::Nobody) break;
      ++refusals;
    }
  }
  note(text(refusals) + " requests refused");
}

constexpr const char* kAborted = "signal 6 (Aborted)";

/// Refuses one request in one load after the other; calls `visit` with those that died of it.
template <class Visit>
void refuseAtLoad(const Visit& visit) {
  prepareToWatch();
  for (int request = 1;; ++request) {
    const RefusedLoad load = loadRefusing(request);
    if (load.refused == Asker::Nobody) {
      expect("loading with no request refused: ended by", load.ending, "");
      note(text(request - 1) + " requests refused");
      return;
    }
    if (!load.ending.empty()) visit("loading, request " + text(request) + " refused", load);
  }
}

CHECK(
    memory, refused,
    "a refused request is thrown as a text or std::bad_alloc, costs nothing, and can be repeated") {
  refuseInLife(false);
}

CHECK(memory, refused_at_load,
      "a request that is refused at load may end the process, but not by a crash") {
  refuseAtLoad([](const std::string& asked, const RefusedLoad& load) {
    if (!load.ending.starts_with("exit code")) expect(asked, load.ending, kAborted);
  });
}

// ---- Refusal, as this library answers it ----

CHECK(samplerinfo, memory, refused, "a refused request for memory is thrown as a text") {
  refuseInLife(true);
}

CHECK(samplerinfo, memory, refused_at_load,
      "a request that is refused at load ends the process with debug output, or nothing") {
  refuseAtLoad([](const std::string& asked, const RefusedLoad& load) {
    expect(asked, load.ending, kAborted);
    if (load.refused != Asker::Module) return;
    std::string::size_type at = 0;
    for (const char* line : {"[operator new] failed (size is ", "Getting free heap memory.\n",
                             "heapstatus=", "Number of blocks visited: "}) {
      at = load.debugOutput.find(line, at);
      if (at == std::string::npos) {
        failExpectation(asked + ": debug output", text(load.debugOutput),
                        "lines with " + text(line));
      }
    }
  });
}

}  // namespace

}  // namespace validate
