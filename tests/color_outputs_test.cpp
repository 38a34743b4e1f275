#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "tests/support/bits.h"
#include "tests/support/color_op.h"

namespace {

using namespace test;
using namespace QUtils;

// ------------------------------------------------------------------------------------------------
// The outputs of TexAColorOp worked out a second time, channel by channel, one rounded step after
// the other.

float lesser(float x, float y) { return x < y ? x : y; }
float greater(float x, float y) { return x > y ? x : y; }
float times(float x, float y) { return x * y; }
float plus(float x, float y) { return x + y; }
float minus(float x, float y) { return x - y; }
float over(float x, float y) { return x / y; }
float mean(const AColor& c) { return ((c.r + c.g) + c.b) / 3.0F; }

struct Bounds {
  float lo, hi;
};

/// The extremes of the four corners, nested from (lo, lo) outwards.
Bounds corners(float op(float, float), Bounds a, Bounds b) {
  const float ll = op(a.lo, b.lo);
  const float lh = op(a.lo, b.hi);
  const float hl = op(a.hi, b.lo);
  const float hh = op(a.hi, b.hi);
  return {lesser(hh, lesser(hl, lesser(lh, ll))), greater(hh, greater(hl, greater(lh, ll)))};
}

/// One channel of a colour with its multiplier, and the bounds of both.
struct Channel {
  float c, m;
};
struct Box {
  Bounds c, m;
};
Bounds scaled(Box a) { return corners(times, a.c, a.m); }
Bounds signedDifference(Box a, Box b) { return corners(minus, scaled(a), scaled(b)); }

/// One component of a gradient, with the numbers that enter it.
struct Slope {
  float intensity, scaled, d;
};

const Calls kFirst{"mult_a", "color_a"};
const Calls kSecond{"mult_b", "color_b"};
const Calls kBoth{"mult_a", "mult_b", "color_a", "color_b"};
const Calls kBase{"mult_a", "mult_b", "color_a"};
const Calls kNone;

/// Where the alpha of a result comes from that has no `result_alpha`.
enum class Alpha { Formula, OwnOfA, OwnOfB, Product };

struct ColorOutput {
  const char* name;   ///< of the output; null where only the mode reaches it
  std::int32_t mode;  ///< selects it as the main texture
  const Calls& inputs;
  const Calls& gradientInputs;
  Alpha alpha, alphaBounds;
  float (*value)(Channel a, Channel b);
  Bounds (*bounds)(Box a, Box b);
  float (*slope)(Slope a, Slope b);
};

const ColorOutput kColorOutputs[] = {
    {"result_a", 0, kFirst, kFirst, Alpha::OwnOfA, Alpha::OwnOfA,
     [](Channel a, Channel) { return a.c * a.m; }, [](Box a, Box) { return scaled(a); },
     [](Slope a, Slope) { return a.d; }},
    {"result_b", 1, kSecond, kSecond, Alpha::OwnOfB, Alpha::OwnOfB,
     [](Channel, Channel b) { return b.c * b.m; }, [](Box, Box b) { return scaled(b); },
     [](Slope, Slope b) { return b.d; }},
    {"product", 2, kBoth, kBoth, Alpha::Formula, Alpha::Formula,
     [](Channel a, Channel b) { return (a.c * b.c) * (a.m * b.m); },
     [](Box a, Box b) {
       return corners(times, corners(times, a.c, b.c), corners(times, a.m, b.m));
     },
     [](Slope a, Slope b) { return a.d * b.scaled + a.scaled * b.d; }},
    {"sum", 3, kBoth, kBoth, Alpha::OwnOfA, Alpha::OwnOfA,
     [](Channel a, Channel b) { return a.c * a.m + b.c * b.m; },
     [](Box a, Box b) { return corners(plus, scaled(a), scaled(b)); },
     [](Slope a, Slope b) { return a.d + b.d; }},
    {"difference", 4, kBoth, kBoth, Alpha::OwnOfA, Alpha::OwnOfA,
     [](Channel a, Channel b) { return a.c * a.m - b.c * b.m; }, signedDifference,
     [](Slope a, Slope b) { return a.d - b.d; }},
    {"power", 5, kBase, kNone, Alpha::OwnOfA, Alpha::OwnOfA,
     [](Channel a, Channel b) { return powf(a.c * a.m, b.m); },
     [](Box a, Box b) { return corners(powf, scaled(a), b.m); }, [](Slope, Slope) { return 0.0F; }},
    {"division", 6, kBoth, kBoth, Alpha::Product, Alpha::Formula,
     [](Channel a, Channel b) { return (a.c * a.m) / (b.c * b.m); },
     [](Box a, Box b) { return corners(times, corners(over, a.c, b.c), corners(over, a.m, b.m)); },
     [](Slope a, Slope b) {
       if (b.scaled == 0) return 0.0F;
       return (a.d * b.scaled - a.scaled * b.d) / (b.scaled * b.scaled);
     }},
    {"minimum", 7, kBoth, kBoth, Alpha::Formula, Alpha::Formula,
     [](Channel a, Channel b) { return lesser(a.c * a.m, b.c * b.m); },
     [](Box a, Box b) {
       return Bounds{lesser(scaled(a).lo, scaled(b).lo), lesser(scaled(a).hi, scaled(b).hi)};
     },
     [](Slope a, Slope b) { return b.intensity > a.intensity ? a.d : b.d; }},
    {"maximum", 8, kBoth, kBoth, Alpha::Formula, Alpha::Formula,
     [](Channel a, Channel b) { return greater(a.c * a.m, b.c * b.m); },
     [](Box a, Box b) {
       return Bounds{greater(scaled(a).lo, scaled(b).lo), greater(scaled(a).hi, scaled(b).hi)};
     },
     [](Slope a, Slope b) { return a.intensity > b.intensity ? a.d : b.d; }},
    {nullptr, 9, kBoth, kBoth, Alpha::OwnOfA, Alpha::OwnOfA,
     [](Channel a, Channel b) { return std::fabs(a.c * a.m - b.c * b.m); },
     [](Box a, Box b) {
       const Bounds d = signedDifference(a, b);
       return d.lo < 0 ? Bounds{0, -d.lo > d.hi ? -d.lo : d.hi} : d;
     },
     [](Slope a, Slope b) { return a.scaled > b.scaled ? a.d - b.d : b.d - a.d; }},
};

struct FloatOutput {
  const char* name;
  float (*value)(const AColor& c, float m);
  float (*bound)(const AColor& c);
  const Calls& gradientInputs;
};

const FloatOutput kFloatOutputs[] = {
    {"red", [](const AColor& c, float m) { return c.r * m; }, [](const AColor& c) { return c.r; },
     kFirst},
    {"green", [](const AColor& c, float m) { return c.g * m; }, [](const AColor& c) { return c.g; },
     kFirst},
    {"blue", [](const AColor& c, float m) { return c.b * m; }, [](const AColor& c) { return c.b; },
     kFirst},
    {"alpha", [](const AColor& c, float m) { return c.a * m; }, [](const AColor& c) { return c.a; },
     kNone},
    {"intensity", [](const AColor& c, float m) { return (m * ((c.r + c.g) + c.b)) / 3.0F; }, mean,
     kFirst},
};

/// What one colour and its multiplier answer; the defaults are what absent ones count as.
struct Side {
  AColor c{}, lo{}, hi{};
  Vector dc{};
  float m = 1;
  Bounds mRange{1, 1};
  Vector dm{};

