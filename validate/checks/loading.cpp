// SPDX-License-Identifier: MIT
#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

#include "validate/subject/network.h"
#include "validate/system/process.h"

namespace validate {

namespace {

CHECK(loading, exports, "the module exports getLibDesc; says what else it exports") {
  const Loaded module;
  std::vector<std::string> names = exportsOf(module.handle());
  if (std::erase(names, "getLibDesc") == 0) fail("exports no getLibDesc");
  for (const std::string& name : names) {
    note("also exports " + name + "; exports.map of the sdk, or -fvisibility=hidden, keeps it in");
  }
}

CHECK(loading, descriptor,
      "getLibDesc answers the same object whenever it is asked, loaded twice or not") {
  const Loaded once;
  void* const library = once.library();
  expect("getLibDesc again", once.library(), library);
  {
    const Loaded twice;
    expect("getLibDesc of the module loaded twice", twice.library(), library);
  }
  expect("mapped after one of two unloadings", isMapped(trial.module), true);
  expect("getLibDesc after one of two unloadings", once.library(), library);
}

/// Uses all that a module has, and says what that was.
std::string useOnce() {
  const Loaded module;
  const Host host;
  std::string names;
  const Registered registered(enumerate(module.library()).descs);
  for (void* desc : registered.descs) {
    const Instance instance(desc);
    Plugin::setPluginName(instance.object(), "first");
    Plugin::setPluginName(instance.object(), "second");
    instance.beginFrame();
    for (const ParameterInfo& info : parametersOf(desc)) {
      float numbers[12];
      void* const texture = isOutput(info) ? instance.texture(info.name) : nullptr;
      if (texture != nullptr) ask(texture, kindOf(info), Question::Value, host.sc, numbers);
    }
    names += instance.name() + ' ';
  }
  return names;
}

CHECK(loading, rounds,
      "200 rounds of loading, using and unloading leave nothing mapped, allocated or changed") {
  constexpr int kRounds = 200;
  const std::string first = useOnce();
  const auto use = [&first] {
    expect("plugins of a later round", useOnce(), first);
    expect("mapped after unloading", isMapped(trial.module), false);
  };
  int rounds = 0;
  // The heap may take some rounds to settle; what leaks grows on.
  std::int32_t growth = kRounds;
  while ((trial.seconds > 0 && !isTimeUp()) || (growth >= kRounds && rounds < 5 * kRounds)) {
    const std::size_t before = heapInUse();
    for (int i = 0; i < kRounds; ++i) use();
    growth = static_cast<std::int32_t>(heapInUse() - before);
    rounds += kRounds;
  }
  note(text(rounds) + " rounds");
  if (kSanitized) {
    note("whether the heap grows is not known here: a sanitizer keeps blocks back");
  } else if (growth >= kRounds) {
    fail("heap after the rounds: got " + text(growth) + " bytes more, expected the same");
  }
}

/// Fails unless a module that was used and unloaded has left that as it was.
void expectLeft(std::set<std::string> (*state)(), const std::set<std::string>& before) {
  std::vector<std::string> changes;
  for (int tries = 0; tries < 100; ++tries) {  // a thread takes a moment to go
    changes.clear();
    std::ranges::set_symmetric_difference(before, state(), std::back_inserter(changes));
    if (changes.empty()) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  failExpectation("used and unloaded: new or gone", changes.back(), "nothing");
}

// What a library that stays has taken once is nobody's fault.
CHECK(loading, left_behind,
      "using and unloading the module leaves no open file, mapping, thread, timer or handler, and "
      "the working folder, locale and environment as they were") {
  const std::set<std::string> before = settings();
  if (before.empty()) skip("what a process has is known on Linux alone");
  useOnce();
  expectLeft(settings, before);
  const std::set<std::string> taken = possessions();
  useOnce();
  expectLeft(possessions, taken);
}

}  // namespace

}  // namespace validate
