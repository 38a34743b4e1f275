// SPDX-License-Identifier: MIT
#include <algorithm>
#include <latch>
#include <span>
#include <thread>

#include "validate/network.h"

namespace validate {

namespace {

constexpr int kNetworks = kSanitized ? 100 : 400;

CHECK(evaluation, again,
      "a question is answered with the same bits again, in any order and in the next frame") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    for (std::size_t n = first.size(); n-- != 0;) network.expectAnswer("asked again", n, first[n]);
    network.beginFrame();
    network.expectAnswers("asked in the next frame", first);
    return 3 * first.size();
  });
}

// The threads ask first, each from another place on, so that all samples are under way at once.
CHECK(evaluation, threads, "16 threads that ask at once are answered as one alone is") {
  constexpr std::size_t kThreads = 16;
  std::vector<Answer> answers[kThreads];
  forSeeds(kNetworks / 3, [&, &descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed}), second({.descs = descs, .seed = seed});
    const std::size_t questions = network.questions();
    const auto asked = [questions](std::size_t thread, std::size_t k) {
      return (k + questions * thread / kThreads) % questions;
    };
    std::latch begin(kThreads);
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) {
      answers[i].clear();
      answers[i].reserve(questions);
      threads.emplace_back([&, i] {
        begin.count_down();
        while (!begin.try_wait()) std::this_thread::yield();  // MinGW's wait() can miss the last
        for (std::size_t k = 0; k < questions; ++k) {
          if (k % Samples::kCount == 0 && isTimeUp()) break;
          answers[i].push_back(network.answer(asked(i, k)));
        }
      });
    }
    threads.clear();
    std::vector<Answer> alone;
    for (std::size_t n = 0; n < questions; ++n) alone.push_back(second.answer(n));
    std::size_t evaluations = questions;
    for (std::size_t i = 0; i < kThreads; ++i) {
      evaluations += answers[i].size();
      for (std::size_t k = 0; k < answers[i].size(); ++k) {
        const std::size_t n = asked(i, k);
        network.expectSame("asked by one of 16 threads", n, answers[i][k], alone[n]);
      }
    }
    return evaluations;
  });
}

CHECK(evaluation, instances, "instances with the same inputs give the same answers, each its own") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    const Network same({.descs = descs, .seed = seed}), other({.descs = descs, .seed = ~seed});
    const std::vector<Answer> ofOther = other.answers();
    for (std::size_t n = 0; n < first.size(); ++n) {
      same.expectAnswer("asked of a second instance", n, first[n]);
      network.expectAnswer("asked between questions to a second instance", n, first[n]);
    }
    other.expectAnswers("asked after other instances", ofOther);
    return 3 * first.size() + 2 * ofOther.size();
  });
}

CHECK(evaluation, reload, "a module that is unloaded and loaded again gives the same answers") {
  std::vector<Answer> first;
  forSeeds(kNetworks / 4, [&](std::uint32_t seed) {
    for (const bool again : {false, true}) {
      const Loaded module;
      const Registered registered(enumerate(module.library()).descs);
      const Network network({.descs = registered.descs, .seed = seed});
      if (again) {
        network.expectAnswers("asked of the module loaded again", first);
      } else {
        first = network.answers();
      }
    }
    return 2 * first.size();
  });
}

CHECK(evaluation, changed,
      "from the next frame on, and not before, inputs that were set anew or taken away are as if "
      "they had always been so") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    Network always({.descs = descs, .seed = seed, .begins = false});
    always.changeInputs();
    always.beginFrame();
    Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    network.changeInputs();
    network.expectAnswers("asked before the next frame", first);
    network.beginFrame();
    const std::vector<Answer> changed = always.answers();
    network.expectAnswers("asked after inputs were changed", changed);
    return 2 * (first.size() + changed.size());
  });
}

CHECK(evaluation, records, "frames and questions leave the records of the host as they are") {
  forSeeds(kNetworks / 40, [&descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed, .begins = false});
    const std::span records = std::as_bytes(std::span(&network.samples(), 1));
    const std::vector before(records.begin(), records.end());
    const auto expectUnchanged = [&](const std::string& when) {
      const auto changed = std::ranges::mismatch(records, before).in1;
      if (changed != records.end()) {
        failExpectation(when + ": records of the host",
                        "byte " + std::to_string(changed - records.begin()) + " written",
                        "nothing written");
      }
    };
    network.beginFrame();
    expectUnchanged("a frame begun");
    std::size_t n = 0;
    for (; n < network.questions() && !isTimeUp(); ++n) {
      network.answer(n);
      expectUnchanged(network.question(n));
    }
    return n;
  });
}

}  // namespace

}  // namespace validate
