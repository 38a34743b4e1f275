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
// The nine outputs worked out a second time, component by component, one rounded step a line.

float lesser(float x, float y) { return x < y ? x : y; }
float greater(float x, float y) { return x > y ? x : y; }
float rounded(double x) { return static_cast<float>(x); }
double wide(float x) { return static_cast<double>(x); }

float at(const Vector& v, int c) {
  const float components[] = {v.x, v.y, v.z};
  return components[c];
}

struct Bounds {
  float lo, hi;
};

Bounds inPairs(float p, float q, float r, float s) {
  return {lesser(lesser(p, q), lesser(r, s)), greater(greater(p, q), greater(r, s))};
}

Bounds inChain(float last, float third, float second, float first) {
  return {lesser(last, lesser(third, lesser(second, first))),
          greater(last, greater(third, greater(second, first)))};
}

/// What one vector and its multiplier answer; the defaults are what absent ones count as.
struct Side {
  Vector v{}, lo{}, hi{}, dv{};
  float m = 1, mLo = 1, mHi = 1;
  Vector dm{};
};

struct Inputs {
  Side a, b;
};

Bounds multipliers(const Inputs& in) {
  return inChain(in.a.mHi * in.b.mHi, in.a.mHi * in.b.mLo, in.b.mHi * in.a.mLo,
                 in.a.mLo * in.b.mLo);
}

double dot(const Vector& a, const Vector& b) {
  double sum = wide(a.x) * wide(b.x);
  sum = sum + wide(a.y) * wide(b.y);
  sum = sum + wide(a.z) * wide(b.z);
  return sum;
}

float cross(const Vector& a, const Vector& b, int c) {
  const int i = (c + 1) % 3;
  const int j = (c + 2) % 3;
  const double left = wide(at(a, i)) * wide(at(b, j));
  const double right = wide(at(b, i)) * wide(at(a, j));
  return rounded(left - right);
}

float length(const Vector& v) {
  const float xx = v.x * v.x;
  const float yy = v.y * v.y;
  const float zz = v.z * v.z;
  const float xy = xx + yy;
  return std::sqrt(xy + zz);
}

Bounds scaled(const Side& s, int c) {
  return inPairs(at(s.lo, c) * s.mLo, at(s.lo, c) * s.mHi, at(s.hi, c) * s.mLo,
                 at(s.hi, c) * s.mHi);
}

float scaledGradient(const Side& s, int c) {
  const float ofVector = at(s.dv, c) * s.m;
  const float ofMultiplier = at(s.dm, c) * length(s.v);
  return ofVector + ofMultiplier;
}

float zero(const Inputs&, int, int) { return 0; }

float dotValue(const Inputs& in, int) {
  const float m = in.a.m * in.b.m;
  return rounded(wide(m) * dot(in.a.v, in.b.v));
}

Bounds dotBounds(const Inputs& in, int) {
  const double corners[] = {dot(in.a.lo, in.b.lo), dot(in.a.lo, in.b.hi), dot(in.a.hi, in.b.lo),
                            dot(in.a.hi, in.b.hi)};
  double least = corners[0];
  double greatest = corners[0];
  for (const int i : {1, 2, 3}) {
    least = corners[i] < least ? corners[i] : least;
    greatest = corners[i] > greatest ? corners[i] : greatest;
  }
  const float dLo = rounded(least);
  const float dHi = rounded(greatest);
  const Bounds m = multipliers(in);
  return inChain(m.hi * dHi, m.hi * dLo, dHi * m.lo, m.lo * dLo);
}

float crossValue(const Inputs& in, int c) {
  const float m = in.a.m * in.b.m;
  return cross(in.a.v, in.b.v, c) * m;
}

Bounds crossBounds(const Inputs& in, int c) {
  const Bounds k = inPairs(cross(in.a.lo, in.b.lo, c), cross(in.a.lo, in.b.hi, c),
                           cross(in.a.hi, in.b.lo, c), cross(in.a.hi, in.b.hi, c));
  const Bounds m = multipliers(in);
  return inPairs(k.lo * m.lo, k.hi * m.lo, k.lo * m.hi, k.hi * m.hi);
}

float sumValue(const Inputs& in, int c) {
  const float a = at(in.a.v, c) * in.a.m;
  const float b = at(in.b.v, c) * in.b.m;
  return a + b;
}

Bounds sumBounds(const Inputs& in, int c) {
  const Bounds p = scaled(in.a, c);
  const Bounds q = scaled(in.b, c);
  return inPairs(q.lo + p.lo, p.lo + q.hi, q.lo + p.hi, q.hi + p.hi);
}