  Channel channel(float AColor::*which) const { return {c.*which, m}; }
  Box box(float AColor::*which) const { return {{lo.*which, hi.*which}, mRange}; }
  Slope slope(float Vector::*component) const {
    const float i = mean(c);
    return {i, m * i, dc.*component * m + dm.*component * i};
  }
};

constexpr float AColor::*kChannels[] = {&AColor::r, &AColor::g, &AColor::b, &AColor::a};
constexpr float Vector::*kComponents[] = {&Vector::x, &Vector::y, &Vector::z};

AColor expectedColor(const ColorOutput& output, const Side& a, const Side& b, const float* alpha) {
  AColor result{};
  for (float AColor::*const which : kChannels) {
    result.*which = output.value(a.channel(which), b.channel(which));
  }
  if (output.alpha == Alpha::OwnOfA) result.a = a.c.a;
  if (output.alpha == Alpha::OwnOfB) result.a = b.c.a;
  if (output.alpha == Alpha::Product) result.a = (a.c.a * a.m) * (b.c.a * b.m);
  if (alpha != nullptr) result.a = *alpha;
  if (output.mode == 9) result.a = std::fabs(result.a);
  return result;
}

std::pair<AColor, AColor> expectedBounds(const ColorOutput& output, const Side& a, const Side& b,
                                         const Bounds* alpha) {
  AColor lo{};
  AColor hi{};
  for (float AColor::*const which : kChannels) {
    Bounds range = output.bounds(a.box(which), b.box(which));
    if (which == &AColor::a) {
      if (output.alphaBounds == Alpha::OwnOfA) range = a.box(which).c;
      if (output.alphaBounds == Alpha::OwnOfB) range = b.box(which).c;
      if (alpha != nullptr) range = *alpha;
    }
    lo.*which = range.lo;
    hi.*which = range.hi;
  }
  return {lo, hi};
}

Vector expectedGradient(const ColorOutput& output, const Side& a, const Side& b) {
  Vector result{};
  for (float Vector::*const component : kComponents) {
    result.*component = output.slope(a.slope(component), b.slope(component));
  }
  return result;
}

// ------------------------------------------------------------------------------------------------

class ColorOutputsTest : public ColorOpTest {
 protected:
  /// Connections and answers at random, with ties between the two sides.
  void randomize(RandomFloats& random) {
    Calls names;
    for (const char* name : {"color_a", "color_b", "mult_a", "mult_b"}) {
      if (!random.once(8)) names.emplace_back(name);
    }
    if (random.once(2)) names.emplace_back("result_alpha");
    connect(names);
    for (RecordingColor* input : {&color_a, &color_b}) {
      input->expectedContext = &sc;
      input->value = random.nextColor();
      input->lo = random.nextColor();
      input->hi = random.nextColor();
      input->gradient = random.nextVector();
    }
    for (RecordingFloat* input : {&mult_a, &mult_b, &result_alpha}) {
      input->expectedContext = &sc;
      input->value = random.next();
      input->lo = random.next();
      input->hi = random.next();
      input->gradient = random.nextVector();
    }
    if (random.once(4)) color_b.value = color_a.value;
    if (random.once(4)) mult_b.value = mult_a.value;
    a = side(color_a, mult_a);
    b = side(color_b, mult_b);
  }

