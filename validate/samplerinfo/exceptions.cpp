// SPDX-License-Identifier: MIT
#include <random>

#include "validate/checks/throwing.h"
#include "validate/host.h"
#include "validate/subject.h"

namespace validate {

namespace {

CHECK(
    samplerinfo, throwing_input,
    "an input that throws has its exception passed on, and the next answer is as the one before") {
  skipForeignExceptions();
  const Host host;
  for (void* desc : descriptors()) {
    const Instance instance(desc);
    std::vector<Input> inputs;
    inputs.reserve(parametersOf(desc).size());
    std::minstd_rand random(trial.seed);
    for (const ParameterInfo& info : parametersOf(desc)) {
      if (!isTextureInput(info)) continue;
      Input& input = inputs.emplace_back(kindOf(info));
      for (float& number : input.numbers) number = static_cast<float>(random() % 1000) / 64;
      instance.connect(info.name, &input);
    }
    instance.beginFrame();
    for (const ParameterInfo& info : parametersOf(desc)) {
      for (int question = Question::Value; isOutput(info) && question < kQuestionCount;
           ++question) {
        float numbers[12] = {}, again[12] = {};
        const auto asking = [&](float* answer) {
          return ask(instance.texture(info.name), kindOf(info), static_cast<Question>(question),
                     host.sc, answer);
        };
        const int count = asking(numbers);
        for (Input& failing : inputs) {
          bool asked = false;
          failing.whenAsked = [&](const ShadingContext* /*sc*/) {
            asked = true;
            throw HostFailure();
          };
          const bool thrown = throws([&] { asking(again); });
          const std::string output =
              instance.name() + '.' + info.name + ", question " + text(question);
          expect(output + ": the exception comes back", thrown, asked);
          failing.whenAsked = nullptr;
          asking(again);
          for (int i = 0; i < count; ++i) expect(output + ", asked again", again[i], numbers[i]);
        }
      }
    }
  }
}

}  // namespace

}  // namespace validate
