// SPDX-License-Identifier: MIT
#include "preview/world/raycast.h"

#if __has_include(<embree4/rtcore.h>)
#include <embree4/rtcore.h>
#else
#include <embree3/rtcore.h>
#endif

#include <algorithm>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#include "math/vector.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"
#include "preview/world/vectors.h"

namespace preview {
namespace {

using EmbreeGeometry = std::unique_ptr<RTCGeometryTy, void (*)(RTCGeometry)>;

/// The weighted sum of one member of a triangle's vertices.
class Barycentric {
 public:
  Barycentric(const RenderSpaceMesh& object, const Triangle& triangle, double u, double v)
      : weights_{1 - u - v, u, v} {
    for (std::size_t i = 0; i < triangle.size(); ++i) {
      corners_[i] = object.placed(object.mesh().vertices[triangle[i]]);
    }
  }

  V3d operator()(Vector Vertex::*member) const {
    return wide(corners_[0].*member) * weights_[0] + wide(corners_[1].*member) * weights_[1] +
           wide(corners_[2].*member) * weights_[2];
  }
  V3d faceNormal() const {
    const V3d p0 = wide(corners_[0].position);
    const V3d e1 = wide(corners_[1].position) - p0;
    const V3d e2 = wide(corners_[2].position) - p0;
    return e1.cross(e2).normalized();
  }

