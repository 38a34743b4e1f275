#include <gtest/gtest.h>

#include <limits>

#include "standin/shader_source.h"
#include "tests/support/bits.h"
#include "tests/support/color_op.h"

namespace {

using namespace test;
using namespace QUtils;

class TexAColorOpTest : public ColorOpTest {
 protected:
  /// Inputs for which no two outputs have the same red.
  void SetUp() override {
    connect({"color_a", "color_b", "mult_a", "mult_b"});
    color_a.value = {3, 0, 0, 0};
    color_b.value = {7, 0, 0, 0};
    mult_a.value = 1;
    mult_b.value = 2;
  }

  float mainRed() { return mainTexture().getColor(sc).r; }

  RTTexInterface& intensitySource() {
    PluginBase* object = number("intensity").getPlugin();
    return *static_cast<RTTexInterface*>(object->getInterface(EXT_RTTEX));
  }
  RTTexInterface& pluginSource() {
    return *static_cast<RTTexInterface*>(op.object().getInterface(EXT_RTTEX));
  }
};

TEST_F(TexAColorOpTest, IsTheOutputThatItsModeSelects) {
  struct Row {
    std::int32_t mode;
    float red;
  };
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t kGreatest = std::numeric_limits<std::int32_t>::max();
  EXPECT_TRUE(same(mainRed(), 3.0F));  // the default
  for (const Row& row :
       {Row{1, 14}, Row{2, 42}, Row{3, 17}, Row{4, -11}, Row{5, 9}, Row{6, 3.0F / 14.0F}, Row{7, 3},
        Row{8, 14}, Row{9, 11}, Row{0, 3}, Row{10, 3}, Row{-1, 3}, Row{kLeast, 3},
        Row{kLeast + 1, 3}, Row{kGreatest, 3}}) {
    setMode(row.mode);
    EXPECT_TRUE(same(mainRed(), row.red)) << row.mode;
  }
}

TEST_F(TexAColorOpTest, BoundsTheAbsoluteDifferenceByTheDifference) {
  struct Row {
    float lo, hi, expectedLo, expectedHi;
  };
  connect({"color_a", "result_alpha"});
  setMode(9);
  for (const Row& row : {Row{-2, 1, 0, 2}, Row{-1, 3, 0, 3}, Row{0.5F, 4, 0.5F, 4},
                         Row{-3, -2, 0, 3}, Row{-1, 1, 0, 1}, Row{0, 2, 0, 2}}) {
    SCOPED_TRACE(testing::Message() << row.lo << " to " << row.hi);
    color_a.answer({}, {row.lo, 0, row.lo, 9}, {row.hi, 1, row.hi, 9});
    result_alpha.answer(0, row.lo, row.hi);
    AColor lo{};
    AColor hi{};
    mainTexture().getColorBounds(lo, hi);
    EXPECT_TRUE(same(lo, AColor{row.expectedLo, 0, row.expectedLo, row.lo}));
    EXPECT_TRUE(same(hi, AColor{row.expectedHi, 1, row.expectedHi, row.hi}));
  }
}

TEST_F(TexAColorOpTest, FollowsItsModeAtOnceAndItsConnectionsFromTheNextFrameOn) {
  connectLater({"color_b"});
  setMode(3);
  EXPECT_TRUE(same(mainRed(), 17.0F));
  EXPECT_TRUE(same(number("red").getFloat(sc), 3.0F));
  op.frameBegin();
  EXPECT_TRUE(same(mainRed(), 7.0F));
  EXPECT_TRUE(same(number("red").getFloat(sc), 0.0F));
}

TEST_F(TexAColorOpTest, OffersOutputsThatAreNoObjectsButForTheIntensity) {
  for (const char* name : {"product", "division", "minimum", "maximum", "sum", "difference",
                           "result_a", "result_b", "power"}) {
    EXPECT_EQ(color(name).getInterfaceId(), EXT_TEXTURE) << name;
    EXPECT_STREQ(color(name).getInterfaceName(), "EXT_TEXTURE") << name;
    EXPECT_EQ(color(name).getPlugin(), nullptr) << name;
    color(name).release();
  }
  for (const char* name : {"red", "green", "blue", "alpha", "intensity"}) {
    EXPECT_EQ(number(name).getInterfaceId(), EXT_TEXTURE_FLOAT) << name;
    EXPECT_STREQ(number(name).getInterfaceName(), "EXT_TEXTURE_FLOAT") << name;
    EXPECT_EQ(number(name).getPlugin() != nullptr, name == std::string("intensity")) << name;
    number(name).release();
  }
  EXPECT_EQ(color("result_a").getColor(sc).r, 3);

  ASSERT_NE(number("intensity").getPlugin(), nullptr);
  PluginBase& object = *number("intensity").getPlugin();
  EXPECT_EQ(object.getInterface(EXT_RTTEX | InterfaceId{1} << 32), nullptr);
  EXPECT_EQ(object.getInterface(EXT_TEXTURE_FLOAT), nullptr);
  EXPECT_EQ(object.addInterface(&color_a, 0), 1);
  EXPECT_EQ(object.getInterface(EXT_TEXTURE), &color_a);

  EXPECT_EQ(intensitySource().getInterfaceId(), EXT_RTTEX);
  EXPECT_STREQ(intensitySource().getInterfaceName(), "EXT_RTTEX");
  EXPECT_EQ(intensitySource().getPlugin(), &object);
  intensitySource().release();
  EXPECT_EQ(pluginSource().getPlugin(), &op.object());
  EXPECT_STREQ(pluginSource().getInterfaceName(), "EXT_RTTEX");
}

TEST_F(TexAColorOpTest, HandsItsFirstColourToTheShaderSourceGenerator) {
  struct Row {
    std::string valueKind, descriptorKind;
    bool plugin, intensity;  ///< which of the two serve it
  };
  const Row rows[] = {
      {"color", "MaterialDescriptor", true, false},
      {"float", "MaterialDescriptor", false, true},
      {"Color", "MaterialDescriptor", false, false},
      {"Float", "MaterialDescriptor", false, false},
      {"color ", "MaterialDescriptor", false, false},
      {"float ", "MaterialDescriptor", false, false},
      {"colo", "MaterialDescriptor", false, false},
      {"", "MaterialDescriptor", false, false},
      {"color", "materialDescriptor", false, false},
      {"float", "MaterialDescriptor ", false, false},
      {"color", "", false, false},
  };
  for (RTTexInterface* const asker : {&pluginSource(), &intensitySource()}) {
    for (const Row& row : rows) {
      for (const std::int32_t answer : {0, 1}) {
        SCOPED_TRACE(row.valueKind + ", " + row.descriptorKind);
        ShaderSource source;
        OCLData oclData;
        source.answer = answer;
        const std::string second = "any";
        const bool served = asker == &pluginSource() ? row.plugin : row.intensity;
        EXPECT_EQ(asker->getShaderSource(row.valueKind.c_str(), second.c_str(),
                                         row.descriptorKind.c_str(), source, oclData),
                  served ? 1 : 0);
        ASSERT_EQ(source.requests.size(), served ? 1U : 0U);
        ASSERT_EQ(oclData.requests, served ? 1 : 0);
        if (!served) continue;
        EXPECT_EQ(source.requests[0].asker, asker);
        EXPECT_EQ(source.requests[0].texture, &color_a);
        EXPECT_EQ(source.requests[0].outputName, row.valueKind.c_str());
        EXPECT_EQ(source.requests[0].secondName, second.c_str());
        EXPECT_EQ(source.requests[0].descriptorKind, row.descriptorKind.c_str());
      }
    }
    int anything = 0;
    asker->setShaderInfo(&anything);
    EXPECT_EQ(asker->getShaderInfo(), nullptr);
  }
  EXPECT_EQ(asked(), Calls{});
}

TEST_F(TexAColorOpTest, SeesItsFirstColourAtOnceWhenAskedForShaderSource) {
  const auto requested = [](RTTexInterface& asker, const char* valueKind) {
    ShaderSource source;
    OCLData oclData;
    EXPECT_EQ(asker.getShaderSource(valueKind, "", "MaterialDescriptor", source, oclData), 1);
    return source.requests.at(0).texture;
  };
  connectLater({"color_b"});
  writeFieldsOnly();
  EXPECT_EQ(requested(pluginSource(), "color"), nullptr);
  EXPECT_EQ(requested(intensitySource(), "float"), &color_a);
  op.frameBegin();
  EXPECT_EQ(requested(intensitySource(), "float"), nullptr);
}

}  // namespace
