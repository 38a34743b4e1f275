#include <gtest/gtest.h>

#include "tests/support/shading_host.h"

namespace {

using namespace test;

TEST(TexSampler, DeclaresFixedBoundsAndNoGradient) {
  const ShadingHost host;
  Sampler sampler;
  struct Row {
    const char* name;
    float lo, hi;
  };
  for (const Row& row : {Row{"frame_time", -1e18F, 1e18F}, Row{"ray_time", 0, 1},
                         Row{"facing_ratio", -1, 1}, Row{"flipped_normal", 0, 1},
                         Row{"cameraNearClipPlane", 0, 1e9F}, Row{"cameraFarClipPlane", 0, 1e9F}}) {
    SCOPED_TRACE(row.name);
    auto& texture = sampler.output<TextureFloatInterface>(row.name);
    float lo = 7;
    float hi = 7;
    texture.getFloatBounds(lo, hi);
    EXPECT_TRUE(same(lo, row.lo));
    EXPECT_TRUE(same(hi, row.hi));
    EXPECT_TRUE(same(texture.getGradient(host.sc), Vector{}));
    EXPECT_EQ(texture.getPlugin(), nullptr);
  }
  for (const Row& row : {Row{"point", -1e18F, 1e18F}, Row{"pointObject", -1e18F, 1e18F},
                         Row{"pointCamera", -1e18F, 1e18F}, Row{"normal", -1, 1},
                         Row{"normalObject", -1, 1}, Row{"normalCamera", -1, 1},
                         Row{"gnormal", -1, 1}, Row{"view_dir", -1, 1}, Row{"rayDirection", -1, 1},
                         Row{"uvCoord", -1e18F, 1e18F}, Row{"pixelCenter", -1e18F, 1e18F},
                         Row{"tangentUCamera", -1, 1}, Row{"tangentVCamera", -1, 1}}) {
    SCOPED_TRACE(row.name);
    auto& texture = sampler.output<TextureVectorInterface>(row.name);
    Vector lo{7, 7, 7};
    Vector hi{7, 7, 7};
    texture.getVectorBounds(lo, hi);
    EXPECT_TRUE(same(lo, Vector{row.lo, row.lo, row.lo}));
    EXPECT_TRUE(same(hi, Vector{row.hi, row.hi, row.hi}));
    EXPECT_TRUE(same(texture.getGradient(host.sc), Vector{}));
    EXPECT_EQ(texture.getPlugin(), nullptr);
  }
}

// ------------------------------------------------------------------------------------------------
// The outputs worked out a second time, one rounded step a line.

float rounded(double x) { return static_cast<float>(x); }
double wide(float x) { return static_cast<double>(x); }
Vector rounded(const DVector& v) { return {rounded(v.x), rounded(v.y), rounded(v.z)}; }

float matrixRow(float m0, float m1, float m2, const Vector& v) {
  const float x = m0 * v.x;
  const float y = m1 * v.y;
  const float z = m2 * v.z;
  const float yx = y + x;
  return yx + z;
}

Vector matrix(const PreciseTransform& t, const Vector& v) {
  return {matrixRow(t.c0.x, t.c1.x, t.c2.x, v), matrixRow(t.c0.y, t.c1.y, t.c2.y, v),
          matrixRow(t.c0.z, t.c1.z, t.c2.z, v)};
}

Vector direction(const ShadingHost& h, const Vector& v) {
  const bool moving = h.services.cameraMoving != 0;
  return matrix(h.frame.worldToCamera, moving ? vectorFrom(v, h.sc.rayTime) : v);
}

Vector unit(const Vector& v) {
  const float xx = v.x * v.x;
  const float yy = v.y * v.y;
  const float zz = v.z * v.z;
  const float xy = xx + yy;
  const float len = std::sqrt(xy + zz);
  if (len < 1e-6F) return v;
  return {v.x / len, v.y / len, v.z / len};
}

Vector point(const ShadingHost& h) {
  const DVector& p = h.sc.shadingPoint;
  const DVector& o = h.frame.worldOffset;
  return rounded(DVector{p.x + o.x, p.y + o.y, p.z + o.z});
}

Vector pointObject(const ShadingHost& h) {
  const Vector p = rounded(h.sc.shadingPoint);
  return h.sc.object != nullptr ? Vector{p.z, p.x, p.y} : p;
}

Vector pointCamera(const ShadingHost& h) {
  const PreciseTransform& t = h.frame.worldToCamera;
  const bool moving = h.services.cameraMoving != 0;
  const Vector q = rounded(moving ? pointFrom(h.sc.shadingPoint, h.sc.rayTime) : h.sc.shadingPoint);
  const Vector v = matrix(t, q);
  return {v.x + rounded(t.offset.x), v.y + rounded(t.offset.y), v.z + rounded(t.offset.z)};
}

Vector normalObject(const ShadingHost& h) {
  const Vector& n = h.sc.normal;
  return h.sc.object != nullptr ? Vector{n.y, n.z, n.x} : n;
}

float cellCenter(float x) {
  const float cell = std::floor(x);
  return cell + 0.5F;
}

Vector pixelCenter(const ShadingHost& h) {
  const double y = h.frame.imageHeight - h.sc.imageY;
  return {cellCenter(rounded(h.sc.imageX)), cellCenter(rounded(y)), 0};
}

float cofactor(float a, float b, float c, float d, double det) {
  const double ab = wide(a) * wide(b);
  const double cd = wide(c) * wide(d);
  return rounded(ab - cd) / rounded(det);
}

Vector tangent(const ShadingHost& h, int axis) {
  if (h.sc.surface == nullptr) return {};
  const Vector& a = h.uvw.a;
  const Vector& b = h.uvw.b;
  const Vector& c = h.uvw.c;
  const double x = (wide(a.y) * wide(b.z) - wide(b.y) * wide(a.z)) * wide(c.x);
  const double y = (wide(a.z) * wide(b.x) - wide(b.z) * wide(a.x)) * wide(c.y);
  const double z = (wide(b.y) * wide(a.x) - wide(a.y) * wide(b.x)) * wide(c.z);
  const double xy = x + y;
  const double det = xy + z;
  Vector v{};
  if (det != 0 && axis == 0) {
    v = {cofactor(b.y, c.z, b.z, c.y, det), cofactor(c.y, a.z, c.z, a.y, det),
         cofactor(a.y, b.z, a.z, b.y, det)};
  } else if (det != 0) {
    v = {cofactor(b.z, c.x, b.x, c.z, det), cofactor(c.z, a.x, c.x, a.z, det),
         cofactor(a.z, b.x, a.x, b.z, det)};
  }
  return unit(direction(h, unit(v)));
}

Transform camToWorld(const ShadingHost& h) {
  const PreciseTransform& c = h.frame.cameraToWorld;
  const DVector& o = h.frame.worldOffset;
  if (h.services.cameraMoving == 0) {
    const Vector lhs = rounded(o);
    const Vector rhs = rounded(c.offset);
    return {c.c0, c.c1, c.c2, {lhs.x + rhs.x, lhs.y + rhs.y, lhs.z + rhs.z}};
  }
  const double t = h.sc.rayTime;
  const DVector p = pointTo({0, 0, 0}, t);
  return {vectorTo(c.c0, t), vectorTo(c.c1, t), vectorTo(c.c2, t),
          rounded(DVector{p.x + o.x, p.y + o.y, p.z + o.z})};
}

float facingRatio(const ShadingHost& h) {
  const Vector& n = h.sc.normal;
  const Vector& d = h.sc.rayDirection;
  const double xy = wide(n.x) * wide(d.x) + wide(n.y) * wide(d.y);
  const float cosine = rounded(xy + wide(n.z) * wide(d.z));
  return std::signbit(cosine) ? -cosine : cosine;
}

struct VectorOutput {
  const char* name;
  Vector (*value)(const ShadingHost&);
};
const VectorOutput kVectorOutputs[] = {
    {"point", point},
    {"pointObject", pointObject},
    {"pointCamera", pointCamera},
    {"normal", [](const ShadingHost& h) { return h.sc.normal; }},
    {"normalCamera", [](const ShadingHost& h) { return direction(h, h.sc.normal); }},
    {"normalObject", normalObject},
    {"gnormal", [](const ShadingHost& h) { return h.sc.geometricNormal; }},
    {"view_dir", [](const ShadingHost& h) { return h.sc.rayDirection; }},
    {"rayDirection", [](const ShadingHost& h) { return unit(direction(h, h.sc.rayDirection)); }},
    {"uvCoord", [](const ShadingHost& h) { return h.sc.surface ? h.uvw.uvw : Vector{}; }},
    {"tangentUCamera", [](const ShadingHost& h) { return tangent(h, 0); }},
    {"tangentVCamera", [](const ShadingHost& h) { return tangent(h, 1); }},
};

TEST(TexSampler, OutputsEqualTheirFormulas) {
  Sampler sampler;
  ShadingHost host;
  host.offerAll();
  for (std::uint32_t seed = 0; seed < 4000; ++seed) {
    SCOPED_TRACE(seed);
    RandomReals random(seed);
    host.services.cameraMoving = random.below(2) * -3;
    host.sc.object = random.below(4) != 0 ? &host.object : nullptr;
    host.sc.surface = random.below(4) != 0 ? &host.surface : nullptr;
    host.frame.frameTime = random.real();
    host.frame.worldToCamera = random.transform();
    host.frame.cameraToWorld = random.transform();
    host.frame.worldOffset = random.precise();
    host.frame.imageHeight = random.below(2000);
    host.sc.rayDirection = random.vector();
    host.sc.rayTime = random.real();
    host.sc.imageX = std::ldexp(random.real(), 6);
    host.sc.imageY = std::ldexp(random.real(), 6);
    host.sc.shadingPoint = random.precise();
    host.sc.normal = random.vector();
    host.sc.geometricNormal = random.vector();
    host.sc.backfacing = random.below(2);
    host.uvw.a = random.vector();
    host.uvw.b = random.vector();
    host.uvw.c = random.vector();
    host.uvw.uvw = random.vector();
    host.materialId.id = random.below(100) - 50;

    for (const VectorOutput& output : kVectorOutputs) {
      EXPECT_TRUE(same(sampler.vector(output.name, host.sc), output.value(host))) << output.name;
    }
    const Transform got = sampler.transform("camToWorld", host.sc);
    const Transform expected = camToWorld(host);
    EXPECT_TRUE(same(got.c0, expected.c0));
    EXPECT_TRUE(same(got.c1, expected.c1));
    EXPECT_TRUE(same(got.c2, expected.c2));
    EXPECT_TRUE(same(got.offset, expected.offset));

    EXPECT_TRUE(same(sampler.number("facing_ratio", host.sc), facingRatio(host)));
    EXPECT_TRUE(same(sampler.number("frame_time", host.sc), rounded(host.frame.frameTime)));
    EXPECT_TRUE(same(sampler.number("ray_time", host.sc), rounded(host.sc.rayTime)));
    EXPECT_TRUE(same(sampler.number("flipped_normal", host.sc), rounded(host.sc.backfacing)));
    EXPECT_EQ(sampler.integer("material_id", host.sc),
              host.sc.surface != nullptr ? host.materialId.id : 0);
    if (std::fabs(host.sc.imageX) < 1e6 && std::fabs(host.sc.imageY) < 1e6) {
      EXPECT_TRUE(same(sampler.vector("pixelCenter", host.sc), pixelCenter(host)));
    }
    if (HasFailure()) return;
  }
}

// ------------------------------------------------------------------------------------------------

TEST(TexSampler, AsksTheHostOnceAndInOrder) {
  ShadingHost host;
  host.offerAll();
  host.frame.cameraToWorld = {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}};
  host.sc.shadingPoint = {5, 0, 0};
  host.sc.normal = {6, 0, 0};
  host.sc.rayDirection = {7, 0, 0};
  Sampler sampler;

