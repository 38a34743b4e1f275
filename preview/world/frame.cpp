#include "preview/world/frame.h"

#include <algorithm>

#include "preview/messages/errors.h"

namespace preview {

namespace {

std::vector<PlacedMesh> placed(const Scene& scene, const std::vector<Mesh>& meshes) {
  std::vector<PlacedMesh> result;
  for (std::size_t i = 0; i < meshes.size(); ++i) {
    result.push_back({&meshes[i], scene.objects[i].toWorld});
  }
  return result;
}

}  // namespace

std::vector<Mesh> makeMeshes(const Scene& scene) {
  std::vector<Mesh> meshes;
  for (const Object& object : scene.objects) {
    try {
      meshes.push_back(makeMesh(object.shape));
    } catch (const InputError& e) {
      throw SceneError(object.place + ".shape", e.what());
    }
  }
  return meshes;
}

Frame::Frame(const Scene& scene, const std::vector<Mesh>& meshes, std::int32_t number,
             RenderLog* log)
    : scene_(scene),
      camera_(scene, number),
      motion_(camera_),
      raycaster_(placed(scene, meshes), camera_.worldOffset()),
      services_{log, &box_, &motion_, camera_.moves() ? 1 : 0},
      context_{&services_, &frameData_},
      objects_(scene.objects.size()) {
  box_.lo = raycaster_.bounds().lo;
  box_.hi = raycaster_.bounds().hi;
  frameData_.frameTime = number;
  frameData_.worldToCamera = camera_.worldToCamera();
  frameData_.cameraToWorld = camera_.cameraToWorld();
  frameData_.imageHeight = scene.image.height;
  frameData_.worldOffset = camera_.worldOffset();
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    const ObjectSpace space = objectSpace(scene.objects[i].toWorld, camera_.worldOffset());
    objects_[i].hasMapping = scene.objects[i].hasObjectSpace;
    objects_[i].pointToObject = space.point;
    objects_[i].normalToObject = space.normal;
  }
}

std::pair<double, double> Frame::depths() const {
  constexpr double kClosest = 0.1;
  std::vector<double> depths;
  for (const float x : {box_.lo.x, box_.hi.x}) {
    for (const float y : {box_.lo.y, box_.hi.y}) {
      for (const float z : {box_.lo.z, box_.hi.z}) {
        depths.push_back(std::max(-camera_.poseOfFrame().pointToCamera({x, y, z}).z, kClosest));
      }
    }
  }
  const auto [near, far] = std::ranges::minmax(depths);
  return {near, far};
}

ShadingContext Frame::contextOf(const Ray& ray, const Hit& hit, double rayTime, double imageX,
                                double imageY, standin::SurfacePoint& surface) const {
  const Object& object = scene_.objects[hit.object];
  surface.hasUvw = object.hasUvw && hit.hasUvw;
  surface.uvw = hit.uvw;
  surface.a = hit.a;
  surface.b = hit.b;
  surface.c = hit.c;
  surface.hasMaterialId = object.hasMaterialId;
  surface.materialId = object.materialId;
  return {.renderContext = &context_,
          .rayDirection = ray.direction,
          .rayTime = rayTime,
          .imageX = imageX,
          .imageY = imageY,
          .object = &objects_[hit.object],
          .surface = &surface,
          .shadingPoint = hit.point,
          .normal = hit.normal,
          .geometricNormal = hit.geometricNormal,
          .backfacing = hit.backfacing ? 1 : 0};
}

}  // namespace preview
