#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "standin/shader_source.h"
#include "tests/support/shading_host.h"
#include "tests/support/subject.h"

// What a person can work out on paper, and what holds for every output alike.

namespace {

using namespace test;

/// What the host does by itself: the plugin's fields get their values, its outputs do not.
void writeFieldsOnly(Instance& plugin) { plugin.plugin().QuorPluginInterface::frameBegin(nullptr); }

/// The next word, if it is a number in the notation of C.
bool readNumber(std::istream& row, double& number) {
  const auto place = row.tellg();
  std::string word;
  row >> word;
  char* end = nullptr;
  number = std::strtod(word.c_str(), &end);
  if (end != word.c_str() && *end == '\0') return true;
  row.clear();
  row.seekg(place);
  return false;
}

/// As many numbers as there are.
template <class... T>
void readNumbers(std::istream& row, T&... numbers) {
  double number = 0;
  ((readNumber(row, number) && ((numbers = static_cast<T>(number)), true)) && ...);
}

Answer readAnswer(std::istream& row) {
  Answer answer;
  for (double number = 0; readNumber(row, number);) answer.numbers.push_back(number);
  return answer;
}

/// A row is "PLUGIN OUTPUT QUESTION INPUT NUMBERS ... = ANSWER"; the output "itself" is the
/// plugin's own texture. The numbers of an input are its value, after "to" its upper bound (they
/// are then the lower one), after "slope" its gradient. Inputs that are not named are absent.
void expectRow(const char* text) {
  std::istringstream row(text);
  std::string plugin, output, question, name;
  row >> plugin >> output >> question;
  Instance instance(plugin);
  std::vector<std::unique_ptr<Input>> inputs;
  while (row >> name && name != "=") {
    if (name == "mode" || name == "invert") {
      std::int32_t number = 0;
      row >> number;
      EXPECT_TRUE(name == "mode" ? instance.set("mode", number)
                                 : instance.set("invert", number != 0));
    } else if (name == "to") {
      AColor& hi = inputs.back()->hi;
      readNumbers(row, hi.r, hi.g, hi.b, hi.a);
    } else if (name == "slope") {
      Vector& gradient = inputs.back()->gradient;
      readNumbers(row, gradient.x, gradient.y, gradient.z);
    } else {
      Input& input = *inputs.emplace_back(std::make_unique<Input>(name));
      readNumbers(row, input.value.r, input.value.g, input.value.b, input.value.a);
      input.lo = input.value;
      EXPECT_TRUE(instance.connect(name.c_str(), input.texture())) << text;
    }
  }
  instance.frameBegin();
  const PluginInterface& texture = output == "itself"
                                       ? *instance.object().getInterface(EXT_TEXTURE)
                                       : instance.output<PluginInterface>(output.c_str());
  const auto* const asked = std::ranges::find(kQuestionNames, question);
  const auto which = static_cast<Question>(asked - kQuestionNames);
  EXPECT_EQ(ask(texture, which, {}), readAnswer(row)) << text;
}

TEST(WorkedRows, OfInputs) {
  const char* const rows[] = {
      // Absent numbers count as 0, but the second one as 1 where 0 would leave nothing.
      "TexFloatOp product value float_a 5 = 0",
      "TexFloatOp sum value float_a 5 = 5",
      "TexFloatOp difference bounds float_a 5 to 6 = 5 6",
      "TexFloatOp ratio value float_a 5 = 5",
      "TexFloatOp power bounds float_a 5 to 6 = 5 6",
      "TexFloatOp sin value = 0",
      "TexFloatOp cos value = 1",
      "TexFloatOp min value float_a 5 = 1",
      "TexFloatOp max bounds = 0 1",
      // The gradient of a product doubles the first half, and not before it is multiplied.
      "TexFloatOp product gradient float_a 2 slope 1 0 0 float_b 3 slope 9 9 9 = 6 0 0",
      "TexFloatOp product gradient float_a 2 slope 1 0.25 0 float_b 0x1p127 = inf 0x1p126 0",
      "TexFloatOp ratio value float_a 5 float_b -0 = 0",
      "TexFloatOp ratio gradient float_a 5 slope 1 1 1 float_b 0 slope 1 1 1 = 0 0 0",
      "TexFloatOp ratio gradient float_a 5 slope 1 2 3 = 0 0 0",
      "TexFloatOp ratio gradient float_a 6 slope 1 0 2 float_b 2 slope 0 1 1 = 0.5 -1.5 -0.5",
      // A divisor range around zero is not treated specially.
      "TexFloatOp ratio bounds float_a 1 to 1 float_b 0 to 2 = 0.5 inf",
      "TexFloatOp ratio bounds float_a 1 to 1 float_b -1 to 1 = -1 1",
      "TexFloatOp power gradient float_a 2 slope 1 1 1 float_b 3 slope 1 1 1 = 0 0 0",
      "TexFloatOp min bounds float_a 2 to 3 float_b 5 to 7 = 2 7",
      "TexFloatOp min gradient float_a 3 slope 1 1 1 float_b 3 slope 2 2 2 = 2 2 2",
      "TexFloatOp max gradient float_a nan slope 1 1 1 float_b 3 slope 2 2 2 = 2 2 2",

      "TexVectorOp dot_product value vector_a 1 2 3 vector_b 4 5 6 mult_a 2 mult_b 0.5 = 32",
      "TexVectorOp cross_product value vector_a 1 2 3 vector_b 4 5 6 mult_a 2 = -6 12 -6",
      "TexVectorOp sum value vector_a 1 2 3 vector_b 4 5 6 mult_a 2 mult_b 0.5 = 4 6.5 9",
      "TexVectorOp difference value vector_a 1 2 3 vector_b 4 5 6 mult_b 0.5 = -1 -0.5 0",
      "TexVectorOp result_b value vector_a 1 2 3 vector_b 4 5 6 mult_a 2 mult_b 0.5 = 2 2.5 3",
      "TexVectorOp z value vector_a 1 2 3 mult_a 2 = 6",
      // The sum of the dot product runs from x to z, in double precision.
      "TexVectorOp dot_product value vector_a 0x1p50 -0x1p50 1 vector_b 4 4 32 = 32",
      "TexVectorOp dot_product gradient vector_a 1 2 3 slope 1 1 1 vector_b 4 5 6 = 0 0 0",
      "TexVectorOp result_a gradient vector_a 3 4 0 slope 0 1 0 mult_a 2 slope 1 0 0 = 5 2 0",
      // The upper corner of "y" and "z" takes the x component of the vector.
      "TexVectorOp y bounds vector_a 0 1 2 to 10 2 3 = 1 10",
      "TexVectorOp z bounds vector_a 0 1 2 to 10 2 3 = 2 10",
      // Bounds from whole corner vectors leave out the value 0 that mixed corners reach.
      "TexVectorOp dot_product bounds vector_a 1 -1 to 2 1 vector_b 2 1 to 2 1 = 1 5",
      // Corners far below the smallest float: compared as doubles, they do not tie.
      "TexVectorOp dot_product bounds vector_a 1e-40 to -1e-40 vector_b 1e-40 to 1e-40 = -0 -0",

      "TexAColorOp sum value = 0 0 0 0",
      "TexAColorOp power value = 0 0 0 0",
      "TexAColorOp division value = nan nan nan 0",
      "TexAColorOp division gradient color_a 1 1 1 1 slope 1 1 1 = 0 0 0",
      "TexAColorOp result_a value color_a 0.5 0.25 0.125 0.75 mult_a 2 = 1 0.5 0.25 0.75",
      "TexAColorOp maximum value color_a 0.5 0.25 0.125 0.75 mult_a 2 = 1 0.5 0.25 1.5",
      "TexAColorOp minimum value color_a 0.5 0.25 0.125 0.75 mult_a 2 = 0 0 0 0",
      "TexAColorOp alpha value color_a 0.5 0.25 0.125 0.75 mult_a 2 = 1.5",
      "TexAColorOp division value color_a 1 1 1 1 color_b 2 4 0 0.5 = 0.5 0.25 inf 0.5",
      "TexAColorOp power value color_a -1 4 0 1 mult_b 0.5 = nan 2 0 1",
      "TexAColorOp green bounds color_a 0 -1 0 0 to 1 1 1 1 mult_a -2 to 3 = -3 3",
      "TexAColorOp intensity bounds color_a 0 -3 0 0 to 1 1 1 1 mult_a -2 to 3 = -3 3",
      // Minimum and maximum choose by the intensities without multipliers, mode 9 with them.
      ("TexAColorOp minimum gradient color_a 1 1 1 slope 1 0 0 color_b 0.5 0.5 0.5 slope 0 1 0 "
       "mult_b 10 = 0 10 0"),
      ("TexAColorOp itself gradient mode 9 color_a 1 1 1 slope 1 0 0 color_b 0.5 0.5 0.5 "
       "slope 0 1 0 mult_b 10 = -1 10 0"),
      // No sign of alpha gets through the absolute difference.
      "TexAColorOp difference value result_alpha -0.25 = 0 0 0 -0.25",
      "TexAColorOp itself value mode 9 result_alpha -0.25 = 0 0 0 0.25",
      "TexAColorOp itself value mode 9 result_alpha -0 = 0 0 0 0",
      "TexAColorOp itself bounds mode 9 color_a -2 0 -1 -2 to 1 1 3 1 = 0 0 0 -2 2 1 3 1",
      "TexAColorOp itself bounds mode 9 color_a 0.5 -3 0 1 to 4 -2 0 2 = 0.5 0 0 1 4 3 0 2",

      "Float3ToAColor color value = 1 1 1 1",
      "Float3ToAColor itself bounds invert 1 = 0 0 0 1 0 0 0 1",
      // Inverted values are clamped from below only, and bounds not at all.
      "Float3ToAColor color value float1 1.5 float2 -0.25 float3 nan alpha 3 = 1.5 -0.25 nan 3",
      ("Float3ToAColor itself value invert 1 float1 1.5 float2 -0.25 float3 nan alpha 3 = "
       "0 1.25 nan 3"),
      ("Float3ToAColor color bounds invert 1 float1 0.25 to 1.5 alpha 0 to 0 = "
       "-0.5 0 0 1 0.75 0 0 1"),
      "Float3ToAColor color gradient float1 0 slope 3 0 0 float3 0 slope 0 0 3 = 1 0 1",
  };
  for (const char* row : rows) expectRow(row);
}

TEST(WorkedRows, OfTheContext) {
  // "OUTPUT QUANTITY NUMBERS ... = ANSWER"; all other quantities are zero, matrices the identity.
  const char* const rows[] = {
      "point worldOffset 1000 0 0 shadingPoint 1 2 3 = 1001 2 3",
      "pointCamera worldOffset 1000 0 0 shadingPoint 1 2 3 cameraOffset 0 0 -5 = 1 2 -2",
      // What is not offered: render space, and zero.
      "pointObject offers 0 worldOffset 1000 0 0 shadingPoint 1 2 3 = 1 2 3",
      "normalObject offers 0 normal 1 2 3 = 1 2 3",
      "uvCoord offers 0 uvw 1 2 3 = 0 0 0",
      "material_id offers 0 materialId 7 = 0",
      "tangentUCamera offers 0 a 1 0 0 b 0 1 0 c 0 0 1 = 0 0 0",
      "material_id offers 1 materialId 7 = 7",
      // 1e-6 in 32 bits, and the number below.
      "rayDirection rayDirection 0 -0x1.0c6f7ap-20 0 = 0 -1 0",
      "rayDirection rayDirection 0x1.0c6f78p-20 0 0 = 0x1.0c6f78p-20 0 0",
      "rayDirection rayDirection 3e38 1 0 = 0 0 0",
      "tangentUCamera a 2 0 0 b 0 4 0 c 0 0 1 = 1 0 0",
      "tangentVCamera a 2 0 0 b 0 4 0 c 0 0 1 = 0 1 0",
      "tangentVCamera a 1 2 3 b 1 2 3 c 0 0 1 = 0 0 0",
      // A determinant of 1e-60 rounds to zero: the axes are infinite, and their lengths too.
      "tangentUCamera a 1e-20 0 0 b 0 1e-20 0 c 0 0 1e-20 = nan nan nan",
      // The motion of the camera makes a direction even of singular derivatives.
      "tangentUCamera moving 1 = 0 0 1",
      "facing_ratio normal 0 0 1 rayDirection 0 0 -2 = 2",
      "facing_ratio normal 1 1 1 rayDirection -0 -0 -0 = 0",
      "facing_ratio normal 1 1 1 rayDirection 0x1p30 1 -0x1p30 = 1",  // 0 in 32 bits
      "facing_ratio normal 1e30 0 0 rayDirection -1e30 0 0 = inf",
      "flipped_normal backfacing 1 = 1",
      "pixelCenter imageX 10.7 imageY 20.2 imageHeight 480 = 10.5 459.5 0",
      "pixelCenter imageX -0.3 imageY 2 = -0.5 -1.5 0",
      // Rounded to 32 bits first, but for the height.
      "pixelCenter imageX 10.999999999 imageY 2.5 imageHeight 16777219 = 11.5 16777216 0",
      // What no integer holds becomes the lowest one; one step further down is the highest.
      "pixelCenter imageX 0x1p31 imageY 1e300 = -0x1p31 0x1p31 0",
  };
  Instance sampler("TexSampler");
  sampler.frameBegin();
  for (const char* text : rows) {
    std::istringstream row(text);
    std::string output, name;
    row >> output;
    ShadingHost h;
    while (row >> name && name != "=") {
      const auto vector = [&](auto& v) { readNumbers(row, v.x, v.y, v.z); };
      if (name == "offers") readNumbers(row, h.object.offers);
      if (name == "moving") readNumbers(row, h.services.cameraMoving);
      if (name == "worldOffset") vector(h.frame.worldOffset);
      if (name == "cameraOffset") vector(h.frame.worldToCamera.offset);
      if (name == "shadingPoint") vector(h.sc.shadingPoint);
      if (name == "rayDirection") vector(h.sc.rayDirection);
      if (name == "normal") vector(h.sc.normal);
      if (name == "backfacing") readNumbers(row, h.sc.backfacing);
      if (name == "imageX") readNumbers(row, h.sc.imageX);
      if (name == "imageY") readNumbers(row, h.sc.imageY);
      if (name == "imageHeight") readNumbers(row, h.frame.imageHeight);
      if (name == "materialId") readNumbers(row, h.materialId.id);
      if (name == "uvw") vector(h.uvw.uvw);
      if (name == "a") vector(h.uvw.a);
      if (name == "b") vector(h.uvw.b);
      if (name == "c") vector(h.uvw.c);
    }
    h.surface.offers = h.object.offers;
    auto& texture = sampler.output<PluginInterface>(output.c_str());
    EXPECT_EQ(ask(texture, Question::Value, h.sc), readAnswer(row)) << text;
  }
}

// ------------------------------------------------------------------------------------------------

/// One kind of numbers for all inputs, so that none leaves an answer unchanged.
void fill(Subject& subject) {
  float next = 1;
  for (const auto& input : subject.inputs) {
    next += 0.5F;
    input->value = input->hi = {next, next + 1, next + 2, next + 3};
    input->lo = {-next, 1, 2, 3};
    input->gradient = {next, 2, 3};
  }
}

TEST(EveryOutput, SeesItsConnectionsFromTheNextFrameOn) {
  const ShadingContext sc{};
  for (const twins::Pair& pair : twins::pairs()) {
    Subject subject(pair);
    fill(subject);
    const unsigned all = (1U << pair.inputs.size()) - 1;
    for (unsigned i = 0; i < pair.inputs.size(); ++i) {
      const unsigned without = all & ~(1U << i);
      bool asked = false;
      subject.connect(all);
      subject.connectTwin(all);
      subject.plugin.frameBegin();
      for (const unsigned which : {without, all}) {
        subject.connect(which);
        writeFieldsOnly(subject.plugin);
        for (const Question question : kQuestions) {
          EXPECT_TRUE(subject.agree(question, sc)) << pair.inputs[i] << " came or went too early";
          for (const Call& call : subject.log) asked |= call.owner == pair.inputs[i];
        }
        subject.connectTwin(which);
        subject.plugin.frameBegin();
        for (const Question question : kQuestions) {
          EXPECT_TRUE(subject.agree(question, sc)) << pair.inputs[i] << " came or went too late";
        }
      }
      EXPECT_TRUE(asked) << pair.name() << " never asks " << pair.inputs[i];
    }
  }
}

TEST(EveryOutput, IsNoObjectOfItsOwnButForTheIntensity) {
  for (const twins::Pair& pair : twins::pairs()) {
    Subject subject(pair);
    PluginInterface& output = subject.output();
    EXPECT_EQ(output.getInterfaceId(), pair.twin->getInterfaceId()) << pair.name();
    EXPECT_STREQ(output.getInterfaceName(), pair.twin->getInterfaceName()) << pair.name();
    PluginBase* const object = pair.output.empty() ? &subject.plugin.object() : nullptr;
    EXPECT_EQ(pair.output == "intensity" ? nullptr : output.getPlugin(), object) << pair.name();
    output.release();
  }
}

TEST(EveryOutput, HasItsPlaceInMemory) {
  const std::pair<const char*, std::vector<const char*>> orders[] = {
      {"TexFloatOp",
       {"product", "ratio", "sum", "difference", "power", "sin", "cos", "min", "max"}},
      {"TexVectorOp",
       {"dot_product", "cross_product", "sum", "difference", "result_a", "result_b", "x", "y",
        "z"}},
      {"TexAColorOp",
       {"product", "sum", "difference", "result_a", "result_b", "power", "division", "minimum",
        "maximum", "red", "green", "blue", "alpha", "intensity"}},
      {"TexSampler",
       {"point",
        "pointObject",
        "pointCamera",
        "normal",
        "normalObject",
        "normalCamera",
        "gnormal",
        "camToWorld",
        "view_dir",
        "frame_time",
        "ray_time",
        "facing_ratio",
        "material_id",
        "flipped_normal",
        "cameraNearClipPlane",
        "cameraFarClipPlane",
        "uvCoord",
        "rayDirection",
        "pixelCenter",
        "tangentUCamera",
        "tangentVCamera"}},
  };
  for (const auto& [name, outputs] : orders) {
    Instance plugin(name);
    const PluginInterface* last = nullptr;
    for (const char* output : outputs) {
      const auto* place = &plugin.output<PluginInterface>(output);
      EXPECT_TRUE(std::less<>()(last, place)) << name << '.' << output;
      last = place;
    }
  }
}

TEST(MainTexture, FollowsItsModeAtOnce) {
  const ShadingContext sc{};
  for (const twins::Pair& pair : twins::pairs()) {
    if (pair.setting != "mode") continue;
    Subject subject(pair);
    fill(subject);
    subject.connect(~0U);
    subject.connectTwin(~0U);
    for (const std::int32_t other : {0, 3}) {
      ASSERT_TRUE(subject.plugin.set("mode", other));
      subject.plugin.frameBegin();
      ASSERT_TRUE(subject.plugin.set("mode", pair.setTo));
      writeFieldsOnly(subject.plugin);
      for (const Question question : kQuestions) EXPECT_TRUE(subject.agree(question, sc));
    }
  }
}

TEST(Float3ToAColor, IsInvertedFromTheNextFrameOn) {
  Instance plugin("Float3ToAColor");
  plugin.frameBegin();
  ASSERT_TRUE(plugin.set("invert", true));
  writeFieldsOnly(plugin);
  auto& itself = static_cast<TextureInterface&>(*plugin.object().getInterface(EXT_TEXTURE));
  EXPECT_EQ(itself.getColor({}).r, 1);
  plugin.frameBegin();
  EXPECT_EQ(itself.getColor({}).r, 0);
}

// ------------------------------------------------------------------------------------------------

/// A `TexAColorOp` and its intensity, asked for shader source.
class ShaderSourceTest : public ::testing::Test {
 protected:
  ShaderSourceTest() {
    EXPECT_TRUE(op.connect("color_a", color_a.texture()));
    op.frameBegin();
  }