  const char* const mapping = "getInterface(2006012001)";
  const char* const uvwSource = "getInterface(2004353040)";
  const char* const materialIdSource = "getInterface(2004418576)";
  struct Row {
    const char* name;
    std::vector<std::string> calls;        ///< with a static camera
    std::vector<std::string> motionCalls;  ///< what a moving camera adds, at the end
  };
  const Row rows[] = {
      {"point", {}, {}},
      {"pointObject", {mapping, "worldToObjectPoint(5)"}, {}},
      {"pointCamera", {}, {"pointFromRayTime(5)"}},
      {"normal", {}, {}},
      {"normalObject", {mapping, "worldToObjectNormal(6)"}, {}},
      {"normalCamera", {}, {"vectorFromRayTime(6)"}},
      {"gnormal", {}, {}},
      {"view_dir", {}, {}},
      {"rayDirection", {}, {"vectorFromRayTime(7)"}},
      {"uvCoord", {uvwSource, "getUVW(0)"}, {}},
      {"pixelCenter", {}, {}},
      // Singular derivatives: the zero vector takes the same road.
      {"tangentUCamera", {uvwSource, "getUVWDerivatives(0)"}, {"vectorFromRayTime(0)"}},
      {"tangentVCamera", {uvwSource, "getUVWDerivatives(0)"}, {"vectorFromRayTime(0)"}},
  };
  for (const std::int32_t moving : {0, 1}) {
    host.services.cameraMoving = moving;
    const auto expectCalls = [&](std::vector<std::string> calls,
                                 const std::vector<std::string>& motionCalls) {
      if (moving != 0) calls.insert(calls.end(), motionCalls.begin(), motionCalls.end());
      EXPECT_EQ(host.calls, calls);
      host.calls.clear();
    };
    for (const Row& row : rows) {
      SCOPED_TRACE(row.name);
      sampler.vector(row.name, host.sc);
      expectCalls(row.calls, row.motionCalls);
    }
    for (const char* name : {"frame_time", "ray_time", "facing_ratio", "flipped_normal"}) {
      SCOPED_TRACE(name);
      sampler.number(name, host.sc);
      expectCalls({}, {});
    }
    sampler.transform("camToWorld", host.sc);
    expectCalls({}, {"vectorToRayTime(1)", "vectorToRayTime(2)", "vectorToRayTime(3)",
                     "pointToRayTime(0)"});
    sampler.integer("material_id", host.sc);
    expectCalls({materialIdSource, "getMaterialId(0)"}, {});
  }
}

