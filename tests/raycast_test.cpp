#include "preview/world/raycast.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "preview/world/vectors.h"

namespace {

using preview::Hit;
using preview::Mesh;
using preview::PlacedMesh;
using preview::Ray;
using preview::Raycaster;
using preview::toDVector;
using preview::toVector;
using preview::V3d;
using preview::wide;

constexpr QUtils::PreciseTransform kIdentity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 0, 0}};
// Sheared, unevenly scaled, far from the origin; the second is a mirror image besides.
constexpr QUtils::PreciseTransform kSheared = {
    {2, 0, 0.5F}, {0.25F, 0.5F, 0}, {0, 1, 3}, {1000, 2000, 3000}};
constexpr QUtils::PreciseTransform kMirrored = {
    {-2, 0, 0.5F}, {0.25F, 0.5F, 0}, {0, 1, 3}, {1000, 2000, 3000}};

void expectNear(const V3d& got, const V3d& expected, double tolerance) {
  EXPECT_NEAR(got.x, expected.x, tolerance);
  EXPECT_NEAR(got.y, expected.y, tolerance);
  EXPECT_NEAR(got.z, expected.z, tolerance);
}

Ray rayBetween(const V3d& from, const V3d& to) {
  return {toDVector(from), toVector((to - from).normalized())};
}

V3d applyMatrix(const QUtils::PreciseTransform& t, const V3d& v) {
  return wide(t.c0) * v.x + wide(t.c1) * v.y + wide(t.c2) * v.z;
}

/// The U and the V axis as a texture finds them: the first two columns of the inverse of the matrix
/// with the columns a, b, c.
struct Axes {
  V3d u, v;
};
Axes axesOf(const Hit& hit) {
  const V3d a = wide(hit.a);
  const V3d b = wide(hit.b);
  const V3d c = wide(hit.c);
  const double det = a.cross(b).dot(c);
  const V3d rows[] = {b.cross(c) / det, c.cross(a) / det, a.cross(b) / det};
  return {{rows[0].x, rows[1].x, rows[2].x}, {rows[0].y, rows[1].y, rows[2].y}};
}

V3d pointOfUnitSphere(double u, double v) {
  const double longitude = 2 * std::numbers::pi * u;
  const double latitude = std::numbers::pi * (v - 0.5);
  return {-std::sin(longitude) * std::cos(latitude), std::sin(latitude),
          -std::cos(longitude) * std::cos(latitude)};
}

TEST(Raycast, KnownRaysMeetASphere) {
  const Mesh mesh = preview::makeMesh(preview::Sphere{.radius = 2});
  const PlacedMesh object = {&mesh, kIdentity};
  const Raycaster raycaster({&object, 1}, {});

  const struct {
    V3d from, to, point, normal, uvw;
    bool backfacing;
  } rows[] = {
      {{0, 0, 5}, {0, 0, 0}, {0, 0, 2}, {0, 0, 1}, {0.5, 0.5, 0}, false},
      {{7, 0, 0}, {0, 0, 0}, {2, 0, 0}, {1, 0, 0}, {0.75, 0.5, 0}, false},
      {{-7, 0, 0}, {0, 0, 0}, {-2, 0, 0}, {-1, 0, 0}, {0.25, 0.5, 0}, false},
      {{0, 0, 0}, {0, 0, 5}, {0, 0, 2}, {0, 0, -1}, {0.5, 0.5, 0}, true},
      {{0, std::sqrt(2), 9},
       {0, std::sqrt(2), 0},
       {0, std::sqrt(2), std::sqrt(2)},
       {0, std::sqrt(0.5), std::sqrt(0.5)},
       {0.5, 0.75, 0},
       false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "from " << row.from << " to " << row.to);
    const auto hit = raycaster.intersect(rayBetween(row.from, row.to));
    ASSERT_TRUE(hit);
    EXPECT_EQ(hit->object, 0U);
    EXPECT_EQ(hit->backfacing, row.backfacing);
    EXPECT_TRUE(hit->hasUvw);
    expectNear(wide(hit->point), row.point, 1e-5);
    expectNear(wide(hit->normal), row.normal, 1e-5);
    expectNear(wide(hit->geometricNormal), row.normal, 0.03);
    expectNear(wide(hit->uvw), row.uvw, 1e-5);
  }
  EXPECT_FALSE(raycaster.intersect(rayBetween({0, 0, 5}, {0, 2.3, 0})));
  EXPECT_FALSE(raycaster.intersect(rayBetween({0, 0, 5}, {0, 0, 9})));
}

