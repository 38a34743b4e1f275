// SPDX-License-Identifier: MIT
#include "preview/world/frame.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <new>

#include "preview/messages/errors.h"

namespace preview {

namespace {

/// Throws where meshes would take more memory than the machine has.
void checkMemory(std::size_t triangles) {
  constexpr double kBytesOfTriangle = 160;  // with its vertices and Embree's part, about
  constexpr double kGiB = 1 << 30;
  const double needed = kBytesOfTriangle * static_cast<double>(triangles) / kGiB;
  const double present = static_cast<double>(sysconf(_SC_PHYS_PAGES)) *
                         static_cast<double>(sysconf(_SC_PAGESIZE)) / kGiB;
  if (needed <= present) return;
  throw SceneError("objects", std::to_string(triangles) + " triangles would take " +
                                  std::to_string(std::lround(needed)) + " GiB, the machine has " +
                                  std::to_string(std::lround(present)) +
                                  "; objects of the same shape share theirs");
}

bool isRound(const Shape& shape) {
  return std::holds_alternative<Sphere>(shape) || std::holds_alternative<Torus>(shape);
}

}  // namespace

World::World(const Scene& scene) {
  for (const Object& object : scene.objects) {
    objects_.push_back({&meshes_[object.shape], object.toWorld});
  }
  std::size_t triangles = 0;
  for (const auto& [shape, mesh] : meshes_) triangles += isRound(shape) ? kTrianglesOfRound : 0;
  checkMemory(triangles);
  for (const Object& object : scene.objects) {
    Mesh& mesh = meshes_[object.shape];
    if (!mesh.triangles.empty()) continue;
    try {
      mesh = makeMesh(object.shape);
    } catch (const InputError& e) {
      throw SceneError(object.place + ".shape", e.what());
    } catch (const std::bad_alloc&) {
      throw std::runtime_error(object.place + ".shape: out of memory");
    }
    if (!isRound(object.shape)) checkMemory(triangles += mesh.triangles.size());
  }
}

const Raycaster& World::raycaster(const DVector& worldOffset) {
  if (!raycaster_) raycaster_.emplace(objects_);
  raycaster_->setWorldOffset(worldOffset);
  return *raycaster_;
}

Frame::Frame(const Scene& scene, World& world, std::int32_t number, RenderLog* log)
    : scene_(scene),
      camera_(scene, number),
      raycaster_(world.raycaster(camera_.worldOffset())),
      log_(log),
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

ShadingContext Frame::contextOf(RenderContext& context, const Ray& ray, const Hit& hit,
                                double rayTime, double imageX, double imageY,
                                standin::SurfacePoint& surface) const {
  const Object& object = scene_.objects[hit.object];
  surface.hasUvw = object.hasUvw && hit.hasUvw;
  surface.uvw = hit.uvw;
  surface.a = hit.a;
  surface.b = hit.b;
  surface.c = hit.c;
  surface.hasMaterialId = object.hasMaterialId;
  surface.materialId = object.materialId;
  return {.renderContext = &context,
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
