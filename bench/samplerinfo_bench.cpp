#include <benchmark/benchmark.h>

#include <algorithm>

#include "tests/support/shading_host.h"
#include "tests/support/subject.h"

// What an answer of the loaded library costs, beside the same answer of its twin: the leanest class
// that asks the same inputs and gives the same bits ("twin"). Both are asked through one virtual
// call of the same interface. A comparison whose answers differ is reported as an error.

namespace {

using namespace test;

/// A render with a camera that does not move and writes nothing down.
ShadingHost host;

void measure(benchmark::State& state, const PluginInterface& texture, Question question) {
  visit(texture, [&](const auto& typed) {
    const auto* asked = &typed;
    benchmark::DoNotOptimize(asked);
    if (question == Question::Value) {
      for (auto _ : state) benchmark::DoNotOptimize(value(*asked, host.sc));
    }
    if constexpr (requires { asked->getGradient(host.sc); }) {
      decltype(value(*asked, host.sc)) lo, hi;
      if (question == Question::Bounds) {
        for (auto _ : state) {
          bounds(*asked, lo, hi);
          benchmark::DoNotOptimize(lo);
          benchmark::DoNotOptimize(hi);
        }
      }
      if (question == Question::Gradient) {
        for (auto _ : state) benchmark::DoNotOptimize(asked->getGradient(host.sc));
      }
    }
  });
}

/// The textures live as long as the program.
void compare(const std::string& name, const PluginInterface& library, const PluginInterface& twin) {
  for (const Question question : kQuestions) {
    const Answer answer = ask(twin, question, host.sc);
    if (answer.numbers.empty()) continue;
    const std::string full = name + "/" + kQuestionNames[static_cast<int>(question)];
    const bool agree = ask(library, question, host.sc) == answer;
    const auto run = [agree, question](benchmark::State& state, const PluginInterface* texture) {
      if (!agree) state.SkipWithError("the answers differ");
      measure(state, *texture, question);
    };
    benchmark::RegisterBenchmark(full.c_str(), run, &library);
    benchmark::RegisterBenchmark((full + "/twin").c_str(), run, &twin);
  }
}

using Subjects = std::vector<std::unique_ptr<Subject>>;

/// A subject with all its inputs connected.
Subject& add(Subjects& subjects, const twins::Pair& pair) {
  Subject& subject = *subjects.emplace_back(std::make_unique<Subject>(pair));
  float next = 0.5F;
  for (const auto& input : subject.inputs) {
    next += 0.25F;
    input->log = nullptr;
    input->value = {next, next + 1, next + 2, 1};
    input->lo = {-next, 0, 1, 0};
    input->hi = {next, next + 2, 4, 1};
    input->gradient = {next, 3, 2};
  }
  subject.connect(~0U);
  subject.connectTwin(~0U);
  subject.plugin.plugin().renderBegin(nullptr);
  subject.plugin.frameBegin();
  return subject;
}

/// Connects output to input, and twin to twin.
void link(Subject& to, std::size_t input, Subject& from) {
  to.plugin.connect(to.pair.inputs[input].c_str(), &from.output());
  to.pair.connect(input, from.pair.twin.get());
  to.plugin.frameBegin();
}

/// A tinted facing ratio: colour of three numbers, times a ratio, through the texture that the
/// plugin itself is.
Subject& addNetwork(Subjects& subjects) {
  const auto made = [&](const std::string& name) -> Subject& {
    const std::vector<twins::Pair> pairs = twins::pairs();
    return add(subjects, *std::ranges::find(pairs, name, &twins::Pair::name));
  };
  Subject& color = made("Float3ToAColor.color (invert 0)");
  link(color, 0, made("TexSampler.facing_ratio"));
  Subject& tinted = made("TexAColorOp (mode 3)");
  link(tinted, 0, color);
  link(tinted, 2, made("TexFloatOp.ratio"));
  return tinted;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

  // The check of the answers is the frame's first evaluation: what is measured are the later ones.
  Subjects subjects;
  for (const twins::Pair& pair : twins::pairs()) {
    compare(pair.name(), add(subjects, pair).output(), *pair.twin);
  }
  Subject& network = addNetwork(subjects);
  compare("network", network.output(), *network.pair.twin);

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
