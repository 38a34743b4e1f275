#include "preview/world/raycast.h"

#if __has_include(<embree4/rtcore.h>)
#include <embree4/rtcore.h>
#else
#include <embree3/rtcore.h>
#endif

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

#include "math/vector.h"
#include "preview/world/vectors.h"

namespace preview {
namespace {

V3d applyMatrix(const PreciseTransform& t, const V3d& v) {
  return wide(t.c0) * v.x + wide(t.c1) * v.y + wide(t.c2) * v.z;
}

/// Position of the object's origin in render space.
V3d originOf(const PreciseTransform& toWorld, const DVector& worldOffset) {
  return wide(toWorld.offset) - wide(worldOffset);
}

/// The weighted sum of one member of a triangle's vertices.
class Barycentric {
 public:
  Barycentric(const std::vector<Vertex>& vertices, const Triangle& triangle, double u, double v)
      : corners_{&vertices[triangle[0]], &vertices[triangle[1]], &vertices[triangle[2]]},
        weights_{1 - u - v, u, v} {}

  V3d operator()(Vector Vertex::*member) const {
    return wide(corners_[0]->*member) * weights_[0] + wide(corners_[1]->*member) * weights_[1] +
           wide(corners_[2]->*member) * weights_[2];
  }
  V3d faceNormal() const {
    const V3d p0 = wide(corners_[0]->position);
    const V3d e1 = wide(corners_[1]->position) - p0;
    const V3d e2 = wide(corners_[2]->position) - p0;
    return e1.cross(e2).normalized();
  }

 private:
  const Vertex* corners_[3];
  double weights_[3];
};

/// A mesh in render space.
Mesh place(const PlacedMesh& object, const DVector& worldOffset) {
  const PreciseTransform& t = object.toWorld;
  const V3d origin = originOf(t, worldOffset);
  const V3d x = wide(t.c0);
  const V3d y = wide(t.c1);
  const V3d z = wide(t.c2);
  const std::array<V3d, 3> normals = inverseRows(x, y, z);

  Mesh placed = *object.mesh;
  for (Vertex& vertex : placed.vertices) {
    const V3d n = wide(vertex.normal);
    vertex.position = toVector(applyMatrix(t, wide(vertex.position)) + origin);
    vertex.normal = toVector((normals[0] * n.x + normals[1] * n.y + normals[2] * n.z).normalized());
    vertex.dPdu = toVector(applyMatrix(t, wide(vertex.dPdu)));
    vertex.dPdv = toVector(applyMatrix(t, wide(vertex.dPdv)));
  }
  // A mirrored triangle would show its back where its front was modelled.
  if (x.cross(y).dot(z) < 0) {
    for (Triangle& triangle : placed.triangles) std::swap(triangle[1], triangle[2]);
  }
  return placed;
}

}  // namespace

Raycaster::Raycaster(std::span<const PlacedMesh> objects, const DVector& worldOffset)
    : device_(rtcNewDevice(nullptr), rtcReleaseDevice), scene_(nullptr, rtcReleaseScene) {
  checkDevice();
  scene_.reset(rtcNewScene(device_.get()));
  rtcSetSceneFlags(scene_.get(), RTC_SCENE_FLAG_ROBUST);
  bool first = true;
  for (const PlacedMesh& object : objects) {
    meshes_.push_back(place(object, worldOffset));
    attach(meshes_.back(), static_cast<unsigned int>(meshes_.size() - 1));
    for (const Vertex& vertex : meshes_.back().vertices) {
      const Vector& p = vertex.position;
      if (first) bounds_ = {p, p};
      first = false;
      bounds_ = {min(bounds_.lo, p), max(bounds_.hi, p)};
    }
  }
  rtcCommitScene(scene_.get());
  checkDevice();
}

void Raycaster::attach(const Mesh& mesh, unsigned int id) {
  const std::unique_ptr<RTCGeometryTy, void (*)(RTCGeometry)> handle(
      rtcNewGeometry(device_.get(), RTC_GEOMETRY_TYPE_TRIANGLE), rtcReleaseGeometry);
  auto* positions = static_cast<Vector*>(
      rtcSetNewGeometryBuffer(handle.get(), RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                              sizeof(Vector), mesh.vertices.size()));
  auto* triangles = static_cast<Triangle*>(
      rtcSetNewGeometryBuffer(handle.get(), RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3,
                              sizeof(Triangle), mesh.triangles.size()));
  checkDevice();
  std::ranges::transform(mesh.vertices, positions, &Vertex::position);
  std::ranges::copy(mesh.triangles, triangles);
  rtcCommitGeometry(handle.get());
  rtcAttachGeometryByID(scene_.get(), handle.get(), id);
}

void Raycaster::checkDevice() const {
  const RTCError error = rtcGetDeviceError(device_.get());
  if (error != RTC_ERROR_NONE) {
    throw std::runtime_error("Embree reports error " + std::to_string(error));
  }
}

std::optional<Hit> Raycaster::intersect(const Ray& ray) const {
  const Vector origin = toFloat(ray.origin);
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

  const Mesh& mesh = meshes_[query.hit.geomID];
  const Barycentric at(mesh.vertices, mesh.triangles[query.hit.primID], query.hit.u, query.hit.v);
  V3d geometricNormal = at.faceNormal();
  V3d normal = at(&Vertex::normal).normalized();
  if (normal == V3d(0)) normal = geometricNormal;  // opposite normals at the corners cancel out
  const bool backfacing = geometricNormal.dot(wide(ray.direction)) > 0;
  if (backfacing) {
    geometricNormal = -geometricNormal;
    normal = -normal;
  }
  const auto [du, dv, dw] = inverseRows(at(&Vertex::dPdu), at(&Vertex::dPdv), normal);
  return Hit{.object = query.hit.geomID,
             .point = toDVector(at(&Vertex::position)),
             .normal = toVector(normal),
             .geometricNormal = toVector(geometricNormal),
             .backfacing = backfacing,
             .hasUvw = mesh.hasUvw,
             .uvw = toVector(at(&Vertex::uvw)),
             .a = toVector({du.x, dv.x, dw.x}),
             .b = toVector({du.y, dv.y, dw.y}),
             .c = toVector({du.z, dv.z, dw.z})};
}

ObjectSpace objectSpace(const PreciseTransform& toWorld, const DVector& worldOffset) {
  const auto [rx, ry, rz] = inverseRows(wide(toWorld.c0), wide(toWorld.c1), wide(toWorld.c2));
  const V3d origin = originOf(toWorld, worldOffset);
  // The inverse transpose of the inverse is the transpose: its columns are the rows of `toWorld`.
  const auto row = [&](auto m) { return Vector{toWorld.c0.*m, toWorld.c1.*m, toWorld.c2.*m}; };
  return {.point = {toVector({rx.x, ry.x, rz.x}), toVector({rx.y, ry.y, rz.y}),
                    toVector({rx.z, ry.z, rz.z}),
                    toVector({-rx.dot(origin), -ry.dot(origin), -rz.dot(origin)})},
          .normal = {row(&Vector::x), row(&Vector::y), row(&Vector::z), {}}};
}

}  // namespace preview
