#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "standin/shader_source.h"
#include "tests/support/shading_host.h"
#include "tests/support/subject.h"

// What a person can work out on paper, and what holds for every output alike.

namespace {

using namespace test;

constexpr auto kValue = Question::Value;
constexpr auto kBounds = Question::Bounds;
constexpr auto kGradient = Question::Gradient;

/// What the host does by itself: the plugin's fields get their values, its outputs do not.
void writeFieldsOnly(Instance& plugin) { plugin.plugin().QuorPluginInterface::frameBegin(nullptr); }

/// A number, a vector or a colour.
struct Numbers {
  float x = 0, y = 0, z = 0, a = 0;
  AColor color() const { return {x, y, z, a}; }
};

/// An input that is connected, or a setting.
struct Given {
  const char* name;
  Numbers value, lo, hi, gradient;
};
Given value(const char* name, Numbers v, Numbers gradient = {}) {
  return {name, v, {}, {}, gradient};
}
Given range(const char* name, Numbers lo, Numbers hi) { return {name, {}, lo, hi, {}}; }

struct Row {
  const char* plugin;
  const char* output;  ///< empty: the texture that the plugin itself is
  Question question;
  std::vector<Given> given;  ///< all other inputs are absent
  std::vector<double> expected;
};

void expectRow(const Row& row) {
  std::ostringstream trace;
  trace << row.plugin << '.' << row.output << ", "
        << kQuestionNames[static_cast<int>(row.question)];
  Instance plugin(row.plugin);
  std::vector<std::unique_ptr<Input>> inputs;
  for (const Given& given : row.given) {
    const std::string name = given.name;
    if (name == "mode") {
      EXPECT_TRUE(plugin.set("mode", static_cast<std::int32_t>(given.value.x)));
    } else if (name == "invert") {
      EXPECT_TRUE(plugin.set("invert", given.value.x != 0));
    } else {
      Input& input = *inputs.emplace_back(std::make_unique<Input>(name));
      input.value = given.value.color();
      input.lo = given.lo.color();
      input.hi = given.hi.color();
      input.gradient = {given.gradient.x, given.gradient.y, given.gradient.z};
      EXPECT_TRUE(plugin.connect(given.name, input.texture()));
      trace << input;
    }
  }
  plugin.frameBegin();
  PluginInterface& output = *row.output != '\0' ? plugin.output<PluginInterface>(row.output)
                                                : *plugin.object().getInterface(EXT_TEXTURE);
  EXPECT_EQ(ask(output, row.question, {}), Answer{row.expected}) << trace.str();
}

TEST(WorkedRows, OfNumbers) {
  const char* const f = "TexFloatOp";
  const double inf = std::numeric_limits<double>::infinity();
  const Row rows[] = {
      // Absent numbers count as 0, but the second one as 1 where 0 would leave nothing.
      {f, "product", kValue, {value("float_a", {5})}, {0}},
      {f, "sum", kValue, {value("float_a", {5})}, {5}},
      {f, "difference", kBounds, {range("float_a", {5}, {6})}, {5, 6}},
      {f, "ratio", kValue, {value("float_a", {5})}, {5}},
      {f, "power", kBounds, {range("float_a", {5}, {6})}, {5, 6}},
      {f, "sin", kValue, {}, {0}},
      {f, "cos", kValue, {}, {1}},
      {f, "min", kValue, {value("float_a", {5})}, {1}},
      {f, "max", kValue, {}, {1}},
      {f, "max", kBounds, {}, {0, 1}},
      // The gradient of a product doubles the first half, and not before it is multiplied.
      {f,
       "product",
       kGradient,
       {value("float_a", {2}, {1}), value("float_b", {3}, {9})},
       {6, 0, 0}},
      {f,
       "product",
       kGradient,
       {value("float_a", {2}, {1, 0.25F}), value("float_b", {0x1p127F})},
       {inf, 0x1p126, 0}},
      {f, "ratio", kValue, {value("float_a", {5}), value("float_b", {-0.0F})}, {0}},
      {f, "ratio", kGradient, {value("float_a", {5}, {1}), value("float_b", {0}, {1})}, {0, 0, 0}},
      {f, "ratio", kGradient, {value("float_a", {5}, {1, 2, 3})}, {0, 0, 0}},
      {f,
       "ratio",
       kGradient,
       {value("float_a", {6}, {1, 0, 2}), value("float_b", {2}, {0, 1, 1})},
       {0.5, -1.5, -0.5}},
      // A divisor range around zero is not treated specially.
      {f, "ratio", kBounds, {range("float_a", {1}, {1}), range("float_b", {0}, {2})}, {0.5, inf}},
      {f, "ratio", kBounds, {range("float_a", {1}, {1}), range("float_b", {-1}, {1})}, {-1, 1}},
      {f, "power", kGradient, {value("float_a", {2}, {1}), value("float_b", {3}, {1})}, {0, 0, 0}},
      {f, "sin", kBounds, {range("float_a", {0}, {0})}, {-1, 1}},
      // Bounded by the hull of both ranges.
      {f, "min", kBounds, {range("float_a", {2}, {3}), range("float_b", {5}, {7})}, {2, 7}},
      {f, "min", kGradient, {value("float_a", {3}, {1}), value("float_b", {3}, {2})}, {2, 0, 0}},
      {f, "max", kGradient, {value("float_a", {kNaN}, {1}), value("float_b", {3}, {2})}, {2, 0, 0}},
  };
  for (const Row& row : rows) expectRow(row);
}

TEST(WorkedRows, OfVectors) {
  const char* const v = "TexVectorOp";
  const std::vector<Given> four = {value("vector_a", {1, 2, 3}), value("vector_b", {4, 5, 6}),
                                   value("mult_a", {2}), value("mult_b", {0.5F})};
  // The numbers of one b, for all components.
  const auto corners = [](Numbers lo, Numbers hi, float b, const Given& ma, const Given& mb) {
    return std::vector{range("vector_a", lo, hi), range("vector_b", {b, b, b}, {b, b, b}), ma, mb};
  };
  const Given ma1 = range("mult_a", {1}, {1});
  const Given mb1 = range("mult_b", {1}, {1});
  const Row rows[] = {
      {v, "dot_product", kValue, four, {32}},
      {v, "cross_product", kValue, four, {-3, 6, -3}},
      {v, "sum", kValue, four, {4, 6.5, 9}},
      {v, "difference", kValue, four, {0, 1.5, 3}},
      {v, "result_a", kValue, four, {2, 4, 6}},
      {v, "result_b", kValue, four, {2, 2.5, 3}},
      {v, "x", kValue, four, {2}},
      {v, "y", kValue, four, {4}},
      {v, "z", kValue, four, {6}},
      {v, "difference", kValue, {value("vector_a", {1, 2, 3})}, {1, 2, 3}},
      {v, "dot_product", kBounds, {}, {0, 0}},
      // The sum of the dot product runs from x to z, in double precision.
      {v,
       "dot_product",
       kValue,
       {value("vector_a", {0x1p50F, -0x1p50F, 1}), value("vector_b", {4, 4, 32})},
       {32}},
      {v,
       "result_a",
       kGradient,
       {value("vector_a", {3, 4, 0}, {0, 1, 0}), value("mult_a", {2}, {1, 0, 0})},
       {5, 2, 0}},
      // The upper corner of "y" and "z" takes the x component of the vector.
      {v, "y", kBounds, {range("vector_a", {0, 1, 2}, {10, 2, 3})}, {1, 10}},
      {v, "z", kBounds, {range("vector_a", {0, 1, 2}, {10, 2, 3})}, {2, 10}},
      // Bounds from whole corner vectors leave out the value 0 that mixed corners reach.
      {v,
       "dot_product",
       kBounds,
       {range("vector_a", {1, -1}, {2, 1}), range("vector_b", {2, 1}, {2, 1})},
       {1, 5}},
      // Corners far below the smallest float: compared as doubles, they do not tie.
      {v, "dot_product", kBounds, corners({1e-40F}, {-1e-40F}, 1e-40F, ma1, mb1), {-0.0, -0.0}},
      // -1 · -0 comes after 0 · -1, among the products of multiplier and dot product
      {v,
       "dot_product",
       kBounds,
       corners({-1}, {-0.0F, -0.0F, -0.0F}, 1, range("mult_a", {-1}, {0}), mb1),
       {0, 1}},
      // ... and among those of the two multipliers.
      {v,
       "dot_product",
       kBounds,
       corners({1}, {1}, 1, range("mult_a", {-1}, {0}), range("mult_b", {-1}, {-0.0F})),
       {0, 1}},
  };
  for (const Row& row : rows) expectRow(row);
}

TEST(WorkedRows, OfColors) {
  const char* const c = "TexAColorOp";
  const char* const n = "Float3ToAColor";
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<Given> scaled = {value("color_a", {0.5F, 0.25F, 0.125F, 0.75F}),
                                     value("mult_a", {2})};
  // Intensities 0.5 and 0.125, scaled 0.5 and 1.25.
  const std::vector<Given> choice = {value("color_a", {0.5F, 0.5F, 0.5F, 9}, {1, 0, 0}),
                                     value("color_b", {0.125F, 0.125F, 0.125F, 9}, {0, 1, 0}),
                                     value("mult_b", {10})};
  const Given mode9 = value("mode", {9});
  const Given invert = value("invert", {1});
  const auto mode9Bounds = [&](float lo, float hi) {
    return std::vector{mode9, range("color_a", {lo, 0, lo, lo}, {hi, 1, hi, hi})};
  };
  const std::vector<Given> slopes = {
      value("float1", {1.5F}, {3, 0, 0}), value("float2", {-0.25F}, {0, 3, 0}),
      value("float3", {kNaN}, {0, 0, 3}), value("alpha", {0.25F}, {9, 9, 9})};
  std::vector<Given> inverted = slopes;
  inverted.push_back(invert);
  const Row rows[] = {
      {c, "product", kValue, {}, {0, 0, 0, 0}},
      {c, "power", kValue, {}, {0, 0, 0, 0}},
      {c, "division", kValue, {}, {nan, nan, nan, 0}},
      {c, "division", kGradient, {value("color_a", {1, 1, 1, 1}, {1})}, {0, 0, 0}},
      {c, "intensity", kValue, {}, {0}},
      {c, "result_a", kValue, scaled, {1, 0.5, 0.25, 0.75}},
      {c, "sum", kValue, scaled, {1, 0.5, 0.25, 0.75}},
      {c, "minimum", kValue, scaled, {0, 0, 0, 0}},
      {c, "maximum", kValue, scaled, {1, 0.5, 0.25, 1.5}},
      {c, "alpha", kValue, scaled, {1.5}},
      {c, "intensity", kValue, scaled, {1.75F / 3}},
      {c,
       "division",
       kValue,
       {value("color_a", {1, 1, 1, 1}), value("color_b", {2, 4, 0, 0.5F})},
       {0.5, 0.25, inf, 0.5}},
      {c,
       "power",
       kValue,
       {value("color_a", {-1, 4, 0, 1}), value("mult_b", {0.5F})},
       {nan, 2, 0, 1}},
      {c,
       "green",
       kBounds,
       {range("color_a", {0, -1, 0, 0}, {1, 1, 1, 1}), range("mult_a", {-2}, {3})},
       {-3, 3}},
      {c,
       "intensity",
       kBounds,
       {range("color_a", {0, -3, 0, 0}, {1, 1, 1, 1}), range("mult_a", {-2}, {3})},
       {-3, 3}},
      // Minimum and maximum choose by the intensities without multipliers, mode 9 with them.
      {c, "minimum", kGradient, choice, {0, 10, 0}},
      {c, "maximum", kGradient, choice, {1, 0, 0}},
      {c, "", kGradient, {mode9, choice[0], choice[1], choice[2]}, {-1, 10, 0}},
      // No sign of alpha gets through the absolute difference.
      {c, "difference", kValue, {value("result_alpha", {-0.25F})}, {0, 0, 0, -0.25}},
      {c, "", kValue, {mode9, value("result_alpha", {-0.25F})}, {0, 0, 0, 0.25}},
      {c, "", kValue, {mode9, value("result_alpha", {-0.0F})}, {0, 0, 0, 0}},
      {c, "", kBounds, mode9Bounds(-2, 1), {0, 0, 0, -2, 2, 1, 2, 1}},
      {c, "", kBounds, mode9Bounds(-1, 3), {0, 0, 0, -1, 3, 1, 3, 3}},
      {c, "", kBounds, mode9Bounds(0.5F, 4), {0.5, 0, 0.5, 0.5, 4, 1, 4, 4}},
      {c, "", kBounds, mode9Bounds(-3, -2), {0, 0, 0, -3, 3, 1, 3, -2}},
      {n, "color", kValue, {}, {1, 1, 1, 1}},
      {n, "color", kBounds, {invert}, {0, 0, 0, 1, 0, 0, 0, 1}},
      // Inverted values are clamped from below only, and bounds not at all.
      {n, "color", kValue, slopes, {1.5, -0.25, nan, 0.25}},
      {n, "", kValue, inverted, {0, 1.25, nan, 0.25}},
      {n, "color", kGradient, slopes, {1, 1, 1}},
      {n, "", kGradient, inverted, {-1, -1, -1}},
      {n,
       "color",
       kBounds,
       {invert, range("float1", {0.25F}, {1.5F}), range("alpha", {0}, {0})},
       {-0.5, 0, 0, 1, 0.75, 0, 0, 1}},
  };
  for (const Row& row : rows) expectRow(row);
}

// ------------------------------------------------------------------------------------------------

TEST(WorkedRows, OfTheContext) {
  struct ContextRow {
    const char* output;
    void (*prepare)(ShadingHost& host);
    std::vector<double> expected;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const auto fallbacks = [](ShadingHost& h) {
    h.frame.worldOffset = {1000, 0, 0};
    h.sc.shadingPoint = {1, 2, 3};
    h.sc.normal = {0.5F, 0.25F, 1};
    h.uvw.uvw = {1, 2, 3};
    h.uvw.a = {1, 0, 0}, h.uvw.b = {0, 1, 0}, h.uvw.c = {0, 0, 1};
    h.materialId.id = 7;
    h.sc.object = nullptr;
    h.surface.offers = false;
  };
  // A limit in 32 bits: its square has itself as the root.
  const auto shortest = [](ShadingHost& h) { h.sc.rayDirection = {0, -1e-6F, 0}; };
  const auto tooShort = [](ShadingHost& h) {
    h.sc.rayDirection = {std::nextafter(1e-6F, 0.0F), 0, 0};
  };
  const auto scaledAxes = [](ShadingHost& h) {
    h.uvw.a = {2, 0, 0}, h.uvw.b = {0, 4, 0}, h.uvw.c = {0, 0, 1};
  };
  // A determinant of 1e-60 rounds to zero: the axes are infinite, and their lengths too.
  const auto tinyAxes = [](ShadingHost& h) {
    h.uvw.a = {1e-20F, 0, 0}, h.uvw.b = {0, 1e-20F, 0}, h.uvw.c = {0, 0, 1e-20F};
  };
  const auto beyondIntegers = [](ShadingHost& h) {
    h.sc.imageX = 0x1p31;
    h.sc.imageY = 1e300;
  };
  const ContextRow rows[] = {
      {"point", fallbacks, {1001, 2, 3}},
      {"pointObject", fallbacks, {1, 2, 3}},
      {"normalObject", fallbacks, {0.5, 0.25, 1}},
      {"uvCoord", fallbacks, {0, 0, 0}},
      {"material_id", fallbacks, {0}},
      {"tangentUCamera", fallbacks, {0, 0, 0}},
      {"frame_time", [](ShadingHost& h) { h.frame.frameTime = 1 / 3.0; }, {1 / 3.0F}},
      {"pointCamera",
       [](ShadingHost& h) {
         h.sc.shadingPoint = {1, 2, 3};
         h.frame.worldToCamera.offset = {0, 0, -5};
         h.frame.worldOffset = {1000, 0, 0};
       },
       {1, 2, -2}},
      {"rayDirection", shortest, {0, -1, 0}},
      {"rayDirection", tooShort, {static_cast<double>(std::nextafter(1e-6F, 0.0F)), 0, 0}},
      {"rayDirection",
       [](ShadingHost& h) {
         h.sc.rayDirection = {3e38F, 1, 0};
       },
       {0, 0, 0}},
      {"tangentUCamera", scaledAxes, {1, 0, 0}},
      {"tangentVCamera", scaledAxes, {0, 1, 0}},
      {"tangentUCamera", tinyAxes, {nan, nan, nan}},
      {"tangentVCamera",
       [](ShadingHost& h) {
         h.uvw.a = h.uvw.b = {1, 2, 3};
       },
       {0, 0, 0}},
      // The motion of the camera makes a direction even of singular derivatives.
      {"tangentUCamera", [](ShadingHost& h) { h.services.cameraMoving = 1; }, {0, 0, 1}},
      {"facing_ratio",
       [](ShadingHost& h) {
         h.sc.normal = {0, 0, 1}, h.sc.rayDirection = {0, 0, -2};
       },
       {2}},
      {"facing_ratio",
       [](ShadingHost& h) {
         h.sc.normal = {1, 1, 1}, h.sc.rayDirection = {-0.0F, -0.0F, -0.0F};
       },
       {0}},
      {"facing_ratio",  // 0 in 32 bits
       [](ShadingHost& h) {
         h.sc.normal = {1, 1, 1}, h.sc.rayDirection = {0x1p30F, 1, -0x1p30F};
       },
       {1}},
      {"facing_ratio",
       [](ShadingHost& h) {
         h.sc.normal = h.sc.rayDirection = {1e30F, 0, 0};
       },
       {inf}},
      {"flipped_normal", [](ShadingHost& h) { h.sc.backfacing = 1; }, {1}},
      {"pixelCenter",
       [](ShadingHost& h) { h.sc.imageX = 10.7, h.sc.imageY = 20.2, h.frame.imageHeight = 480; },
       {10.5, 459.5, 0}},
      {"pixelCenter", [](ShadingHost& h) { h.sc.imageX = -0.3, h.sc.imageY = 2; }, {-0.5, -1.5, 0}},
      {"pixelCenter",  // rounded to 32 bits first, but for the height
       [](ShadingHost& h) {
         h.sc.imageX = 10.999999999, h.sc.imageY = 2.5, h.frame.imageHeight = 16777219;
       },
       {11.5, 16777216, 0}},
      // What no integer holds becomes the lowest one; one step further down is the highest.
      {"pixelCenter", beyondIntegers, {-0x1p31, 0x1p31, 0}},
  };
  Instance sampler("TexSampler");
  sampler.frameBegin();
  for (const ContextRow& row : rows) {
    ShadingHost host;
    row.prepare(host);
    EXPECT_EQ(ask(sampler.output<PluginInterface>(row.output), kValue, host.sc),
              Answer{row.expected})
        << row.output << ", row " << &row - rows;
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