 private:
  Vertex corners_[3];
  double weights_[3];
};

/// Embree aborts where no thread can be started: one is tried before.
RTCDevice newDevice() {
  std::thread([] {}).join();
  return rtcNewDevice(nullptr);
}

}  // namespace

RenderSpaceMesh::RenderSpaceMesh(const PlacedMesh& object)
    : mesh_(*object.mesh),
      x_(wide(object.toWorld.c0)),
      y_(wide(object.toWorld.c1)),
      z_(wide(object.toWorld.c2)),
      inWorld_(wide(object.toWorld.offset)),
      normals_(inverseRows(x_, y_, z_)) {
  for (const Vertex& vertex : mesh_.vertices) box_.extendBy(vector(vertex.position));
}

void RenderSpaceMesh::setWorldOffset(const DVector& worldOffset) {
  origin_ = inWorld_ - wide(worldOffset);
}

Vector RenderSpaceMesh::position(const Vertex& vertex) const {
  return toVector(vector(vertex.position) + origin_);
}

Vertex RenderSpaceMesh::placed(const Vertex& vertex) const {
  const Vector& n = vertex.normal;
  return {
      .position = position(vertex),
      .normal = toVector((normals_[0] * n.x + normals_[1] * n.y + normals_[2] * n.z).normalized()),
      .uvw = vertex.uvw,
      .dPdu = toVector(vector(vertex.dPdu)),
      .dPdv = toVector(vector(vertex.dPdv))};
}

std::array<float, 12> RenderSpaceMesh::matrix() const {
  std::array<float, 12> numbers;
  float* to = numbers.data();
  for (const V3d& column : {x_, y_, z_, origin_}) {
    for (const double number : {column.x, column.y, column.z}) *to++ = static_cast<float>(number);
  }
  return numbers;
}

ObjectSpace RenderSpaceMesh::objectSpace() const {
  const auto& [rx, ry, rz] = normals_;
  // The inverse transpose of the inverse is the transpose: its columns are the rows.
  const auto row = [&](double V3d::*m) { return toVector({x_.*m, y_.*m, z_.*m}); };
  return {.point = {toVector({rx.x, ry.x, rz.x}), toVector({rx.y, ry.y, rz.y}),
                    toVector({rx.z, ry.z, rz.z}),
                    toVector({-rx.dot(origin_), -ry.dot(origin_), -rz.dot(origin_)})},
          .normal = {row(&V3d::x), row(&V3d::y), row(&V3d::z), {}}};
}

Raycaster::Raycaster(std::span<const PlacedMesh> objects)
    : objects_(objects.begin(), objects.end()),
      device_(newDevice(), rtcReleaseDevice),
      scene_(nullptr, rtcReleaseScene) {
  std::map<const Mesh*, int> uses;
  for (const PlacedMesh& object : objects) ++uses[object.mesh];
  for (const auto& [mesh, count] : uses) triangles_ += mesh->triangles.size();
  checkDevice();
  for (const auto& [mesh, count] : uses) {
    if (count == 1) continue;
    RTCScene shared = shared_.emplace(mesh, newScene()).first->second.get();
    addMesh(shared, *mesh, 0, std::mem_fn(&Vertex::position));
    build(shared);
  }
}

void Raycaster::setWorldOffset(const DVector& worldOffset) {
  if (scene_ != nullptr && wide(worldOffset) == worldOffset_) return;
  worldOffset_ = wide(worldOffset);
  scene_.reset();  // room for the next
  scene_ = newScene();
  Imath::Box3d box;
  for (unsigned int id = 0; id < objects_.size(); ++id) {
    RenderSpaceMesh& object = objects_[id];
    object.setWorldOffset(worldOffset);
    box.extendBy(object.bounds());
    const auto shared = shared_.find(&object.mesh());
    if (shared == shared_.end()) {
      addMesh(scene_.get(), object.mesh(), id,
              [&](const Vertex& vertex) { return object.position(vertex); });
    } else {
      addInstance(object, shared->second.get(), id);
    }
  }
  if (!box.isEmpty()) bounds_ = {toVector(box.min), toVector(box.max)};
  build(scene_.get());
}

Raycaster::EmbreeScene Raycaster::newScene() const {
  EmbreeScene scene(rtcNewScene(device_.get()), rtcReleaseScene);
  rtcSetSceneFlags(scene.get(), RTC_SCENE_FLAG_ROBUST);
  return scene;
}

void Raycaster::build(RTCScene scene) const {
  rtcSetSceneProgressMonitorFunction(
      scene, [](void* /*unused*/, double /*fraction*/) { return interruption == 0; }, nullptr);
  rtcCommitScene(scene);
  throwIfInterrupted();
  checkDevice();
}

template <class Place>
void Raycaster::addMesh(RTCScene scene, const Mesh& mesh, unsigned int id, Place place) const {
  const EmbreeGeometry handle(rtcNewGeometry(device_.get(), RTC_GEOMETRY_TYPE_TRIANGLE),
                              rtcReleaseGeometry);
  auto* positions = static_cast<Vector*>(
      rtcSetNewGeometryBuffer(handle.get(), RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                              sizeof(Vector), mesh.vertices.size()));
  auto* triangles = static_cast<Triangle*>(
      rtcSetNewGeometryBuffer(handle.get(), RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                              sizeof(Triangle), mesh.triangles.size()));
  checkDevice();
  std::ranges::transform(mesh.vertices, positions, place);
  std::ranges::copy(mesh.triangles, triangles);
  rtcCommitGeometry(handle.get());
  rtcAttachGeometryByID(scene, handle.get(), id);
}

void Raycaster::addInstance(const RenderSpaceMesh& object, RTCScene shared, unsigned int id) const {
  const EmbreeGeometry handle(rtcNewGeometry(device_.get(), RTC_GEOMETRY_TYPE_INSTANCE),
                              rtcReleaseGeometry);
  rtcSetGeometryInstancedScene(handle.get(), shared);
  rtcSetGeometryTransform(handle.get(), 0, RTC_FORMAT_FLOAT3X4_COLUMN_MAJOR,
                          object.matrix().data());
  rtcCommitGeometry(handle.get());
  rtcAttachGeometryByID(scene_.get(), handle.get(), id);
}

void Raycaster::checkDevice() const {
  const RTCError error = rtcGetDeviceError(device_.get());
  if (error == RTC_ERROR_NONE) return;
  const std::string what = error == RTC_ERROR_OUT_OF_MEMORY
                               ? "out of memory"
                               : "Embree reports error " + std::to_string(error);
  throw std::runtime_error(what + " for what rays meet: " + std::to_string(triangles_) +
                           " triangles; the peak was " + memoryText(peakMemory()));
}

std::optional<Hit> Raycaster::intersect(const Ray& ray) const {
  const Vector origin = toVector(ray.origin);
  RTCRayHit query = {};
  query.ray.org_x = origin.x;
  query.ray.org_y = origin.y;
  query.ray.org_z = origin.z;
  query.ray.dir_x = ray.direction.x;
  query.ray.dir_y = ray.direction.y;
  query.ray.dir_z = ray.direction.z;
  query.ray.tfar = std::numeric_limits<float>::infinity();
  query.ray.mask = ~0U;
  query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
#if RTC_VERSION_MAJOR >= 4
  rtcIntersect1(scene_.get(), &query);
#else
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  rtcIntersect1(scene_.get(), &context, &query);
#endif
  if (query.hit.geomID == RTC_INVALID_GEOMETRY_ID) return std::nullopt;

  const bool isInstance = query.hit.instID[0] != RTC_INVALID_GEOMETRY_ID;
  const unsigned int id = isInstance ? query.hit.instID[0] : query.hit.geomID;
  const RenderSpaceMesh& object = objects_[id];
  const Triangle& triangle = object.mesh().triangles[query.hit.primID];
  const Barycentric at(object, triangle, query.hit.u, query.hit.v);
  V3d geometricNormal = at.faceNormal();
  V3d normal = at(&Vertex::normal).normalized();
  if (normal == V3d(0)) normal = geometricNormal;  // opposite normals at the corners cancel out
  const bool backfacing = geometricNormal.dot(wide(ray.direction)) > 0;
  if (backfacing) {
    geometricNormal = -geometricNormal;
    normal = -normal;
  }
  const auto [du, dv, dw] = inverseRows(at(&Vertex::dPdu), at(&Vertex::dPdv), normal);
  return Hit{.object = id,
             .point = toDVector(at(&Vertex::position)),
             .normal = toVector(normal),
             .geometricNormal = toVector(geometricNormal),
             .backfacing = backfacing,
             .hasUvw = object.mesh().hasUvw(query.hit.primID),
             .uvw = toVector(at(&Vertex::uvw)),
             .a = toVector({du.x, dv.x, dw.x}),
             .b = toVector({du.y, dv.y, dw.y}),
             .c = toVector({du.z, dv.z, dw.z})};
}

}  // namespace preview
