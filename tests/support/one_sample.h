// SPDX-License-Identifier: MIT
#pragma once

#include "standin/host_objects.h"

namespace test {

/// One shaded point with all that its context reaches, for programs that evaluate outside a render.
/// Its camera moves along x or not; there is no log.
struct OneSample {
  explicit OneSample(bool moving) {
    services.cameraMoving = moving ? 1 : 0;
    frame.worldToCamera = {{0.8F, 0, -0.6F}, {0, 1, 0}, {0.6F, 0, 0.8F}, {1, 2, -9}};
    frame.cameraToWorld = {{0.8F, 0, 0.6F}, {0, 1, 0}, {-0.6F, 0, 0.8F}, {5, -2, 7}};
    frame.imageHeight = 480;
    scene.lo = {-1, -1, -1};
    scene.hi = {1, 1, 1};
    surface.hasUvw = surface.hasMaterialId = true;
    surface.uvw = {0.25F, 0.5F, 0};
    surface.a = {2, 0, 0.5F};
    surface.b = {0, 4, 0};
    surface.c = {0, 0.25F, 1};
    object.hasMapping = true;
    sc.renderContext = &render;
    sc.rayDirection = {0.6F, 0, -0.8F};
    sc.rayTime = 0.25;
    sc.imageX = 100.5;
    sc.imageY = 20.25;
    sc.object = &object;
    sc.surface = &surface;
    sc.shadingPoint = {1, 2, 3};
    sc.normal = sc.geometricNormal = {0, 0.6F, 0.8F};
  }

  struct Motion final : QUtils::CameraMotion {
    QUtils::DVector pointToRayTime(const QUtils::DVector& p, double t) override {
      return {p.x + t, p.y, p.z};
    }
    QUtils::Vector vectorToRayTime(const QUtils::Vector& v, double /*t*/) override { return v; }
    QUtils::DVector pointFromRayTime(const QUtils::DVector& p, double t) override {
      return {p.x - t, p.y, p.z};
    }
    QUtils::Vector vectorFromRayTime(const QUtils::Vector& v, double /*t*/) override { return v; }
  };

  Motion motion;
  standin::BoxScene scene;
  standin::SurfacePoint surface;
  standin::SceneObject object;
  QUtils::RenderServices services{nullptr, &scene, &motion, 0};
  QUtils::QuorFrameData frame;
  QUtils::RenderContext render{&services, &frame};
  QUtils::ShadingContext sc{};
};

}  // namespace test
