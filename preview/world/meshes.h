// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <vector>

#include "host/types.h"
#include "preview/scene/scene.h"
#include "preview/world/polygon.h"

/// Triangle meshes of the shapes, in object space.
namespace preview {

/// A vertex carries what is interpolated over its triangles.
struct Vertex {
  Vector position;
  Vector normal;      ///< smooth, unit length
  Vector uvw;         ///< w is 0
  Vector dPdu, dPdv;  ///< change of position per unit of u and of v; 0 where undefined
};

struct Mesh {
  std::vector<Vertex> vertices;
  std::vector<Triangle> triangles;
  std::vector<bool> withoutUvw;  ///< by triangle; empty if all have uvw

  bool hasUvw(std::size_t triangle) const { return withoutUvw.empty() || !withoutUvw[triangle]; }
};

/// A mesh that is still to be made.
struct MeshSource {
  std::size_t triangles = 0;
  std::function<Mesh()> make;
};

/// The source of a shape's mesh. Throws InputError, with one line that names the file, for an OBJ
/// file that cannot be used; it is read here. Spheres and tori have the exact positions, normals
/// and derivatives at the vertices of a fine grid; planes and boxes are exact throughout.
///
/// Of the corners of an OBJ file those without a normal get the mean of those of the faces around
/// them, weighted by the angles there; a face of which a corner lacks texture coordinates has no
/// uvw. Derivatives are those of each triangle.
MeshSource sourceOf(const Shape& shape);

}  // namespace preview
