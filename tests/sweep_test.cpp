// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <bit>
#include <fstream>
#include <limits>
#include <random>
#include <sstream>

#include "tests/support/subject.h"

namespace {

using namespace test;

constexpr unsigned kTrials = 8192;  // for each output, all subsets of its inputs together

/// Inputs at random. Every second trial draws from three numbers of either sign, so that ties,
/// signed zeros and infinities meet; the others from numbers of one size, so that roundings show,
/// with one in 16 that has any bits at all.
class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}

  void beginTrial() {
    special_ = !special_;
    for (float& number : specials_) number = kSpecials[engine_() % std::size(kSpecials)];
  }
  bool once(unsigned n) { return engine_() % n == 0; }
  std::int32_t below(unsigned n) { return static_cast<std::int32_t>(engine_() % n); }

  float number() {
    const auto bits = static_cast<std::uint32_t>(engine_());
    if (special_) return std::copysign(specials_[bits % 3], (bits & 64U) != 0 ? -1.0F : 1.0F);
    if (bits % 16 == 0) return std::bit_cast<float>(static_cast<std::uint32_t>(engine_()));
    return std::ldexp(std::bit_cast<float>((bits & 0x807fffffU) | 0x3f800000U), below(6) - 3);
  }
  double real() {
    const double x = static_cast<double>(number());
    return special_ ? x : x * (1 + 0x1p-36 * below(4096));
  }
  Vector vector() { return {number(), number(), number()}; }
  AColor color() { return {number(), number(), number(), number()}; }
  DVector precise() { return {real(), real(), real()}; }

 private:
  static constexpr float kInf = std::numeric_limits<float>::infinity();
  static constexpr float kSpecials[] = {
      0,    0,           0,      0,     1,    1,    0.5F,
      3,    2.5F,        1e-40F, 3e38F, kInf, kInf, std::numeric_limits<float>::quiet_NaN(),
      0.1F, 16777217.0F, 1e-7F};
  std::mt19937 engine_;
  bool special_ = false;
  float specials_[3] = {};
};

void randomize(Input& input, Random& random) {
  input.value = random.color();
  input.lo = random.color();
  input.hi = random.color();
  input.gradient = random.vector();
}

TEST(Sweep, OutputsOfInputsAnswerAndAskAsTheirTwins) {
  for (const twins::Pair& pair : twins::pairs()) {
    if (pair.inputs.empty()) continue;
    Subject subject(pair);
    const unsigned subsets = 1U << pair.inputs.size();
    for (unsigned which = 0; which < subsets; ++which) {
      subject.connect(which);
      subject.connectTwin(which);
      subject.plugin.frameBegin();
      Random random(which);
      for (unsigned trial = 0; trial < kTrials / subsets; ++trial) {
        random.beginTrial();
        for (const auto& input : subject.inputs) randomize(*input, random);
        ASSERT_TRUE(subject.agree())
            << "\nconnected: bits of seed " << which << ", trial " << trial;
      }
    }
  }
}

/// What an input that is not connected counts as, by `preview/data/outputs.txt`.
struct Substitute {
  std::string input;  ///< as in "TexFloatOp.float_a"
  AColor value = {};
  std::vector<std::string> outputs = {};  ///< empty: all

  bool isOf(const twins::Pair& pair, const std::string& name) const {
    return input == pair.plugin + "." + name &&
           (outputs.empty() || std::ranges::find(outputs, pair.output) != outputs.end());
  }
};

std::vector<Substitute> readSubstitutes() {
  std::ifstream file(OUTPUTS);
  std::vector<Substitute> substitutes;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string first, numbers;
    Substitute substitute;
    words >> first >> substitute.input >> numbers;
    if (first != "absent" || numbers == "output") continue;
    for (char& c : numbers) c = c == '(' || c == ',' || c == ')' ? ' ' : c;
    AColor& value = substitute.value;
    std::istringstream(numbers) >> value.r >> value.g >> value.b >> value.a;
    for (std::string output; words >> output;) substitute.outputs.push_back(output);
    substitutes.push_back(substitute);
  }
  return substitutes;
}