TEST(Raycast, InverseOfTheUvwDerivativesHasTheAxesAsColumns) {
  const Mesh mesh = preview::makeMesh(preview::Sphere{});
  for (const QUtils::PreciseTransform& toWorld : {kIdentity, kSheared, kMirrored}) {
    const PlacedMesh object = {&mesh, toWorld};
    const Raycaster raycaster({&object, 1}, toWorld.offset);
    std::mt19937 random(1);
    std::uniform_real_distribution<double> inside(0.05, 0.95);
    for (int i = 0; i < 100; ++i) {
      const double u = inside(random);
      const double v = inside(random);
      SCOPED_TRACE(testing::Message() << "u " << u << ", v " << v);
      const auto pointAt = [&](double atU, double atV) {
        return applyMatrix(toWorld, pointOfUnitSphere(atU, atV));
      };
      const V3d point = pointAt(u, v);
      const double h = 1e-4;
      const V3d dPdu = (pointAt(u + h, v) - pointAt(u - h, v)) / (2 * h);
      const V3d dPdv = (pointAt(u, v + h) - pointAt(u, v - h)) / (2 * h);
      V3d outward = dPdu.cross(dPdv).normalized();
      if (outward.dot(point) < 0) outward = -outward;

      const auto hit = raycaster.intersect(rayBetween(point + outward * 5, point));
      ASSERT_TRUE(hit);
      const Axes axes = axesOf(*hit);
      expectNear(axes.u, dPdu, 0.02);
      expectNear(axes.v, dPdv, 0.02);
      EXPECT_FALSE(hit->backfacing);
      expectNear(wide(hit->normal), outward, 0.01);
      expectNear(wide(hit->geometricNormal), outward, 0.1);
    }
  }
}

// Along a step from one hit to a near one uvw changes by a * dx + b * dy + c * dz.
TEST(Raycast, UvwDerivativesForetellTheNextHit) {
  const struct {
    preview::Shape shape;
    double tolerance;  // part of the change; round shapes are flat between their vertices
  } rows[] = {{preview::Sphere{.radius = 1.5}, 0.05},
              {preview::Plane{.width = 3, .depth = 2}, 1e-4},
              {preview::Box{.width = 3, .height = 1, .depth = 2}, 1e-4},
              {preview::Torus{.radius = 1.2, .tube = 0.5}, 0.05}};
  for (const auto& [shape, tolerance] : rows) {
    const Mesh mesh = preview::makeMesh(shape);
    const PlacedMesh object = {&mesh, kSheared};
    const Raycaster raycaster({&object, 1}, kSheared.offset);
    std::mt19937 random(static_cast<unsigned>(shape.index()));
    std::uniform_real_distribution<double> around(-1, 1);
    int compared = 0;
    for (int i = 0; i < 2000; ++i) {
      const V3d from =
          V3d(around(random), 1 + around(random) / 2, around(random)).normalized() * 20;
      const V3d to(around(random), around(random), around(random));
      const auto hit = raycaster.intersect(rayBetween(from, to));
      const auto next = raycaster.intersect(rayBetween(from, to + V3d(0.04, 0.02, -0.04)));
      if (!hit || !next) continue;
      const V3d step = wide(next->point) - wide(hit->point);
      if (wide(hit->normal).dot(wide(next->normal)) < 0.99) continue;          // over an edge
      if (shape.index() == 0 && std::abs(hit->uvw.y - 0.5F) > 0.4F) continue;  // u spins at poles
      const auto foretell = [&](const Hit& at) {
        return wide(at.a) * step.x + wide(at.b) * step.y + wide(at.c) * step.z;
      };
      const V3d foretold = (foretell(*hit) + foretell(*next)) / 2;
      const V3d change = wide(next->uvw) - wide(hit->uvw);
      if (std::abs(change.x) > 0.5 || std::abs(change.y) > 0.5) continue;  // over a seam
      SCOPED_TRACE(testing::Message() << "shape " << shape.index() << ", ray " << i);
      EXPECT_NEAR(foretold.x, change.x, 1e-6 + tolerance * change.length());
      EXPECT_NEAR(foretold.y, change.y, 1e-6 + tolerance * change.length());
      ++compared;
    }
    EXPECT_GT(compared, 50) << "shape " << shape.index();
  }
}

