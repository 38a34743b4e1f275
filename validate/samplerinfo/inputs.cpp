// SPDX-License-Identifier: MIT
#include "validate/network.h"

namespace validate {

namespace {

CHECK(samplerinfo, asked_once,
      "a question asks each input its value, bounds and gradient at most once, with the host's own "
      "shading context") {
  watchInputs(kSanitized ? 1000 : 4000, [](const std::string& question, const std::string& got) {
    failExpectation(question, got, "at most once, with the question's");
  });
}

}  // namespace

}  // namespace validate