  Side side(const RecordingColor& c, const RecordingFloat& m) const {
    Side result;
    if (isConnected(c.name)) {
      result.c = c.value;
      result.lo = c.lo;
      result.hi = c.hi;
      result.dc = c.gradient;
    }
    if (isConnected(m.name)) {
      result.m = m.value;
      result.mRange = {m.lo, m.hi};
      result.dm = m.gradient;
    }
    return result;
  }

  /// That question to those of the inputs that are connected, in order.
  Calls questions(const Calls& inputs, const std::string& question) const {
    Calls result;
    for (const std::string& input : inputs) {
      if (isConnected(input)) result.emplace_back(input).append(".").append(question);
    }
    return result;
  }

  Calls gradientQuestions(const Calls& inputs) const {
    Calls result = questions(inputs, "value");
    for (const std::string& call : questions(inputs, "gradient")) result.push_back(call);
    return result;
  }

  void expectAnswers(TextureInterface& texture, const ColorOutput& output) {
    Calls inputs = output.inputs;
    inputs.emplace_back("result_alpha");
    const bool withAlpha = isConnected("result_alpha");
    const Bounds alphaBounds{result_alpha.lo, result_alpha.hi};

    ASSERT_TRUE(same(texture.getColor(sc),
                     expectedColor(output, a, b, withAlpha ? &result_alpha.value : nullptr)));
    ASSERT_EQ(asked(), questions(inputs, "value"));

    const auto [lo, hi] = expectedBounds(output, a, b, withAlpha ? &alphaBounds : nullptr);
    AColor gotLo{7, 7, 7, 7};
    AColor gotHi{7, 7, 7, 7};
    texture.getColorBounds(gotLo, gotHi);
    ASSERT_TRUE(same(gotLo, lo));
    ASSERT_TRUE(same(gotHi, hi));
    ASSERT_EQ(asked(), questions(inputs, "bounds"));

    ASSERT_TRUE(same(texture.getGradient(sc), expectedGradient(output, a, b)));
    ASSERT_EQ(asked(), gradientQuestions(output.gradientInputs));
  }

