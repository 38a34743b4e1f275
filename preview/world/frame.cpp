// SPDX-License-Identifier: MIT
#include "preview/world/frame.h"

#include <algorithm>
#include <new>

#include "preview/diagnostics/errors.h"
#include "preview/system/memory.h"

namespace preview {

namespace {

/// The memory that a triangle takes, with its vertices and Embree's part, about.
double bytesOfTriangle(const Shape& shape) {
  constexpr double kWithItsOwnVertices = 360, kOfGrid = 165;
  return std::holds_alternative<ObjFile>(shape) ? kWithItsOwnVertices : kOfGrid;
}

}  // namespace

Geometry::Geometry(const Scene& scene, Diagnostics& diagnostics) {
  std::size_t triangles = 0;
  double bytes = 0;
  const auto at = [&](const Object& object, auto step) {
    const std::string place = object.place + ".shape";
    try {
      step();
    } catch (const InputError& e) {
      throw SceneError(place, e.what());
    } catch (const std::bad_alloc&) {
      throw std::runtime_error(place + ": out of memory; all objects, " +
                               std::to_string(triangles) + " triangles, take " + memoryText(bytes));
    }
  };
  struct Source {
    const Object* object;
    MeshSource mesh;
  };
  std::vector<Source> sources;
  for (const Object& object : scene.objects) {
    const auto [known, isNew] = meshes_.try_emplace(object.shape);
    objects_.push_back({&known->second, object.toWorld});
    if (!isNew) continue;
    MeshSource source;
    const auto read = [&] { source = sourceOf(object.shape); };
    if (!diagnostics.attempt([&] { at(object, read); })) continue;
    triangles += source.triangles;
    bytes += bytesOfTriangle(object.shape) * static_cast<double>(source.triangles);
    at(object,
       [&] { checkMemory("the triangles so far, " + std::to_string(triangles) + ",", bytes); });
    sources.push_back({&object, std::move(source)});
  }
  for (Source& source : sources) {
    at(*source.object,
       [&] { meshes_[source.object->shape] = std::exchange(source.mesh.make, nullptr)(); });
  }
}

const Raycaster& Geometry::raycaster(const DVector& worldOffset) {
  if (!raycaster_) raycaster_.emplace(objects_);
  try {
    raycaster_->setWorldOffset(worldOffset);
  } catch (...) {  // the next frame begins anew
    raycaster_.reset();
    throw;
  }
  return *raycaster_;
}

Frame::Frame(const Scene& scene, Geometry& world, std::int32_t number, RenderLog* log)
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
    const ObjectSpace space = raycaster_.object(i).objectSpace();
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
