// SPDX-License-Identifier: MIT
#include <algorithm>
#include <latch>
#include <thread>

#include "validate/network.h"
#include "validate/process.h"

namespace validate {

namespace {

constexpr int kNetworks = kSanitized ? 100 : 400;

CHECK("evaluation.again",
      "a question is answered with the same bits again, in any order and in the next frame") {
  forSeeds(kNetworks, [descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    for (int n = network.questions(); n-- != 0;)
      network.expectAnswer("asked again", n, first[static_cast<std::size_t>(n)]);
    network.beginFrame();
    network.expectAnswers("asked in the next frame", first);
    return 3 * network.questions();
  });
}

// They begin a frame together, each at another place, so that all samples are under way at once.
CHECK("evaluation.threads", "16 threads that ask at once are answered as one alone is") {
  constexpr int kThreads = 16, kRounds = 4;
  forSeeds(kNetworks / 4, [descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> alone = network.answers();
    network.beginFrame();
    const int questions = network.questions();
    std::latch begin(kThreads);
    std::jthread threads[kThreads];
    for (int i = 0; i < kThreads; ++i) {
      threads[i] = std::jthread([&, i] {
        begin.arrive_and_wait();
        for (int k = 0; k < kRounds * questions; ++k) {
          const int n = (k + questions * i / kThreads) % questions;
          network.expectAnswer("asked by one of 16 threads", n, alone[static_cast<std::size_t>(n)]);
        }
      });
    }
    for (std::jthread& thread : threads) thread.join();
    return (1 + kThreads * kRounds) * questions;
  });
}

CHECK("evaluation.instances",
      "instances with the same inputs give the same answers, each its own") {
  forSeeds(kNetworks, [descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    const Network same({.descs = descs, .seed = seed}), other({.descs = descs, .seed = ~seed});
    const std::vector<Answer> ofOther = other.answers();
    for (int n = 0; n < network.questions(); ++n) {
      const Answer& expected = first[static_cast<std::size_t>(n)];
      same.expectAnswer("asked of a second instance", n, expected);
      network.expectAnswer("asked between questions to a second instance", n, expected);
    }
    other.expectAnswers("asked after other instances", ofOther);
    return 3 * network.questions() + 2 * other.questions();
  });
}

CHECK("evaluation.reload", "a module that is unloaded and loaded again gives the same answers") {
  std::vector<Answer> first;
  forSeeds(kNetworks / 4, [&](std::uint32_t seed) {
    for (const bool again : {false, true}) {
      std::string why;
      void* const module = openModule(trial.module, why);
      if (module == nullptr) fail(why);
      {
        void* const desc = reinterpret_cast<void* (*)()>(symbolOf(module, "getLibDesc"))();
        const Network network({.descs = enumerate(desc).descs, .seed = seed});
        if (again)
          network.expectAnswers("asked of the module loaded again", first);
        else
          first = network.answers();
      }
      closeModule(module);
    }
    return 2 * static_cast<int>(first.size());
  });
}

CHECK("evaluation.taken_away",
      "from the next frame on an input that was taken away is as one that never was connected") {
  forSeeds(kNetworks, [descs = descriptors()](std::uint32_t seed) {
    const std::uint32_t without = ~seed | 1;
    const Network never({.descs = descs, .seed = seed, .without = without});
    const Network network({.descs = descs, .seed = seed});
    network.expectAnswers("asked with all inputs", network.answers());
    network.takeAway(without);
    network.beginFrame();
    network.expectAnswers("asked after inputs were taken away", never.answers());
    return 4 * network.questions();
  });
}

CHECK("evaluation.asked_once",
      "a question asks each input its value, bounds and gradient at most once, with the host's own "
      "shading context") {
  forSeeds(10 * kNetworks, [descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed, .plugins = 1});
    for (Leaf& leaf : network.leaves()) leaf.counts = true;
    for (int n = 0; n < network.questions(); ++n) {
      network.answer(n);
      const ShadingContext* const context = &network.asked(n).context;
      for (Leaf& leaf : network.leaves()) {
        for (const Question question : {VALUE, BOUNDS, GRADIENT}) {
          const int asked = leaf.asked[question];
          if (asked > 1)
            failExpectation(network.question(n), "an input asked " + text(asked) + " times",
                            "at most once");
          if (question != BOUNDS && asked != 0 && leaf.askedWith[question] != context)
            failExpectation(network.question(n), "an input asked with another context",
                            "with that of the question");
        }
        leaf.asked = {};
      }
    }
    return network.questions();
  });
}

}  // namespace

}  // namespace validate