TEST(TexSampler, FallsBackWhereNothingIsOffered) {
  ShadingHost host;
  Sampler sampler;
  host.frame.worldOffset = {1000, 0, 0};
  host.sc.shadingPoint = {1, 2, 3};
  host.sc.normal = {0.5F, 0.25F, -0.0F};
  host.services.cameraMoving = 1;
  host.uvw.uvw = {1, 2, 3};
  host.materialId.id = 7;
  const auto expectFallbacks = [&] {
    EXPECT_TRUE(same(sampler.vector("point", host.sc), Vector{1001, 2, 3}));
    EXPECT_TRUE(same(sampler.vector("pointObject", host.sc), Vector{1, 2, 3}));
    EXPECT_TRUE(same(sampler.vector("normalObject", host.sc), host.sc.normal));
    EXPECT_TRUE(same(sampler.vector("uvCoord", host.sc), Vector{}));
    EXPECT_EQ(sampler.integer("material_id", host.sc), 0);
    EXPECT_TRUE(same(sampler.vector("tangentUCamera", host.sc), Vector{}));
    EXPECT_TRUE(same(sampler.vector("tangentVCamera", host.sc), Vector{}));
  };
  expectFallbacks();

  // Objects that offer only what another one is asked for.
  host.sc.object = &host.object;
  host.sc.surface = &host.surface;
  host.object.addInterface(&host.uvw, 0);
  host.object.addInterface(&host.materialId, 0);
  host.surface.addInterface(&host.mapping, 0);
  expectFallbacks();
}

