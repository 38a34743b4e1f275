#include <gtest/gtest.h>

#include <utility>

#include "tests/support/bits.h"
#include "tests/support/library.h"
#include "tests/support/recording_textures.h"

namespace {

using namespace test;
using namespace QUtils;

/// A `Float3ToAColor` with four recording inputs.
class Float3ToAColorTest : public ::testing::Test {
 protected:
  Float3ToAColorTest() {
    for (RecordingFloat& input : inputs) connect(input, true);
  }

  void connect(RecordingFloat& input, bool connected) {
    ASSERT_TRUE(plugin.connect(input.name.c_str(), connected ? &input : nullptr));
  }

  void begin(bool inverted) {
    ASSERT_TRUE(plugin.set("invert", inverted));
    plugin.frameBegin();
  }

  Calls asked() { return std::exchange(calls, {}); }

  Calls calls;
  RecordingFloat inputs[4] = {
      {calls, "float1"}, {calls, "float2"}, {calls, "float3"}, {calls, "alpha"}};
  ShadingContext sc{};
  Instance plugin{"Float3ToAColor"};
  TextureInterface& output = plugin.output<TextureInterface>("color");
  TextureInterface& itself =
      *static_cast<TextureInterface*>(plugin.object().getInterface(EXT_TEXTURE));
};

float invertedOnce(float x) {
  const float difference = 1.0F - x;
  return 0.0F > difference ? 0.0F : difference;
}

float meanSlope(float x, float y, float z, bool inverted) {
  const float first = x + y;
  const float mean = (first + z) / 3.0F;
  return inverted ? 0.0F - mean : mean;
}

TEST_F(Float3ToAColorTest, AnswersAsItsFormulasRoundStepByStep) {
  RandomFloats random(20240509);
  for (int trial = 0; trial < 4000; ++trial) {
    SCOPED_TRACE(trial);
    float values[4];
    float lo[4];
    float hi[4];
    Vector slopes[4];
    Calls connected;
    for (int i = 0; i < 4; ++i) {
      RecordingFloat& input = inputs[i];
      const bool present = !random.once(6);
      connect(input, present);
      input.value = random.next();
      input.lo = random.next();
      input.hi = random.next();
      input.gradient = random.nextVector();
      input.expectedContext = &sc;
      values[i] = present ? input.value : 1.0F;
      lo[i] = present ? input.lo : 1.0F;
      hi[i] = present ? input.hi : 1.0F;
      slopes[i] = present ? input.gradient : Vector{};
      if (present) connected.push_back(input.name);
    }
    const auto questions = [&connected](const std::string& question, bool alphaToo) {
      Calls result;
      for (const std::string& name : connected) {
        if (alphaToo || name != "alpha") result.emplace_back(name).append(".").append(question);
      }
      return result;
    };
    const bool inverted = random.once(2);
    begin(inverted);

    AColor color{values[0], values[1], values[2], values[3]};
    AColor least{lo[0], lo[1], lo[2], 1.0F};
    AColor greatest{hi[0], hi[1], hi[2], 1.0F};
    if (inverted) {
      color = {invertedOnce(values[0]), invertedOnce(values[1]), invertedOnce(values[2]),
               values[3]};
      least = {1.0F - hi[0], 1.0F - hi[1], 1.0F - hi[2], 1.0F};
      greatest = {1.0F - lo[0], 1.0F - lo[1], 1.0F - lo[2], 1.0F};
    }
    const Vector gradient{meanSlope(slopes[0].x, slopes[1].x, slopes[2].x, inverted),
                          meanSlope(slopes[0].y, slopes[1].y, slopes[2].y, inverted),
                          meanSlope(slopes[0].z, slopes[1].z, slopes[2].z, inverted)};

    for (TextureInterface* texture : {&output, &itself}) {
      ASSERT_TRUE(same(texture->getColor(sc), color));
      ASSERT_EQ(asked(), questions("value", true));
      AColor gotLeast{};
      AColor gotGreatest{};
      texture->getColorBounds(gotLeast, gotGreatest);
      ASSERT_TRUE(same(gotLeast, least));
      ASSERT_TRUE(same(gotGreatest, greatest));
      ASSERT_EQ(asked(), questions("bounds", false));
      ASSERT_TRUE(same(texture->getGradient(sc), gradient));
      ASSERT_EQ(asked(), questions("gradient", false));
    }
  }
}

TEST_F(Float3ToAColorTest, ClampsInvertedValuesFromBelowOnlyAndBoundsNotAtAll) {
  inputs[0].answer(1.5F, 0.25F, 1.5F, {3, 0, 0});
  inputs[1].answer(-0.25F, -0.25F, 0.5F, {0, 3, 0});
  inputs[2].answer(kNaN, 0, 1, {0, 0, 3});
  inputs[3].answer(0.25F, 0, 0.5F, {9, 9, 9});
  AColor lo{};
  AColor hi{};
  begin(false);
  EXPECT_TRUE(same(output.getColor(sc), AColor{1.5F, -0.25F, kNaN, 0.25F}));
  EXPECT_TRUE(same(output.getGradient(sc), Vector{1, 1, 1}));
  begin(true);
  EXPECT_TRUE(same(output.getColor(sc), AColor{0, 1.25F, kNaN, 0.25F}));
  EXPECT_TRUE(same(output.getGradient(sc), Vector{-1, -1, -1}));
  output.getColorBounds(lo, hi);
  EXPECT_TRUE(same(lo, AColor{-0.5F, 0.5F, 0, 1}));
  EXPECT_TRUE(same(hi, AColor{0.75F, 1.25F, 1, 1}));
}

TEST_F(Float3ToAColorTest, SeesNewValuesOnlyFromTheNextFrameOn) {
  begin(false);
  inputs[0].value = 0.25F;
  ASSERT_TRUE(plugin.set("invert", true));
  connect(inputs[3], false);
  plugin.plugin().QuorPluginInterface::frameBegin(nullptr);  // the host's part of it alone
  EXPECT_TRUE(same(itself.getColor(sc), AColor{0.25F, 0, 0, 0}));
  plugin.frameBegin();
  EXPECT_TRUE(same(itself.getColor(sc), AColor{0.75F, 1, 1, 1}));
}

}  // namespace