TEST(Raycast, RoundShapesAreClosedAtSeamsAndPoles) {
  const Mesh sphere = preview::makeMesh(preview::Sphere{});
  const Mesh torus = preview::makeMesh(preview::Torus{.radius = 2, .tube = 0.5});
  const PlacedMesh objects[] = {{&sphere, kIdentity}, {&torus, kIdentity}};
  const Raycaster raycaster(objects, {});
  const struct {
    V3d from, direction;
    std::size_t object;
  } rows[] = {{{0, 5, 0}, {0, -1, 0}, 0},   {{0, -5, 0}, {0, 1, 0}, 0},
              {{0, 0.7, -5}, {0, 0, 1}, 0}, {{0, 0.2, -5}, {0, 0, 1}, 1},
              {{3, 0, 0}, {-1, 0, 0}, 1},   {{0, 5, -2.2}, {0, -1, 0}, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.from);
    const auto hit = raycaster.intersect({toDVector(row.from), toVector(row.direction)});
    ASSERT_TRUE(hit);
    EXPECT_EQ(hit->object, row.object);
    EXPECT_FALSE(hit->backfacing);
  }
}

TEST(Raycast, SingularDerivativesAreZero) {
  Mesh mesh = preview::makeMesh(preview::Plane{});
  for (preview::Vertex& vertex : mesh.vertices) vertex.dPdu = vertex.dPdv;
  const PlacedMesh object = {&mesh, kIdentity};
  const Raycaster raycaster({&object, 1}, {});
  const auto hit = raycaster.intersect({{0, 5, 0}, {0, -1, 0}});
  ASSERT_TRUE(hit);
  for (const QUtils::Vector& v : {hit->a, hit->b, hit->c}) EXPECT_EQ(wide(v), V3d(0));
}

TEST(Raycast, BothNormalsTurnToTheViewer) {
  const Mesh mesh = preview::makeMesh(preview::Plane{});
  for (const float height : {1.0F, -1.0F}) {  // the second mirrors the plane, and its front with it
    const PlacedMesh object = {&mesh, {{1, 0, 0}, {0, height, 0}, {0, 0, 1}, {}}};
    const Raycaster raycaster({&object, 1}, {});
    const auto fromAbove = raycaster.intersect({{0.1, 5, 0.2}, {0, -1, 0}});
    const auto fromBelow = raycaster.intersect({{0.1, -5, 0.2}, {0, 1, 0}});
    ASSERT_TRUE(fromAbove && fromBelow);
    EXPECT_EQ(fromAbove->backfacing, height < 0);
    EXPECT_EQ(fromBelow->backfacing, height > 0);
    for (const auto& [hit, up] : {std::pair(fromAbove, 1), std::pair(fromBelow, -1)}) {
      EXPECT_EQ(wide(hit->normal), V3d(0, up, 0));
      EXPECT_EQ(wide(hit->geometricNormal), V3d(0, up, 0));
      // The axes are those of the surface, whichever side is seen.
      EXPECT_EQ(axesOf(*hit).u, V3d(1, 0, 0));
      EXPECT_EQ(axesOf(*hit).v, V3d(0, 0, -1));
    }
  }
}

