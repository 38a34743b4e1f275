// SPDX-License-Identifier: MIT
#pragma once

#include <ImathBox.h>

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "host/types.h"
#include "math/interval.h"
#include "preview/world/meshes.h"
#include "preview/world/vectors.h"

struct RTCDeviceTy;
struct RTCSceneTy;

/// Where rays meet the objects of a scene. Render space is world space moved so that its origin
/// lies at `worldOffset`.
namespace preview {

/// A mesh with its place in the world. The mesh is not owned.
struct PlacedMesh {
  const Mesh* mesh;
  PreciseTransform toWorld;  ///< object space to world space, invertible
};

/// What a ray meets first. Both normals have unit length and are turned towards the viewer: where
/// the back of a face is seen they are the opposites of those that were modelled.
struct Hit {
  std::size_t object;      ///< index of the placed mesh
  DVector point;           ///< render space
  Vector normal;           ///< smooth; the axes of render space
  Vector geometricNormal;  ///< of the flat triangle; the axes of render space
  bool backfacing;         ///< the triangle is seen clockwise, from its back
  bool hasUvw;             ///< where false, the following are 0
  Vector uvw;
  /// The changes of uvw per unit of x, of y and of z of render space, w being measured along the
  /// normal: the columns of the inverse of the matrix with the columns dP/du, dP/dv, normal. All 0
  /// where that matrix is singular.
  Vector a, b, c;
};

/// The transforms from render space to an object's own space.
struct ObjectSpace {
  Transform point;
  Transform normal;  ///< inverse transpose of the former's matrix; the offset is 0
};

/// A mesh with its place in a render space.
class RenderSpaceMesh {
 public:
  explicit RenderSpaceMesh(const PlacedMesh& object);

  void setWorldOffset(const DVector& worldOffset);

  const Mesh& mesh() const { return mesh_; }
  Imath::Box3d bounds() const { return {box_.min + origin_, box_.max + origin_}; }
  Vector position(const Vertex& vertex) const;
  Vertex placed(const Vertex& vertex) const;
  std::array<float, 12> matrix() const;  ///< column by column, the origin last
  ObjectSpace objectSpace() const;

 private:
  V3d vector(const Vector& v) const { return x_ * v.x + y_ * v.y + z_ * v.z; }

  const Mesh& mesh_;
  V3d x_, y_, z_, inWorld_;     ///< of object space, the origin last
  V3d origin_;                  ///< the same in render space
  std::array<V3d, 3> normals_;  ///< the columns of the matrix for normals, rows of the inverse
  Imath::Box3d box_;            ///< around the vertices, from the origin
};

/// The objects of a scene in Embree's hands, for one render space after the other. Those that share
/// a mesh are instances of it, which is built once. Between two calls of `setWorldOffset` any
/// number of threads may use it.
class Raycaster {
 public:
  /// The meshes outlive the object. Throws std::runtime_error when Embree fails.
  explicit Raycaster(std::span<const PlacedMesh> objects);

  /// Has to be called before rays are cast. Throws std::runtime_error when Embree fails, or when an
  /// interruption was noted.
  void setWorldOffset(const DVector& worldOffset);

  std::optional<Hit> intersect(const Ray& ray) const;

  /// A placed mesh by its index.
  const RenderSpaceMesh& object(std::size_t index) const { return objects_[index]; }

  /// The smallest box around all vertices, in render space; without vertices a point at the origin.
  const Range<Vector>& bounds() const { return bounds_; }

 private:
  using EmbreeScene = std::unique_ptr<RTCSceneTy, void (*)(RTCSceneTy*)>;

  EmbreeScene newScene() const;
  void build(RTCSceneTy* scene) const;
  template <class Place>
  void addMesh(RTCSceneTy* scene, const Mesh& mesh, unsigned int id, Place place) const;
  void addInstance(const RenderSpaceMesh& object, RTCSceneTy* shared, unsigned int id) const;
  void checkDevice() const;

  std::size_t triangles_ = 0;
  std::vector<RenderSpaceMesh> objects_;
  V3d worldOffset_;
  Range<Vector> bounds_ = {};
  std::unique_ptr<RTCDeviceTy, void (*)(RTCDeviceTy*)> device_;
  std::map<const Mesh*, EmbreeScene> shared_;  ///< in object space
  EmbreeScene scene_;
};

}  // namespace preview