  Side a, b;
};

TEST_F(ColorOutputsTest, AnswerAsTheirFormulasRoundStepByStep) {
  RandomFloats random(20240507);
  for (int trial = 0; trial < 3000; ++trial) {
    randomize(random);
    for (const ColorOutput& output : kColorOutputs) {
      SCOPED_TRACE(testing::Message() << "mode " << output.mode << ", trial " << trial);
      if (output.name != nullptr) expectAnswers(color(output.name), output);
      setMode(output.mode);
      expectAnswers(mainTexture(), output);
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(ColorOutputsTest, OfOneNumberAnswerAsTheirFormulasRoundStepByStep) {
  RandomFloats random(20240508);
  for (int trial = 0; trial < 3000; ++trial) {
    randomize(random);
    for (const FloatOutput& output : kFloatOutputs) {
      SCOPED_TRACE(testing::Message() << output.name << ", trial " << trial);
      TextureFloatInterface& texture = number(output.name);
      ASSERT_TRUE(same(texture.getFloat(sc), output.value(a.c, a.m)));
      ASSERT_EQ(asked(), questions(kFirst, "value"));

      const Bounds range = corners(times, {output.bound(a.lo), output.bound(a.hi)}, a.mRange);
      Bounds got{7, 7};
      texture.getFloatBounds(got.lo, got.hi);
      ASSERT_TRUE(same(got.lo, range.lo));
      ASSERT_TRUE(same(got.hi, range.hi));
      ASSERT_EQ(asked(), questions(kFirst, "bounds"));

      Vector gradient{};
      if (!output.gradientInputs.empty()) {
        for (float Vector::*const component : kComponents) {
          gradient.*component = a.slope(component).d;
        }
      }
      ASSERT_TRUE(same(texture.getGradient(sc), gradient));
      ASSERT_EQ(asked(), gradientQuestions(output.gradientInputs));
    }
  }
}

// ------------------------------------------------------------------------------------------------
// Worked out by hand.

TEST_F(ColorOutputsTest, LetNoSignOfAlphaThroughTheAbsoluteDifference) {
  connect({"color_a", "result_alpha"});
  for (const float alpha : {-0.25F, -0.0F}) {
    result_alpha.value = alpha;
    EXPECT_TRUE(same(color("difference").getColor(sc).a, alpha));
    setMode(9);
    EXPECT_TRUE(same(mainTexture().getColor(sc).a, -alpha));
  }
}

TEST_F(ColorOutputsTest, ChooseTheirGradientByIntensitiesOfTheirOwn) {
  connect({"color_a", "color_b", "mult_a", "mult_b"});
  color_a.value = {0.5F, 0.5F, 0.5F, 9};
  color_b.value = {0.125F, 0.125F, 0.125F, 9};
  mult_a.value = 1;
  mult_b.value = 10;
  color_a.gradient = {1, 0, 0};
  color_b.gradient = {0, 1, 0};
  EXPECT_TRUE(same(color("minimum").getGradient(sc), Vector{0, 10, 0}));
  EXPECT_TRUE(same(color("maximum").getGradient(sc), Vector{1, 0, 0}));
  setMode(9);
  EXPECT_TRUE(same(mainTexture().getGradient(sc), Vector{-1, 10, 0}));
}

/// Notes where it is asked to write its bounds, and what stood there until then.
class PlaceRecorder final : public TextureFloatInterface {
 public:
  PluginBase* getPlugin() override { return nullptr; }
  float getFloat(const ShadingContext& /*sc*/) const override { return 0; }
  void getFloatBounds(float& min, float& max) const override {
    lo = &min;
    hi = &max;
    loBefore = std::exchange(min, -5);
    hiBefore = std::exchange(max, 5);
  }
  mutable const float* lo = nullptr;
  mutable const float* hi = nullptr;
  mutable float loBefore = 0, hiBefore = 0;
};

TEST_F(ColorOutputsTest, LetResultAlphaWriteItsBoundsInPlace) {
  PlaceRecorder places;
  ASSERT_TRUE(op.connect("result_alpha", &places));
  op.frameBegin();
  color_a.answer({}, {1, 1, 1, 2}, {1, 1, 1, 3});
  color_b.answer({}, {1, 1, 1, 2}, {1, 1, 1, 3});
  for (const ColorOutput& output : kColorOutputs) {
    setMode(output.mode);
    AColor lo{};
    AColor hi{};
    mainTexture().getColorBounds(lo, hi);
    EXPECT_EQ(places.lo, &lo.a) << output.mode;
    EXPECT_EQ(places.hi, &hi.a) << output.mode;
    EXPECT_EQ(lo.a, -5) << output.mode;
    EXPECT_EQ(hi.a, 5) << output.mode;
    if (output.alphaBounds != Alpha::OwnOfA) continue;
    EXPECT_EQ(places.loBefore, 2) << output.mode;
    EXPECT_EQ(places.hiBefore, 3) << output.mode;
  }
}

}  // namespace
