#include "preview/world/camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace {

using preview::FrameCamera;
using preview::TwoKeyCameraMotion;
using preview::V3d;
using preview::wide;

void expectNear(const V3d& got, const V3d& expected, double tolerance) {
  EXPECT_NEAR(got.x, expected.x, tolerance);
  EXPECT_NEAR(got.y, expected.y, tolerance);
  EXPECT_NEAR(got.z, expected.z, tolerance);
}

V3d apply(const QUtils::PreciseTransform& t, const V3d& p) {
  return wide(t.c0) * p.x + wide(t.c1) * p.y + wide(t.c2) * p.z + wide(t.offset);
}

preview::Scene sceneWith(std::vector<preview::CameraKey> keys) {
  preview::Scene scene;
  scene.image = {.width = 400, .height = 200, .samples = 1};
  scene.camera = {.fov = 90, .keys = std::move(keys)};
  return scene;
}

/// A quarter turn around the target: from z = 5, looking along -z, to x = 5, looking along -x. The
/// position takes the straight way.
preview::Scene quarterTurn() {
  preview::Scene scene = sceneWith({{.position = {100, 2, 55}, .target = {100, 2, 50}},
                                    {.position = {105, 2, 50}, .target = {100, 2, 50}}});
  scene.worldOffset = {100, 2, 50};
  scene.frames = {.first = 7, .last = 8};
  return scene;
}
struct Turned {
  V3d x, y, z, position;  // world space
};
Turned turned(double way) {
  const double angle = way * std::numbers::pi / 2;
  return {V3d(std::cos(angle), 0, -std::sin(angle)), V3d(0, 1, 0),
          V3d(std::sin(angle), 0, std::cos(angle)), V3d(100 + 5 * way, 2, 55 - 5 * way)};
}

TEST(Camera, StandingStillKeepsTheScenesRenderSpace) {
  preview::Scene scene = sceneWith({{.position = {10, 20, 30}, .target = {10, 20, -5}}});
  scene.worldOffset = {10, 0, 0};
  const FrameCamera camera(scene, 1);
  EXPECT_FALSE(camera.moves());
  EXPECT_EQ(wide(camera.worldOffset()), V3d(10, 0, 0));
  expectNear(wide(camera.cameraToWorld().offset), {0, 20, 30}, 1e-12);
  expectNear(apply(camera.worldToCamera(), {1, 22, 27}), {1, 2, -3}, 1e-6);
}

TEST(Camera, LooksAtItsTargetWithUpUp) {
  const FrameCamera camera(
      sceneWith({{.position = {1, 2, 3}, .target = {4, 6, 3}, .up = {0, 0, 2}}}), 1);
  expectNear(apply(camera.worldToCamera(), {4, 6, 3}), {0, 0, -5}, 1e-5);
  expectNear(apply(camera.worldToCamera(), {4, 6, 4}), {0, 1, -5}, 1e-5);
  expectNear(apply(camera.worldToCamera(), {4.8, 5.4, 3}), {1, 0, -5}, 1e-5);
  expectNear(apply(camera.cameraToWorld(), {0, 0, -5}), {4, 6, 3}, 1e-5);
}

TEST(Camera, RaysCountPixelsFromTheTopLeftCorner) {
  const FrameCamera camera(sceneWith({{.position = {0, 0, 5}, .target = {0, 0, 0}}}), 1);
  const struct {
    double x, y;
    V3d through;  // at distance 1 in front of the camera; the vertical angle is 90 degrees
  } rows[] = {
      {200, 100, {0, 0, 4}}, {0, 0, {-2, 1, 4}}, {400, 200, {2, -1, 4}}, {300, 50, {1, 0.5, 4}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.x << ", " << row.y);
    const preview::Ray ray = camera.primaryRay(row.x, row.y, 0.3);
    expectNear(wide(ray.origin), {0, 0, 5}, 1e-12);
    expectNear(wide(ray.direction), (row.through - V3d(0, 0, 5)).normalized(), 1e-7);
  }
}