  Input color_a{"color_a"};
  Instance op{"TexAColorOp"};
  PluginBase& intensity = *op.output<TextureFloatInterface>("intensity").getPlugin();
  RTTexInterface& ofPlugin = *static_cast<RTTexInterface*>(op.object().getInterface(EXT_RTTEX));
  RTTexInterface& ofIntensity = *static_cast<RTTexInterface*>(intensity.getInterface(EXT_RTTEX));
};

TEST_F(ShaderSourceTest, IsReachedThroughObjects) {
  EXPECT_EQ(intensity.getInterface(EXT_RTTEX | InterfaceId{1} << 32), nullptr);
  EXPECT_EQ(intensity.getInterface(EXT_TEXTURE_FLOAT), nullptr);
  EXPECT_EQ(intensity.addInterface(color_a.texture(), 0), 1);
  EXPECT_EQ(intensity.getInterface(EXT_TEXTURE), color_a.texture());
  EXPECT_EQ(ofIntensity.getPlugin(), &intensity);
  EXPECT_EQ(ofPlugin.getPlugin(), &op.object());
  for (RTTexInterface* source : {&ofPlugin, &ofIntensity}) {
    EXPECT_EQ(source->getInterfaceId(), EXT_RTTEX);
    EXPECT_STREQ(source->getInterfaceName(), "EXT_RTTEX");
    source->release();
    int anything = 0;
    source->setShaderInfo(&anything);
    EXPECT_EQ(source->getShaderInfo(), nullptr);
  }
}

TEST_F(ShaderSourceTest, IsThatOfTheFirstColour) {
  struct Request {
    std::string valueKind, descriptorKind;
    bool plugin, intensity;  ///< which of the two serve it
  };
  const Request requests[] = {
      {"color", "MaterialDescriptor", true, false},   {"float", "MaterialDescriptor", false, true},
      {"Color", "MaterialDescriptor", false, false},  {"Float", "MaterialDescriptor", false, false},
      {"color ", "MaterialDescriptor", false, false}, {"floa", "MaterialDescriptor", false, false},
      {"", "MaterialDescriptor", false, false},       {"color", "materialDescriptor", false, false},
      {"float", "MaterialDescriptor ", false, false}, {"color", "", false, false},
  };
  for (RTTexInterface* const asker : {&ofPlugin, &ofIntensity}) {
    for (const Request& request : requests) {
      for (const std::int32_t answer : {0, 1}) {
        SCOPED_TRACE(request.valueKind + ", " + request.descriptorKind);
        ShaderSource source;
        OCLData oclData;
        source.answer = answer;
        const std::string second = "any";
        const bool served = asker == &ofPlugin ? request.plugin : request.intensity;
        EXPECT_EQ(asker->getShaderSource(request.valueKind.c_str(), second.c_str(),
                                         request.descriptorKind.c_str(), source, oclData),
                  served ? 1 : 0);
        ASSERT_EQ(source.requests.size(), served ? 1U : 0U);
        ASSERT_EQ(oclData.requests, served ? 1 : 0);
        if (!served) continue;
        EXPECT_EQ(source.requests[0].asker, asker);
        EXPECT_EQ(source.requests[0].texture, color_a.texture());
        EXPECT_EQ(source.requests[0].outputName, request.valueKind.c_str());
        EXPECT_EQ(source.requests[0].secondName, second.c_str());
        EXPECT_EQ(source.requests[0].descriptorKind, request.descriptorKind.c_str());
      }
    }
  }
}

TEST_F(ShaderSourceTest, OfThePluginSeesItsColourAtOnce) {
  const auto requested = [](RTTexInterface& asker, const char* valueKind) {
    ShaderSource source;
    OCLData oclData;
    EXPECT_EQ(asker.getShaderSource(valueKind, "", "MaterialDescriptor", source, oclData), 1);
    return source.requests.at(0).texture;
  };
  ASSERT_TRUE(op.connect("color_a", nullptr));
  writeFieldsOnly(op);
  EXPECT_EQ(requested(ofPlugin, "color"), nullptr);
  EXPECT_EQ(requested(ofIntensity, "float"), color_a.texture());
  op.frameBegin();
  EXPECT_EQ(requested(ofIntensity, "float"), nullptr);
}

}  // namespace
