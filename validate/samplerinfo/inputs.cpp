// SPDX-License-Identifier: MIT
#include "validate/checks/throwing.h"
#include "validate/subject/network.h"

namespace validate {

namespace {

CHECK(samplerinfo, asked_once,
      "a question asks an input each thing at most once, with the host's own shading context") {
  watchInputs(kSanitized ? 1000 : 4000, [](const std::string& question, const std::string& got) {
    failExpectation(question, got, "at most once, with the question's");
  });
}

CHECK(samplerinfo, throwing_input,
      "an input's exception is passed on, and the next answer is as the one before") {
  forSeeds(100, [&descs = descriptors()](std::uint32_t seed) {
    Network network({.descs = descs, .seed = seed, .plugins = 1});
    const std::vector<Answer> first = network.answers();
    for (Leaf& leaf : network.leaves()) {
      for (std::size_t n = 0; n < first.size(); ++n) {
        bool asked = false;
        leaf.whenAsked = [&asked](Question, const ShadingContext*) {
          asked = true;
          throwHostFailure();
        };
        const bool thrown = throws([&] { network.answer(n); });
        expect(network.question(n) + ": the exception comes back", thrown, asked);
        leaf.whenAsked = nullptr;
        network.expectAnswer("asked again", n, first[n]);
      }
    }
    return first.size() * (1 + 2 * network.leaves().size());
  });
}

}  // namespace

}  // namespace validate
