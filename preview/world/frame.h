#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "preview/scene/scene.h"
#include "preview/world/camera.h"
#include "preview/world/meshes.h"
#include "preview/world/raycast.h"
#include "standin/host_objects.h"

namespace preview {

/// The meshes of the scene's objects, in their order. Throws `SceneError` for a file that cannot be
/// used.
std::vector<Mesh> makeMeshes(const Scene& scene);

/// One frame of a scene: everything of the host that a shading context leads to. After construction
/// any number of threads may use it.
class Frame {
 public:
  /// `number` is one of the scene's frames; `log` may be null and is not owned.
  Frame(const Scene& scene, const std::vector<Mesh>& meshes, std::int32_t number, RenderLog* log);
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
    const Ray ray = camera_.primaryRay(imageX, imageY, rayTime);
    const std::optional<Hit> hit = raycaster_.intersect(ray);
    if (!hit) return false;
    standin::SurfacePoint surface;
    evaluate(contextOf(ray, *hit, rayTime, imageX, imageY, surface), hit->object);
    return true;
  }

 private:
  ShadingContext contextOf(const Ray& ray, const Hit& hit, double rayTime, double imageX,
                           double imageY, standin::SurfacePoint& surface) const;

  const Scene& scene_;
  FrameCamera camera_;
  TwoKeyCameraMotion motion_;
  Raycaster raycaster_;
  standin::BoxScene box_;
  QuorFrameData frameData_;
  RenderServices services_;

  // A shading context leads to these by pointers that are not to const.
  mutable RenderContext context_;
  mutable std::vector<standin::SceneObject> objects_;
};

}  // namespace preview
