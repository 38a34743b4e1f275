#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "host/shading_context.h"
#include "tests/support/bits.h"
#include "tests/support/library.h"
#include "tests/support/recording_textures.h"

namespace {

using namespace test;
using namespace QUtils;

// ------------------------------------------------------------------------------------------------
// The nine outputs worked out a second time, one rounded step a line.

float lesser(float x, float y) { return x < y ? x : y; }
float greater(float x, float y) { return x > y ? x : y; }

struct Bounds {
  float lo, hi;
};

/// The extremes of four corners, nested from the last to the first.
Bounds nested(float first, float second, float third, float fourth) {
  return {lesser(first, lesser(second, lesser(third, fourth))),
          greater(first, greater(second, greater(third, fourth)))};
}

struct Inputs {
  float a, b;
  Bounds aRange, bRange;
  Vector da, db;
  bool bIsAbsent;
};

Vector each(const Inputs& in, float component(const Inputs&, float da, float db)) {
  return {component(in, in.da.x, in.db.x), component(in, in.da.y, in.db.y),
          component(in, in.da.z, in.db.z)};
}

Vector zero(const Inputs&) { return {}; }
Bounds unit(const Inputs&) { return {-1, 1}; }
Bounds bothRanges(const Inputs& in) {
  return nested(in.bRange.hi, in.aRange.hi, in.bRange.lo, in.aRange.lo);
}

/// What an output answers for inputs of which the absent ones already have their substitutes.
struct Output {
  const char* name;
  float absentB;
  float (*value)(const Inputs&);
  Bounds (*bounds)(const Inputs&);
  Vector (*gradient)(const Inputs&);
};

const Output kOutputs[] = {
    {"product", 0, [](const Inputs& in) { return in.a * in.b; },
     [](const Inputs& in) {
       return nested(in.bRange.hi * in.aRange.hi, in.aRange.hi * in.bRange.lo,
                     in.bRange.hi * in.aRange.lo, in.aRange.lo * in.bRange.lo);
     },
     [](const Inputs& in) {
       return each(in, [](const Inputs& i, float da, float) {
         const float once = da * i.b;
         return once + once;
       });
     }},
    {"ratio", 1, [](const Inputs& in) { return in.b == 0 ? 0 : in.a / in.b; },
     [](const Inputs& in) {
       return nested(in.aRange.hi / in.bRange.hi, in.aRange.hi / in.bRange.lo,
                     in.aRange.lo / in.bRange.hi, in.aRange.lo / in.bRange.lo);
     },
     [](const Inputs& in) {
       if (in.bIsAbsent || in.b == 0) return Vector{};
       return each(in, [](const Inputs& i, float da, float db) {
         const float upper = da * i.b;
         const float lower = db * i.a;
         const float square = i.b * i.b;
         return (upper - lower) / square;
       });
     }},
    {"sum", 0, [](const Inputs& in) { return in.a + in.b; },
     [](const Inputs& in) {
       return nested(in.bRange.hi + in.aRange.hi, in.aRange.hi + in.bRange.lo,
                     in.bRange.hi + in.aRange.lo, in.aRange.lo + in.bRange.lo);
     },
     [](const Inputs& in) {
       return each(in, [](const Inputs&, float da, float db) { return da + db; });
     }},
    {"difference", 0, [](const Inputs& in) { return in.a - in.b; },
     [](const Inputs& in) {
       return nested(in.aRange.hi - in.bRange.hi, in.aRange.hi - in.bRange.lo,
                     in.aRange.lo - in.bRange.hi, in.aRange.lo - in.bRange.lo);
     },
     [](const Inputs& in) {
       return each(in, [](const Inputs&, float da, float db) { return da - db; });
     }},
    {"power", 1, [](const Inputs& in) { return powf(in.a, in.b); },
     [](const Inputs& in) {
       return nested(powf(in.aRange.hi, in.bRange.hi), powf(in.aRange.hi, in.bRange.lo),
                     powf(in.aRange.lo, in.bRange.hi), powf(in.aRange.lo, in.bRange.lo));
     },
     zero},
    {"sin", 1,
     [](const Inputs& in) {
       const float p = in.a * in.b;
       return static_cast<float>(std::sin(static_cast<double>(p)));
     },
     unit,
     [](const Inputs& in) {
       return each(in, [](const Inputs& i, float da, float db) {
         const float p = i.a * i.b;
         const float c = static_cast<float>(std::cos(static_cast<double>(p)));
         const float left = da * i.b;
         const float right = db * i.a;
         return (left + right) * c;
       });
     }},
    {"cos", 1,
     [](const Inputs& in) {
       const float p = in.a * in.b;
       return static_cast<float>(std::cos(static_cast<double>(p)));
     },
     unit,
     [](const Inputs& in) {
       return each(in, [](const Inputs& i, float da, float db) {
         const float p = i.a * i.b;
         const double negated = 0.0 - std::sin(static_cast<double>(p));
         const float left = da * i.b;
         const float right = db * i.a;
         return (left + right) * static_cast<float>(negated);
       });
     }},
    {"min", 1, [](const Inputs& in) { return lesser(in.a, in.b); }, bothRanges,
     [](const Inputs& in) { return in.a < in.b ? in.da : in.db; }},
    {"max", 1, [](const Inputs& in) { return greater(in.a, in.b); }, bothRanges,
     [](const Inputs& in) { return in.a > in.b ? in.da : in.db; }},
};

// ------------------------------------------------------------------------------------------------

/// A `TexFloatOp` between two recording inputs.
class TexFloatOpTest : public ::testing::Test {
 protected:
  TextureFloatInterface& output(const char* name) { return op.output<TextureFloatInterface>(name); }