float sumGradient(const Inputs& in, int c, int) {
  return scaledGradient(in.a, c) + scaledGradient(in.b, c);
}

float differenceValue(const Inputs& in, int c) {
  const float a = at(in.a.v, c) * in.a.m;
  const float b = at(in.b.v, c) * in.b.m;
  return a - b;
}

Bounds differenceBounds(const Inputs& in, int c) {
  const Bounds p = scaled(in.a, c);
  const Bounds q = scaled(in.b, c);
  return inPairs(p.lo - q.lo, p.lo - q.hi, p.hi - q.lo, p.hi - q.hi);
}

float differenceGradient(const Inputs& in, int c, int) {
  return scaledGradient(in.a, c) - scaledGradient(in.b, c);
}

float componentValue(const Inputs& in, int k) { return in.a.m * at(in.a.v, k); }

Bounds componentBounds(const Inputs& in, int k) {
  const Side& s = in.a;
  return inPairs(at(s.lo, k) * s.mLo, at(s.lo, k) * s.mHi, s.hi.x * s.mLo, at(s.hi, k) * s.mHi);
}

float componentGradient(const Inputs& in, int c, int k) {
  const float ofMultiplier = at(in.a.dm, c) * at(in.a.v, k);
  const float ofVector = at(in.a.dv, c) * in.a.m;
  return ofMultiplier + ofVector;
}

constexpr int kVector = -1;

struct Output {
  const char* name;
  const char* sides;  ///< whose vectors and multipliers it asks
  int component;      ///< `kVector`, or the one that a number is made from
  float (*value)(const Inputs&, int c);
  Bounds (*bounds)(const Inputs&, int c);
  float (*gradient)(const Inputs&, int c, int component);
};

const Output kOutputs[] = {
    {"dot_product", "ab", 0, dotValue, dotBounds, zero},
    {"cross_product", "ab", kVector, crossValue, crossBounds, zero},
    {"sum", "ab", kVector, sumValue, sumBounds, sumGradient},
    {"difference", "ab", kVector, differenceValue, differenceBounds, differenceGradient},
    {"result_a", "a", kVector, [](const Inputs& in, int c) { return at(in.a.v, c) * in.a.m; },
     [](const Inputs& in, int c) { return scaled(in.a, c); },
     [](const Inputs& in, int c, int) { return scaledGradient(in.a, c); }},
    {"result_b", "b", kVector, [](const Inputs& in, int c) { return at(in.b.v, c) * in.b.m; },
     [](const Inputs& in, int c) { return scaled(in.b, c); },
     [](const Inputs& in, int c, int) { return scaledGradient(in.b, c); }},
    {"x", "a", 0, componentValue, componentBounds, componentGradient},
    {"y", "a", 1, componentValue, componentBounds, componentGradient},
    {"z", "a", 2, componentValue, componentBounds, componentGradient},
};

// ------------------------------------------------------------------------------------------------

/// The answers to the three questions; a number stands in x.
struct Answers {
  Vector value, lo, hi, gradient;
};

template <class F>
Vector each(F f) {
  return {f(0), f(1), f(2)};
}

Answers expectedAnswers(const Output& output, const Inputs& in) {
  const auto answer = [&](auto f) {
    return output.component == kVector ? each(f) : Vector{f(output.component), 0, 0};
  };
  return {answer([&](int c) { return output.value(in, c); }),
          answer([&](int c) { return output.bounds(in, c).lo; }),
          answer([&](int c) { return output.bounds(in, c).hi; }),
          each([&](int c) { return output.gradient(in, c, output.component); })};
}

/// A `TexVectorOp` between recording inputs.
class TexVectorOpTest : public ::testing::Test {
 protected:
  Vector value(const Output& output) {
    if (output.component == kVector) return vectorOutput(output.name).getVector(sc);
    return {floatOutput(output.name).getFloat(sc), 0, 0};
  }

  std::pair<Vector, Vector> bounds(const Output& output) {
    std::pair<Vector, Vector> result{{7, 0, 0}, {7, 0, 0}};
    if (output.component == kVector) {
      vectorOutput(output.name).getVectorBounds(result.first, result.second);
    } else {
      floatOutput(output.name).getFloatBounds(result.first.x, result.second.x);
    }
    return result;
  }

  Vector gradient(const Output& output) {
    return output.component == kVector ? vectorOutput(output.name).getGradient(sc)
                                       : floatOutput(output.name).getGradient(sc);
  }