TEST(Camera, MovesEvenlyFromTheFirstFrameToTheEndOfTheLast) {
  const preview::Scene scene = quarterTurn();
  const struct {
    std::int32_t frame;
    double rayTime, way;
  } rows[] = {{7, 0, 0}, {7, 0.5, 0.25}, {7, 1, 0.5}, {8, 0, 0.5}, {8, 0.3, 0.65}, {8, 1, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.way);
    const FrameCamera camera(scene, row.frame);
    const Turned expected = turned(row.way);
    const FrameCamera::Pose pose = camera.pose(row.rayTime);
    expectNear(pose.x, expected.x, 1e-12);
    expectNear(pose.y, expected.y, 1e-12);
    expectNear(pose.z, expected.z, 1e-12);
    expectNear(pose.position + wide(camera.worldOffset()), expected.position, 1e-12);
    const preview::Ray ray = camera.primaryRay(200, 100, row.rayTime);
    EXPECT_EQ(wide(ray.origin), pose.position);
    expectNear(wide(ray.direction), -expected.z, 1e-7);
  }
}

TEST(CameraMotion, RenderSpaceLiesAtTheFramesCamera) {
  const FrameCamera camera(quarterTurn(), 8);
  EXPECT_TRUE(camera.moves());
  EXPECT_EQ(wide(camera.worldOffset()), turned(0.5).position);
  EXPECT_EQ(wide(camera.cameraToWorld().offset), V3d(0));
  EXPECT_EQ(wide(camera.worldToCamera().offset), V3d(0));
}

TEST(CameraMotion, ToGivesAxesAndPositionAtTheRayTime) {
  const FrameCamera camera(quarterTurn(), 8);
  TwoKeyCameraMotion motion(camera);
  for (const double rayTime : {0.0, 0.25, 0.6, 1.0}) {
    SCOPED_TRACE(rayTime);
    const Turned expected = turned(0.5 + 0.5 * rayTime);
    const QUtils::PreciseTransform frame = camera.cameraToWorld();
    expectNear(wide(motion.vectorToRayTime(frame.c0, rayTime)), expected.x, 2e-7);
    expectNear(wide(motion.vectorToRayTime(frame.c1, rayTime)), expected.y, 2e-7);
    expectNear(wide(motion.vectorToRayTime(frame.c2, rayTime)), expected.z, 2e-7);
    expectNear(wide(motion.pointToRayTime({0, 0, 0}, rayTime)) + wide(camera.worldOffset()),
               expected.position, 1e-12);
  }
}

TEST(CameraMotion, FromShowsTheFramesCameraWhatTheMovedOneSees) {
  const FrameCamera camera(quarterTurn(), 7);
  TwoKeyCameraMotion motion(camera);
  const V3d world(103, 4, 51);
  const QUtils::DVector point = preview::toDVector(world - wide(camera.worldOffset()));
  const QUtils::Vector vector = {0.5F, -1, 2};
  for (const double rayTime : {0.0, 0.25, 0.6, 1.0}) {
    SCOPED_TRACE(rayTime);
    const Turned at = turned(0.5 * rayTime);
    const V3d d = world - at.position;
    const V3d v = wide(vector);
    QUtils::PreciseTransform toCamera = camera.worldToCamera();
    expectNear(apply(toCamera, wide(motion.pointFromRayTime(point, rayTime))),
               {d.dot(at.x), d.dot(at.y), d.dot(at.z)}, 1e-6);
    toCamera.offset = {};
    expectNear(apply(toCamera, wide(motion.vectorFromRayTime(vector, rayTime))),
               {v.dot(at.x), v.dot(at.y), v.dot(at.z)}, 1e-6);
  }
}

TEST(CameraMotion, FromUndoesTo) {
  const FrameCamera camera(quarterTurn(), 8);
  TwoKeyCameraMotion motion(camera);
  const QUtils::DVector point = {3, -1, 8};
  const QUtils::Vector vector = {3, -1, 8};
  for (const double rayTime : {0.0, 0.7, 1.0}) {
    expectNear(wide(motion.pointFromRayTime(motion.pointToRayTime(point, rayTime), rayTime)),
               wide(point), 1e-13);
    expectNear(wide(motion.vectorFromRayTime(motion.vectorToRayTime(vector, rayTime), rayTime)),
               wide(vector), 1e-6);
  }
  expectNear(wide(motion.pointFromRayTime(point, 0)), wide(point), 1e-14);
}

}  // namespace
