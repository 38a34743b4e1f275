// SPDX-License-Identifier: MIT
#include "validate/checks/at_once.h"
#include "validate/subject/network.h"
#include "validate/system/process.h"

namespace validate {

namespace {

constexpr int kNetworks = kSanitized ? 100 : 400;

CHECK(evaluation, again,
      "a question is answered with the same bits again, in any order, the next frame and render") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    for (const char* when : {"asked again", "asked in the next frame"}) {
      for (std::size_t n = first.size(); n-- != 0;) network.expectAnswer(when, n, first[n]);
      network.beginFrame();
    }
    network.endRender();
    network.samples().host.services.cameraMoving *= -2;
    network.beginFrame();
    network.expectAnswers("asked in the next render", first);
    return 4 * first.size();
  });
}

// The threads ask first, each from another place on, so that all samples are under way at once.
CHECK(evaluation, threads,
      "16 threads that ask at once are answered as one alone is, while other instances are made") {
  std::vector<Answer> answers[kThreads];
  forSeeds(kNetworks / 3, [&, &descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed}), second({.descs = descs, .seed = seed});
    const std::size_t questions = network.questions();
    const auto asked = [questions](std::size_t thread, std::size_t k) {
      return (k + questions * thread / kThreads) % questions;
    };
    const auto ask = [&](std::size_t thread) {
      answers[thread].clear();
      answers[thread].reserve(questions);
      for (std::size_t k = 0; k < questions; ++k) {
        if (k % Samples::kCount == 0 && isTimeUp()) break;
        answers[thread].push_back(network.answer(asked(thread, k)));
      }
    };
    runAtOnce(ask, [&] { const Network made({.descs = descs, .seed = ~seed}); });
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

CHECK(evaluation, instances,
      "instances with the same inputs answer the same, each its own, also when others are gone") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> first = network.answers();
    {
      const Network same({.descs = descs, .seed = seed}), other({.descs = descs, .seed = ~seed});
      const std::vector<Answer> ofOther = other.answers();
      for (std::size_t n = 0; n < first.size(); ++n) {
        same.expectAnswer("asked of a second instance", n, first[n]);
        network.expectAnswer("asked between questions to a second instance", n, first[n]);
      }
      other.expectAnswers("asked after other instances", ofOther);
    }
    network.expectAnswers("asked after other instances were deleted", first);
    return 4 * first.size();
  });
}

/// The network of a seed by a module that is loaded for it, so that nothing is as it was before.
void withLoaded(std::uint32_t seed, bool begins, const std::function<void(Network&)>& use) {
  const Loaded module;
  const Registered registered(enumerate(module.library()).descs);
  Network network({.descs = registered.descs, .seed = seed, .begins = begins});
  use(network);
}

CHECK(evaluation, reload, "a module that is unloaded and loaded again gives the same answers") {
  forSeeds(kNetworks / 4, [](std::uint32_t seed) {
    std::vector<Answer> first;
    withLoaded(seed, true, [&](const Network& network) { first = network.answers(); });
    withLoaded(seed, true, [&](const Network& network) {
      network.expectAnswers("asked of the module loaded again", first);
    });
    return 2 * first.size();
  });
}

CHECK(evaluation, changed,
      "from the next frame on, and not before, inputs that were set anew or taken away, and other "
      "frame data, are as if they had always been so") {
  forSeeds(kNetworks, [](std::uint32_t seed) {
    std::vector<Answer> first, changed;
    withLoaded(seed, false, [&](Network& always) {
      always.changeInputs();
      always.changeFrame();
      always.beginFrame();
      changed = always.answers();
    });
    withLoaded(seed, true, [&](Network& network) {
      first = network.answers();
      network.changeInputs();
      network.expectAnswers("asked before the next frame", first);
      network.changeFrame();
      network.beginFrame();
      network.expectAnswers("asked after inputs and frame data were changed", changed);
    });
    return 2 * (first.size() + changed.size());
  });
}

CHECK(evaluation, integers,
      "a question is answered whatever an integer is set to, from the least to the greatest") {
  const auto ask = [&descs = descriptors()](std::uint32_t seed) {
    std::size_t evaluations = 0;
    for (void* desc : descs) {
      const Network network({.descs = {desc}, .seed = seed, .plugins = 1});
      for (const ParameterInfo& info : parametersOf(desc)) {
        if (info.type != ParameterType::Integer) continue;
        for (const std::int32_t value : {INT32_MIN, -1, INT32_MAX, info.initial}) {
          network.plugins()[0].set(info.name, ParameterKind::Integer, value);
          network.beginFrame();
          for (std::size_t n = 0; n < network.questions() && !isTimeUp(); ++n) {
            network.answer(n);
            ++evaluations;
          }
        }
      }
    }
    return evaluations;
  };
  forSeeds(10, ask, "no plugin has an integer and an output");
}

CHECK(evaluation, bounds, "bounds are written whole, and nothing beside them") {
  forSeeds(kNetworks, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    for (std::size_t n = 0; n < network.questions(); n += Samples::kCount) {
      const Network::Asked asked = network.asked(n);
      if (asked.question != Question::Bounds) continue;
      const auto width = static_cast<std::size_t>(kWidths[asked.kind]);
      std::array<float, 20> rooms[2];
      for (auto& room : rooms) {
        room.fill(&room == rooms ? 1 : -2);
        ask(asked.texture, asked.kind, Question::FencedBounds, asked.context, room.data());
      }
      for (std::size_t i = 0; i < 5 * width; ++i) {
        const bool isBound = i / width % 2 != 0;
        const char* const which = i / width == 1 ? ", lower bound" : ", upper bound";
        const std::string place = network.question(n) + (isBound ? which : ", beside the bounds");
        const bool isWritten = rooms[0][i] != 1 || rooms[1][i] != -2;
        expect(place + ": is it written", isWritten, isBound);
        if (isBound) expect(place + ", where -2 was", rooms[1][i], rooms[0][i]);
      }
    }
    return network.questions() / Samples::kCount;
  });
}

CHECK(evaluation, records,
      "frames and questions write nothing into the records of the host, which crashes here") {
  forSeeds(kNetworks / 4, [&descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed, .begins = false});
    Samples& samples = network.samples();
    setWritable(&samples, sizeof samples, false);
    network.beginFrame();
    std::size_t n = 0;
    for (; n < network.questions() && !isTimeUp(); ++n) {
      network.answer(n, samples.contexts[n % Samples::kCount]);
    }
    setWritable(&samples, sizeof samples, true);
    return n;
  });
}

}  // namespace

}  // namespace validate
