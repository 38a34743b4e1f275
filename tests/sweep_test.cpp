#include <gtest/gtest.h>

#include <bit>
#include <random>
#include <set>

#include "standin/introspection.h"
#include "tests/support/shading_host.h"
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
  Vector vector() {
    return filled(Vector{}, [this] { return number(); });
  }
  AColor color() {
    return filled(AColor{}, [this] { return number(); });
  }
  DVector precise() {
    return filled(DVector{}, [this] { return real(); });
  }
  PreciseTransform transform() { return {vector(), vector(), vector(), precise()}; }

 private:
  template <class T, class Draw>
  static T filled(T value, Draw draw) {
    if constexpr (requires { value.x; }) {
      value.x = draw(), value.y = draw(), value.z = draw();
    } else {
      value.r = draw(), value.g = draw(), value.b = draw(), value.a = draw();
    }
    return value;
  }

  static constexpr float kSpecials[] = {0,     0,    1,    1,    0.5F, 3,           2.5F, 1e-40F,
                                        3e38F, kInf, kInf, kNaN, 0.1F, 16777217.0F, 1e-7F};
  std::mt19937 engine_;
  bool special_ = false;
  float specials_[3] = {};
};

TEST(Sweep, CoversEveryOutput) {
  std::set<std::string> covered;
  for (const twins::Pair& pair : twins::pairs()) covered.insert(pair.plugin + "." + pair.output);
  for (QuorPluginDesc* desc : descriptors()) {
    desc->paramListDesc->registerParameters(nullptr, desc);
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      const std::string name = std::string(desc->getPluginName()) + "." + info.name;
      EXPECT_TRUE(!info.isOutput() || covered.contains(name)) << name << " has no twin";
    }
  }
}

TEST(Sweep, OutputsOfInputsAnswerAndAskAsTheirTwins) {
  const ShadingContext sc{};
  for (const twins::Pair& pair : twins::pairs()) {
    if (pair.inputs.empty()) continue;
    Subject subject(pair);
    const unsigned subsets = 1U << pair.inputs.size();
    for (unsigned which = 0; which < subsets; ++which) {
      subject.connect(which);
      subject.connectTwin(which);
      subject.plugin.frameBegin();
      PluginInterface& output = subject.output();
      Random random(which);
      for (unsigned trial = 0; trial < kTrials / subsets; ++trial) {
        random.beginTrial();
        for (const auto& input : subject.inputs) {
          input->value = random.color();
          input->lo = random.color();
          input->hi = random.color();
          input->gradient = random.vector();
        }
        for (const Question question : kQuestions) {
          ASSERT_TRUE(agree(pair, output, question, sc, subject.log))
              << "\nof " << subject.describe() << "\nconnected: bits of seed " << which
              << ", trial " << trial;
        }
      }
    }
  }
}

void randomize(ShadingHost& host, Random& random) {
  constexpr std::int32_t kMoving[] = {0, 0, 1, -3, 256};
  host.services.cameraMoving = kMoving[random.below(std::size(kMoving))];
  host.services.log = random.once(4) ? nullptr : &host.printer;
  host.scene.lo = random.vector();
  host.scene.hi = random.vector();
  host.frame.frameTime = random.real();
  host.frame.worldToCamera = random.transform();
  host.frame.cameraToWorld = random.transform();
  host.frame.worldOffset = random.precise();
  host.frame.imageHeight = random.below(2000);
  host.sc.object = random.once(4) ? nullptr : &host.object;
  host.object.offers = !random.once(4);
  host.sc.surface = random.once(4) ? nullptr : &host.surface;
  host.surface.offers = !random.once(4);
  host.sc.rayDirection = random.vector();
  host.sc.rayTime = random.real();
  host.sc.imageX = std::ldexp(random.real(), random.below(30));
  host.sc.imageY = std::ldexp(random.real(), random.below(30));
  host.sc.shadingPoint = random.precise();
  host.sc.normal = random.vector();
  host.sc.geometricNormal = random.vector();
  host.sc.backfacing = random.once(8) ? random.below(1000) - 500 : random.below(2);
  host.uvw.a = random.vector();
  host.uvw.b = random.vector();
  host.uvw.c = random.vector();
  host.uvw.uvw = random.vector();
  host.materialId.id = random.below(100) - 50;
}

std::string describe(const ShadingHost& host) {
  std::ostringstream out;
  Answer numbers;
  for (const Vector& v : {host.sc.rayDirection, host.sc.normal, host.uvw.a, host.uvw.b, host.uvw.c,
                          host.scene.lo, host.scene.hi}) {
    numbers.add(v);
  }
  out << "\nray, normal, uvw derivatives, box: " << numbers;
  const DVector& p = host.sc.shadingPoint;
  numbers = {{p.x, p.y, p.z, host.sc.rayTime, host.sc.imageX, host.sc.imageY}};
  out << "\npoint, ray time, image: " << numbers << "\nmoving " << host.services.cameraMoving
      << ", object " << (host.sc.object != nullptr) << host.object.offers << ", surface "
      << (host.sc.surface != nullptr) << host.surface.offers;
  return out.str();
}

TEST(Sweep, OutputsOfTheContextAnswerAndAskAsTheirTwins) {
  std::vector<twins::Pair> pairs = twins::pairs();
  std::erase_if(pairs, [](const twins::Pair& pair) { return pair.plugin != "TexSampler"; });
  Instance sampler("TexSampler");
  sampler.plugin().renderBegin(nullptr);
  Log log;
  ShadingHost host;
  host.log = &log;
  constexpr std::uint32_t kSeed = 1;
  Random random(kSeed);
  for (unsigned trial = 0; trial < kTrials; ++trial) {
    random.beginTrial();
    randomize(host, random);
    if (trial == 0 || random.once(2)) {  // or the frame goes on, with the planes that it has
      sampler.frameBegin();
      twins::clipPlanes().computed = 0;
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) {
      const twins::Pair& pair = pairs[(i + trial) % pairs.size()];
      auto& output = sampler.output<PluginInterface>(pair.output.c_str());
      for (const Question question : kQuestions) {
        ASSERT_TRUE(agree(pair, output, question, host.sc, log))
            << describe(host) << "\nseed " << kSeed << ", trial " << trial;
      }
    }
  }
}

}  // namespace