  void connect(bool withA, bool withB) {
    ASSERT_TRUE(op.connect("float_a", withA ? &a : nullptr));
    ASSERT_TRUE(op.connect("float_b", withB ? &b : nullptr));
    op.frameBegin();
  }

  Calls asked() { return std::exchange(calls, {}); }

  Calls calls;
  RecordingFloat a{calls, "a"};
  RecordingFloat b{calls, "b"};
  ShadingContext sc{};
  Instance op{"TexFloatOp"};
};

TEST_F(TexFloatOpTest, AnswersAsItsFormulasRoundStepByStep) {
  RandomFloats random(20240501);
  a.expectedContext = b.expectedContext = &sc;
  for (int trial = 0; trial < 4000; ++trial) {
    const bool withA = !random.once(8);
    const bool withB = !random.once(8);
    connect(withA, withB);
    a.answer(random.next(), random.next(), random.next(), random.nextVector());
    b.answer(random.once(6) ? a.value : random.next(), random.next(), random.next(),
             random.nextVector());
    for (const Output& expected : kOutputs) {
      SCOPED_TRACE(testing::Message() << expected.name << ", trial " << trial);
      Inputs in{0, expected.absentB, {0, 0}, {expected.absentB, expected.absentB}, {}, {}, !withB};
      if (withA) {
        in.a = a.value;
        in.aRange = {a.lo, a.hi};
        in.da = a.gradient;
      }
      if (withB) {
        in.b = b.value;
        in.bRange = {b.lo, b.hi};
        in.db = b.gradient;
      }
      TextureFloatInterface& out = output(expected.name);
      ASSERT_TRUE(same(out.getFloat(sc), expected.value(in)));
      float lo = 7;
      float hi = 7;
      out.getFloatBounds(lo, hi);
      ASSERT_TRUE(same(lo, expected.bounds(in).lo));
      ASSERT_TRUE(same(hi, expected.bounds(in).hi));
      ASSERT_TRUE(same(out.getGradient(sc), expected.gradient(in)));
      for (const std::string& call : asked()) ASSERT_EQ(call.find("other"), std::string::npos);
    }
  }
}

TEST_F(TexFloatOpTest, AsksEachInputOnceInOrderAndNothingThatDoesNotCount) {
  const Calls kValues{"a.value", "b.value"};
  const Calls kGradients{"a.gradient", "b.gradient"};
  const Calls kBoth{"a.value", "b.value", "a.gradient", "b.gradient"};
  struct Row {
    const char* name;
    float a, b;
    Calls gradient;
  };
  const Row rows[] = {
      {"product", 2, 3, kBoth},
      {"ratio", 2, 3, kBoth},
      {"ratio", 2, 0, kValues},
      {"ratio", 2, -0.0F, kValues},
      {"ratio", 2, kNaN, kBoth},
      {"sum", 2, 3, kGradients},
      {"difference", 2, 3, kGradients},
      {"power", 2, 3, {}},
      {"sin", 2, 3, kBoth},
      {"cos", 2, 3, kBoth},
      {"min", 2, 3, {"a.value", "b.value", "a.gradient"}},
      {"min", 3, 3, {"a.value", "b.value", "b.gradient"}},
      {"min", kNaN, 3, {"a.value", "b.value", "b.gradient"}},
      {"max", 4, 3, {"a.value", "b.value", "a.gradient"}},
      {"max", 3, 3, {"a.value", "b.value", "b.gradient"}},
      {"max", 4, kNaN, {"a.value", "b.value", "b.gradient"}},
  };
  connect(true, true);
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.name << " of " << row.a << " and " << row.b);
    a.value = row.a;
    b.value = row.b;
    TextureFloatInterface& out = output(row.name);
    out.getFloat(sc);
    EXPECT_EQ(asked(), kValues);
    out.getGradient(sc);
    EXPECT_EQ(asked(), row.gradient);
    float lo = 0;
    float hi = 0;
    out.getFloatBounds(lo, hi);
    const bool fixed = row.name == std::string("sin") || row.name == std::string("cos");
    EXPECT_EQ(asked(), fixed ? Calls{} : (Calls{"a.bounds", "b.bounds"}));
  }

  connect(true, false);
  EXPECT_TRUE(same(output("ratio").getGradient(sc), Vector{}));
  EXPECT_EQ(asked(), Calls{"a.value"});
}