TEST(TexSampler, LeavesDirectionsThatAreTooShortAsTheyAre) {
  ShadingHost host;
  Sampler sampler;
  const float limit = 1e-6F;  // its square has itself as the root; less than 1e-6 in 64 bits
  const float below = std::nextafter(limit, 0.0F);
  struct Row {
    Vector direction, expected;
  };
  const Row rows[] = {
      {{0, 0, 0}, {0, 0, 0}},
      {{below, 0, 0}, {below, 0, 0}},
      {{limit, 0, 0}, {1, 0, 0}},
      {{0, -limit, 0}, {0, -1, 0}},
      {{3e38F, 1, 0}, {0, 0, 0}},  // the length overflows
      {{kNaN, 1, 0}, {kNaN, kNaN, kNaN}},
  };
  for (const Row& row : rows) {
    host.sc.rayDirection = row.direction;
    EXPECT_TRUE(same(sampler.vector("rayDirection", host.sc), row.expected)) << show(row.direction);
  }
}

TEST(TexSampler, TangentsDivideByTheDeterminantUnlessItIsZeroInDoublePrecision) {
  ShadingHost host;
  host.offerAll();
  Sampler sampler;
  const float tiny = 0x1p-60F;  // lost when it meets a 1 first
  struct Row {
    Vector a, b, c;
    bool singular;
  };
  const Row rows[] = {
      {{1, 2, 3}, {1, 2, 3}, {0, 0, 1}, true},
      {{1, -1, 0}, {0, 1, -1}, {tiny, 1, -1}, true},
      {{1, -1, 0}, {0, 1, -1}, {1, tiny, -1}, true},
      {{1, -1, 0}, {0, 1, -1}, {1, -1, tiny}, false},
      {{1, 1, 0}, {1, 1 + 0x1p-23F, 0}, {0, 0, 0x1p-120F}, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(show(row.c));
    host.uvw.a = row.a;
    host.uvw.b = row.b;
    host.uvw.c = row.c;
    for (int axis = 0; axis < 2; ++axis) {
      const Vector got = sampler.vector(axis == 0 ? "tangentUCamera" : "tangentVCamera", host.sc);
      EXPECT_EQ(sameBits(got, Vector{}), row.singular);
      EXPECT_TRUE(same(got, tangent(host, axis)));
    }
  }

  host.uvw.a = {2, 0, 0};
  host.uvw.b = {0, 4, 0};
  host.uvw.c = {0, 0, 1};
  EXPECT_TRUE(same(sampler.vector("tangentUCamera", host.sc), Vector{1, 0, 0}));
  EXPECT_TRUE(same(sampler.vector("tangentVCamera", host.sc), Vector{0, 1, 0}));

  // A determinant of 1e-60 rounds to zero: the axes are infinite, and their lengths too.
  host.uvw.a = {1e-20F, 0, 0};
  host.uvw.b = {0, 1e-20F, 0};
  host.uvw.c = {0, 0, 1e-20F};
  EXPECT_TRUE(same(sampler.vector("tangentUCamera", host.sc), Vector{kNaN, kNaN, kNaN}));
  EXPECT_TRUE(same(sampler.vector("tangentVCamera", host.sc), Vector{kNaN, kNaN, kNaN}));

  // The motion of the camera makes a direction even of singular derivatives.
  host.uvw.a = {};
  host.services.cameraMoving = 1;
  EXPECT_TRUE(same(sampler.vector("tangentUCamera", host.sc), Vector{0, 0, 1}));
}

TEST(TexSampler, FacingRatioIsSummedInDoublePrecisionAndHasNoSign) {
  ShadingHost host;
  Sampler sampler;
  struct Row {
    Vector n, d;
    float expected;
  };
  const Row rows[] = {
      {{0, 0, 1}, {0, 0, -1}, 1},
      {{0, 0, 1}, {1, 0, 0}, 0},
      {{0, 0, 1}, {0, 0, 2}, 2},
      {{1, 1, 1}, {-0.0F, -0.0F, -0.0F}, 0},
      {{1, 1, 1}, {0x1p30F, 1, -0x1p30F}, 1},  // 0 in 32 bits
      {{1, 1, 1}, {1, 0x1p60F, -0x1p60F}, 0},  // 1 if added from the other end
      {{1e30F, 0, 0}, {-1e30F, 0, 0}, kInf},
      {{kInf, 0, 0}, {0, 0, 0}, kNaN},
  };
  for (const Row& row : rows) {
    host.sc.normal = row.n;
    host.sc.rayDirection = row.d;
    EXPECT_TRUE(same(sampler.number("facing_ratio", host.sc), row.expected)) << show(row.d);
  }
}

TEST(TexSampler, PixelCentersCountFromTheBottomAndRoundDown) {
  ShadingHost host;
  Sampler sampler;
  struct Row {
    double x, y;
    std::int32_t height;
    float expectedX, expectedY;
  };
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Row rows[] = {
      {10.7, 20.2, 480, 10.5F, 459.5F},
      {-0.3, 480.3, 480, -0.5F, -0.5F},
      {-0.0, 480, 480, 0.5F, 0.5F},
      {-2, 482, 480, -1.5F, -1.5F},
      {10.999999999, 469.000000001, 480, 11.5F, 11.5F},      // rounded up to 32 bits first
      {8388607.5, 2.5, 16777219, 8388607.5F, 16777216.0F},   // the height is not rounded
      {-2147483648.0, 2147483648.0, 0, -0x1p31F, -0x1p31F},  // the lowest integer
      {2147483648.0, -2147483648.0, 0, -0x1p31F, -0x1p31F},  // what no integer holds
      {-2147484000.0, 1e300, 0, 0x1p31F, 0x1p31F},           // and below: one step further down
      {nan, nan, 480, -0x1p31F, -0x1p31F},
  };
  for (const Row& row : rows) {
    host.sc.imageX = row.x;
    host.sc.imageY = row.y;
    host.frame.imageHeight = row.height;
    EXPECT_TRUE(
        same(sampler.vector("pixelCenter", host.sc), Vector{row.expectedX, row.expectedY, 0}))
        << row.x;
  }
}

}  // namespace