TEST(Sweep, AbsentInputsCountAsTheirSubstitutes) {
  const std::vector<Substitute> substitutes = readSubstitutes();
  for (const twins::Pair& pair : twins::pairs()) {
    for (std::size_t i = 0; i < pair.inputs.size(); ++i) {
      const std::string& name = pair.inputs[i];
      if (name == "result_alpha") continue;  // each output has something of its own for it
      const auto known = std::ranges::find_if(
          substitutes, [&](const Substitute& substitute) { return substitute.isOf(pair, name); });
      ASSERT_NE(known, substitutes.end()) << pair.name() << " without " << name;
      Subject absent(pair), constant(pair);
      Random random(1);
      for (unsigned trial = 0; trial < kTrials / 32; ++trial) {
        random.beginTrial();
        const auto others = static_cast<unsigned>(random.below(1U << pair.inputs.size()));
        absent.connect(others & ~(1U << i));
        constant.connect(others | 1U << i);
        for (const auto& input : absent.inputs) randomize(*input, random);
        for (std::size_t j = 0; j < pair.inputs.size(); ++j) {
          const Input& from = *absent.inputs[j];
          Input& to = *constant.inputs[j];
          to.value = j == i ? known->value : from.value;
          to.lo = j == i ? known->value : from.lo;
          to.hi = j == i ? known->value : from.hi;
          to.gradient = j == i ? Vector{} : from.gradient;
        }
        absent.plugin.frameBegin();
        constant.plugin.frameBegin();
        for (const Question question : kQuestions) {
          const bool isKept = pair.output == "ratio" && name == "float_b" &&
                              question == Question::Gradient;  // zero, as a worked row says
          if (isKept) continue;
          ASSERT_EQ(ask(absent.output(), question, {}), ask(constant.output(), question, {}))
              << pair.name() << " without " << name << ", "
              << kQuestionNames[static_cast<int>(question)] << ", trial " << trial;
        }
      }
    }
  }
}

void randomize(ShadingHost& host, Random& random) {
  constexpr std::int32_t kMoving[] = {0, 0, 1, -3, 256};
  host.services.cameraMoving = kMoving[random.below(std::size(kMoving))];
  host.services.log = random.once(4) ? nullptr : &host;
  host.sc.object = random.once(4) ? nullptr : &host.object;
  host.object.offers = !random.once(4);
  host.sc.surface = random.once(4) ? nullptr : &host.surface;
  host.surface.offers = !random.once(4);
  host.materialId = random.below(100) - 50;
  host.frame.imageHeight = random.below(2000);
  host.sc.backfacing = random.once(8) ? random.below(1000) - 500 : random.below(2);
  host.sc.imageX = std::ldexp(random.real(), random.below(30));
  host.sc.imageY = std::ldexp(random.real(), random.below(30));
  for (double* number : {&host.frame.frameTime, &host.sc.rayTime}) *number = random.real();
  for (DVector* v : {&host.frame.worldOffset, &host.sc.shadingPoint}) *v = random.precise();
  for (Vector* v : {&host.boxLo, &host.boxHi, &host.sc.rayDirection, &host.sc.normal,
                    &host.sc.geometricNormal, &host.uvw, &host.uvwA, &host.uvwB, &host.uvwC}) {
    *v = random.vector();
  }
  for (PreciseTransform* t : {&host.frame.worldToCamera, &host.frame.cameraToWorld}) {
    *t = {random.vector(), random.vector(), random.vector(), random.precise()};
  }
}

TEST(Sweep, OutputsOfTheContextAnswerAndAskAsTheirTwins) {
  std::vector<twins::Pair> pairs = twins::pairs();
  std::erase_if(pairs, [](const twins::Pair& pair) { return pair.plugin != "TexSampler"; });
  Instance sampler("TexSampler");
  sampler.plugin().renderBegin(nullptr);
  ShadingHost host;
  Random random(1);
  for (unsigned trial = 0; trial < kTrials; ++trial) {
    random.beginTrial();
    randomize(host, random);
    if (trial == 0 || random.once(2)) {  // or the frame goes on, with the planes that it has
      sampler.frameBegin();
      twins::clipPlanes().computed = 0;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      const twins::Pair& pair = pairs[(i + trial) % pairs.size()];
      PluginInterface& output = *sampler.texture(pair.output);
      ASSERT_TRUE(agree(pair, output, host.sc, host.log)) << "trial " << trial;
    }
  }
}

}  // namespace
