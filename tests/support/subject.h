// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "tests/support/library.h"
#include "tests/support/shading_host.h"
#include "tests/twins/pairs.h"

namespace test {

/// Whether an output of the library answers as its twin, after the same calls.
inline testing::AssertionResult agree(const twins::Pair& pair, PluginInterface& output,
                                      const ShadingContext& sc, Log& log) {
  for (const Question question : kQuestions) {
    log.clear();
    const Answer expected = ask(*pair.twin, question, sc);
    const Log expectedCalls = std::exchange(log, {});
    const Answer got = ask(output, question, sc);
    if (got == expected && log == expectedCalls) continue;
    return testing::AssertionFailure()
           << pair.name() << ", " << kQuestionNames[static_cast<int>(question)] << "\ngot      "
           << got << log << "\nexpected " << expected << expectedCalls;
  }
  return testing::AssertionSuccess();
}

/// An output of a plugin instance and its twin, between the same inputs.
struct Subject {
  explicit Subject(twins::Pair subject) : pair(std::move(subject)), plugin(pair.plugin) {
    for (const std::string& name : pair.inputs) {
      inputs.push_back(std::make_unique<Input>(name, log));
    }
    if (!pair.setting.empty()) set(pair.setting, pair.setTo);
  }

  void set(const std::string& name, std::int32_t number) {
    EXPECT_TRUE(name == "mode" ? plugin.set("mode", number) : plugin.set("invert", number != 0));
  }

  PluginInterface& output() { return *plugin.texture(pair.output); }

  /// Tells the instance that the inputs whose bits are set are connected, and no others. Its
  /// outputs see it from the next frame on.
  void connect(unsigned which) {
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      PluginInterface* texture = (which >> i & 1U) != 0 ? inputs[i]->texture() : nullptr;
      EXPECT_TRUE(plugin.connect(pair.inputs[i], texture));
    }
  }
  void connectTwin(unsigned which) {
    for (std::size_t i = 0; i < inputs.size(); ++i) {
      pair.connect(i, (which >> i & 1U) != 0 ? inputs[i]->texture() : nullptr);
    }
  }

  testing::AssertionResult agree() { return test::agree(pair, output(), ShadingContext{}, log); }

  twins::Pair pair;
  Instance plugin;
  Log log;
  std::vector<std::unique_ptr<Input>> inputs;
};

}  // namespace test