  void expectAnswers(const Output& output, const Answers& expected) {
    SCOPED_TRACE(output.name);
    EXPECT_TRUE(same(value(output), expected.value));
    const auto [lo, hi] = bounds(output);
    EXPECT_TRUE(same(lo, expected.lo)) << "lower bound";
    EXPECT_TRUE(same(hi, expected.hi)) << "upper bound";
    EXPECT_TRUE(same(gradient(output), expected.gradient)) << "gradient";
  }

  TextureFloatInterface& floatOutput(const char* name) {
    return op.output<TextureFloatInterface>(name);
  }
  TextureVectorInterface& vectorOutput(const char* name) {
    return op.output<TextureVectorInterface>(name);
  }

  void connect(bool withVectorA, bool withVectorB, bool withMultA, bool withMultB) {
    ASSERT_TRUE(op.connect("vector_a", withVectorA ? &vectorA : nullptr));
    ASSERT_TRUE(op.connect("vector_b", withVectorB ? &vectorB : nullptr));
    ASSERT_TRUE(op.connect("mult_a", withMultA ? &multA : nullptr));
    ASSERT_TRUE(op.connect("mult_b", withMultB ? &multB : nullptr));
    op.frameBegin();
  }

  Calls asked() { return std::exchange(calls, {}); }

  Calls calls;
  RecordingVector vectorA{calls, "vector_a"};
  RecordingVector vectorB{calls, "vector_b"};
  RecordingFloat multA{calls, "mult_a"};
  RecordingFloat multB{calls, "mult_b"};
  ShadingContext sc{};
  Instance op{"TexVectorOp"};
};

void takeVector(Side& side, const RecordingVector& from) {
  side.v = from.value;
  side.lo = from.lo;
  side.hi = from.hi;
  side.dv = from.gradient;
}

void takeMultiplier(Side& side, const RecordingFloat& from) {
  side.m = from.value;
  side.mLo = from.lo;
  side.mHi = from.hi;
  side.dm = from.gradient;
}

TEST_F(TexVectorOpTest, AnswersAsItsFormulasRoundStepByStep) {
  RandomFloats random(20240602);
  for (int trial = 0; trial < 4000 && !HasFailure(); ++trial) {
    SCOPED_TRACE(testing::Message() << "trial " << trial);
    bool present[4];
    for (bool& p : present) p = !random.once(10);
    connect(present[0], present[1], present[2], present[3]);
    for (RecordingVector* v : {&vectorA, &vectorB}) {
      v->answer(random.nextVector(), random.nextVector(), random.nextVector(), random.nextVector());
    }
    for (RecordingFloat* m : {&multA, &multB}) {
      m->answer(random.next(), random.next(), random.next(), random.nextVector());
    }
    Inputs in;
    if (present[0]) takeVector(in.a, vectorA);
    if (present[1]) takeVector(in.b, vectorB);
    if (present[2]) takeMultiplier(in.a, multA);
    if (present[3]) takeMultiplier(in.b, multB);
    for (const Output& output : kOutputs) expectAnswers(output, expectedAnswers(output, in));
  }
}

TEST_F(TexVectorOpTest, AsksMultipliersBeforeVectorsAndValuesBeforeGradients) {
  connect(true, true, true, true);
  vectorA.expectedContext = vectorB.expectedContext = &sc;
  multA.expectedContext = multB.expectedContext = &sc;
  for (const Output& output : kOutputs) {
    SCOPED_TRACE(output.name);
    Calls values;
    Calls ranges;
    Calls gradients;
    for (const std::string input : {"mult_", "vector_"}) {
      for (const char side : std::string(output.sides)) {
        values.push_back(input + side + ".value");
        ranges.push_back(input + side + ".bounds");
        gradients.push_back(input + side + ".gradient");
      }
    }
    value(output);
    EXPECT_EQ(asked(), values);
    bounds(output);
    EXPECT_EQ(asked(), ranges);
    gradient(output);
    const Calls got = asked();
    if (output.gradient == zero) {
      EXPECT_EQ(got, Calls{});
      continue;
    }
    values.insert(values.end(), gradients.begin(), gradients.end());
    EXPECT_EQ(got, values);
  }
}