TEST_F(TexFloatOpTest, KeepsItsPeculiarities) {
  connect(true, true);
  a.answer(5, 2, 3, {1, 0, 0});
  b.answer(3, 5, 7, {9, 9, 9});
  EXPECT_TRUE(same(output("product").getGradient(sc), Vector{6, 0, 0}));
  float lo = 0;
  float hi = 0;
  output("min").getFloatBounds(lo, hi);
  EXPECT_EQ(lo, 2);
  EXPECT_EQ(hi, 7);

  // Doubling b before the product would overflow: infinity for y, not a number for z.
  b.value = 3e38F;
  a.gradient = {1, 0.5F, 0};
  EXPECT_TRUE(same(output("product").getGradient(sc), Vector{kInf, 3e38F, 0}));

  // A divisor range around zero is not treated specially.
  a.answer(1, 1, 1);
  b.answer(1, 0, 2);
  output("ratio").getFloatBounds(lo, hi);
  EXPECT_EQ(lo, 0.5F);
  EXPECT_EQ(hi, kInf);
  b.answer(1, -1, 1);
  output("ratio").getFloatBounds(lo, hi);
  EXPECT_EQ(lo, -1);
  EXPECT_EQ(hi, 1);
}

TEST_F(TexFloatOpTest, SeesNewConnectionsOnlyFromTheNextFrameOn) {
  connect(false, false);
  a.value = 5;
  b.value = 2;
  EXPECT_EQ(output("cos").getFloat(sc), 1);
  EXPECT_EQ(output("max").getFloat(sc), 1);
  ASSERT_TRUE(op.connect("float_a", &a));
  ASSERT_TRUE(op.connect("float_b", &b));
  EXPECT_EQ(output("difference").getFloat(sc), 0);
  op.frameBegin();
  EXPECT_EQ(output("difference").getFloat(sc), 3);
  ASSERT_TRUE(op.connect("float_b", nullptr));
  EXPECT_EQ(output("ratio").getFloat(sc), 2.5F);
  op.frameBegin();
  EXPECT_EQ(output("ratio").getFloat(sc), 5);
}

}  // namespace