TEST(Raycast, NearestObjectWins) {
  const Mesh mesh = preview::makeMesh(preview::Plane{});
  const PlacedMesh objects[] = {{&mesh, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 1, 0}}},
                                {&mesh, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 3, 0}}},
                                {&mesh, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {0, 2, 0}}}};
  const Raycaster raycaster(objects, {});
  const auto hit = raycaster.intersect({{0.1, 5, 0.2}, {0, -1, 0}});
  ASSERT_TRUE(hit);
  EXPECT_EQ(hit->object, 1U);
}

TEST(Raycast, RenderSpaceKeepsDetailFarFromTheWorldsOrigin) {
  const Mesh mesh = preview::makeMesh(preview::Box{.width = 2, .height = 2, .depth = 2});
  const PlacedMesh object = {&mesh, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1e8, 2e8, 3e8 + 0.25}}};
  const Raycaster raycaster({&object, 1}, {1e8, 2e8 + 0.5, 3e8});
  const auto hit = raycaster.intersect({{0.125, -0.25, 9}, {0, 0, -1}});
  ASSERT_TRUE(hit);
  EXPECT_EQ(wide(hit->point), V3d(0.125, -0.25, 1.25));
  EXPECT_EQ(wide(raycaster.bounds().lo), V3d(-1, -1.5, -0.75));
  EXPECT_EQ(wide(raycaster.bounds().hi), V3d(1, 0.5, 1.25));
}

TEST(Raycast, BoundsEncloseEveryObject) {
  const Mesh mesh = preview::makeMesh(preview::Sphere{});
  const PlacedMesh objects[] = {{&mesh, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {5, 0, 0}}},
                                {&mesh, {{2, 0, 0}, {0, 2, 0}, {0, 0, 2}, {-7, 0, 1}}}};
  const Raycaster raycaster(objects, {20, 1, -10});
  expectNear(wide(raycaster.bounds().lo), {-29, -3, 9}, 1e-6);
  expectNear(wide(raycaster.bounds().hi), {-14, 1, 13}, 1e-6);
  const Raycaster empty({}, {0, 1, 0});
  EXPECT_EQ(wide(empty.bounds().lo), V3d(0));
  EXPECT_EQ(wide(empty.bounds().hi), V3d(0));
  EXPECT_FALSE(empty.intersect({{0, 0, 0}, {0, 0, 1}}));
}

TEST(ObjectSpace, TakesRenderSpaceBackToTheObject) {
  const preview::ObjectSpace space = preview::objectSpace(kMirrored, {999, 2001, 3002});
  const auto apply = [](const QUtils::Transform& t, const V3d& v) {
    return wide(t.c0) * v.x + wide(t.c1) * v.y + wide(t.c2) * v.z + wide(t.offset);
  };
  const V3d inObject(0.5, -2, 0.75);
  const V3d inRender = applyMatrix(kMirrored, inObject) + V3d(1, -1, -2);
  expectNear(apply(space.point, inRender), inObject, 1e-5);

  // A normal stays normal to what it was normal to, and keeps its side.
  const V3d normal(1, 2, 3);
  const V3d along = normal.cross(V3d(0, 0, 1));
  const V3d across = normal.cross(V3d(0, 1, 0));
  const auto directionInObject = [&](const V3d& v) {
    return apply(space.point, v) - wide(space.point.offset);
  };
  const V3d normalInObject = apply(space.normal, normal);
  EXPECT_NEAR(normalInObject.dot(directionInObject(along)), 0, 1e-5);
  EXPECT_NEAR(normalInObject.dot(directionInObject(across)), 0, 1e-5);
  EXPECT_NEAR(normalInObject.dot(directionInObject(normal)), normal.dot(normal), 1e-4);
}

}  // namespace
