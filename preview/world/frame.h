// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/scene.h"
#include "preview/world/camera.h"
#include "preview/world/meshes.h"
#include "preview/world/raycast.h"
#include "standin/host_objects.h"

namespace preview {

/// The objects of a scene; those of the same shape share a mesh.
class Geometry {
 public:
  /// If files of meshes cannot be used, `diagnostics` says so, and the object is good for
  /// nothing. Throws `SceneError` where there is not enough memory.
  Geometry(const Scene& scene, Diagnostics& diagnostics);
  Geometry(const Geometry&) = delete;
  Geometry& operator=(const Geometry&) = delete;

  /// For the render space with its origin at `worldOffset`, until the next call.
  const Raycaster& raycaster(const DVector& worldOffset);

 private:
  std::map<Shape, Mesh> meshes_;
  std::vector<PlacedMesh> objects_;
  std::optional<Raycaster> raycaster_;
};

/// One frame of a scene: everything of the host that a shading context leads to. After construction
/// any number of threads may use it, until the next frame of its world is made.
class Frame {
 public:
  /// `number` is one of the scene's frames; `log` may be null and is not owned.
  Frame(const Scene& scene, Geometry& world, std::int32_t number, RenderLog* log);
  Frame(const Frame&) = delete;
  Frame& operator=(const Frame&) = delete;

  const FrameCamera& camera() const { return camera_; }

  /// The depths, as the camera sees them, between which the box around all objects lies; what is
  /// nearer than 0.1 counts as 0.1.
  std::pair<double, double> depths() const;

  /// Calls `evaluate` with the shading context of what is seen at a point of the image, in pixels
  /// from the top left corner, and the index of its object; returns false if there is nothing.
  template <class Evaluate>
  bool shade(double imageX, double imageY, double rayTime, Evaluate evaluate) const {
    FrameCameraMotion motion(camera_, rayTime);
    const Ray ray = camera_.primaryRay(imageX, imageY, motion.pose());
    const std::optional<Hit> hit = raycaster_.intersect(ray);
    if (!hit) return false;
    RenderServices services = {log_, &box_, &motion, camera_.moves() ? 1 : 0};
    RenderContext context = {&services, &frameData_};
    standin::SurfacePoint surface;
    evaluate(contextOf(context, ray, *hit, rayTime, imageX, imageY, surface), hit->object);
    return true;
  }

 private:
  ShadingContext contextOf(RenderContext& context, const Ray& ray, const Hit& hit, double rayTime,
                           double imageX, double imageY, standin::SurfacePoint& surface) const;

  const Scene& scene_;
  FrameCamera camera_;
  const Raycaster& raycaster_;
  RenderLog* log_;

  // A shading context leads to these by pointers that are not to const.
  mutable standin::BoxScene box_;
  mutable QuorFrameData frameData_;
  mutable std::vector<standin::SceneObject> objects_;
};

}  // namespace preview