TEST_F(TexVectorOpTest, WorkedExamples) {
  connect(true, true, true, true);
  vectorA.value = {1, 2, 3};
  vectorB.value = {4, 5, 6};
  multA.value = 2;
  multB.value = 0.5F;
  const Vector expected[] = {{32, 0, 0},   {-3, 6, -3}, {4, 6.5F, 9}, {0, 1.5F, 3}, {2, 4, 6},
                             {2, 2.5F, 3}, {2, 0, 0},   {4, 0, 0},    {6, 0, 0}};
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    EXPECT_TRUE(same(value(kOutputs[i]), expected[i])) << kOutputs[i].name;
  }

  // The sum of the dot product runs from x to z, in double precision.
  vectorA.value = {1e15F, -1e15F, 1};
  vectorB.value = {1e5F, 1e5F, 32};
  EXPECT_EQ(floatOutput("dot_product").getFloat(sc), 32);

  vectorA.answer({3, 4, 0}, {}, {}, {0, 1, 0});
  multA.gradient = {1, 0, 0};
  EXPECT_TRUE(same(vectorOutput("result_a").getGradient(sc), Vector{5, 2, 0}));

  // The upper corner of "y" and "z" takes the x component of the vector.
  vectorA.answer({}, {0, 1, 2}, {10, 2, 3});
  multA.answer(1, 1, 1);
  float lo = 0;
  float hi = 0;
  for (const auto& [name, expectedLo] : {std::pair{"x", 0.0F}, {"y", 1.0F}, {"z", 2.0F}}) {
    floatOutput(name).getFloatBounds(lo, hi);
    EXPECT_TRUE(same(Vector{lo, hi, 0}, Vector{expectedLo, 10, 0})) << name;
  }

  // Bounds from whole corner vectors leave out the value 0 that mixed corners reach.
  connect(true, true, false, false);
  vectorA.answer({}, {1, -1, 0}, {2, 1, 0});
  vectorB.answer({}, {2, 1, 0}, {2, 1, 0});
  floatOutput("dot_product").getFloatBounds(lo, hi);
  EXPECT_TRUE(same(Vector{lo, hi, 0}, Vector{1, 5, 0}));
}

TEST_F(TexVectorOpTest, DotProductBoundsCountTheLastOfTiedCorners) {
  connect(true, true, true, true);
  struct Row {
    Vector aLo, aHi;
    float b;  ///< all components of the second vector
    Bounds ma, mb;
    float lo, hi;
  };
  const Row rows[] = {
      // Corners far below the smallest float: compared as doubles, they do not tie.
      {{1e-40F, 0, 0}, {-1e-40F, 0, 0}, 1e-40F, {1, 1}, {1, 1}, -0.0F, -0.0F},
      // -1 · -0 comes after 0 · -1, among the products of multiplier and dot product
      {{-1, 0, 0}, {-0.0F, -0.0F, -0.0F}, 1, {-1, 0}, {1, 1}, 0, 1},
      // ... and among those of the two multipliers.
      {{1, 0, 0}, {1, 0, 0}, 1, {-1, 0}, {-1, -0.0F}, 0, 1},
  };
  for (const Row& row : rows) {
    vectorA.answer({}, row.aLo, row.aHi);
    vectorB.answer({}, {row.b, row.b, row.b}, {row.b, row.b, row.b});
    multA.answer(1, row.ma.lo, row.ma.hi);
    multB.answer(1, row.mb.lo, row.mb.hi);
    float lo = 7;
    float hi = 7;
    floatOutput("dot_product").getFloatBounds(lo, hi);
    EXPECT_TRUE(same(Vector{lo, hi, 0}, Vector{row.lo, row.hi, 0})) << &row - rows;
  }
}

TEST_F(TexVectorOpTest, IsZeroWithoutInputs) {
  connect(false, false, false, false);
  for (const Output& output : kOutputs) expectAnswers(output, {});
  EXPECT_EQ(asked(), Calls{});
}

TEST_F(TexVectorOpTest, SeesNewConnectionsOnlyFromTheNextFrameOn) {
  connect(true, true, true, true);
  vectorA.value = {1, 2, 3};
  vectorB.value = {30, 20, 10};
  multA.value = 2;
  multB.value = 5;
  ASSERT_TRUE(op.connect("vector_b", nullptr));
  ASSERT_TRUE(op.connect("mult_a", nullptr));
  const float beforeAndAfter[2][9] = {{1000, -400, 152, -148, 2, 150, 2, 4, 6},
                                      {0, 0, 1, 1, 1, 0, 1, 2, 3}};
  for (const auto& expected : beforeAndAfter) {
    for (std::size_t i = 0; i < std::size(expected); ++i) {
      EXPECT_EQ(value(kOutputs[i]).x, expected[i]) << kOutputs[i].name;
    }
    op.frameBegin();
  }
}

}  // namespace
