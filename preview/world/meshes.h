// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/types.h"
#include "preview/scene/scene.h"

/// Triangle meshes of the shapes, in object space.
namespace preview {

/// A vertex carries what is interpolated over its triangles.
struct Vertex {
  Vector position;
  Vector normal;      ///< smooth, unit length
  Vector uvw;         ///< w is 0
  Vector dPdu, dPdv;  ///< change of position per unit of u and of v; 0 where undefined
};

/// Three vertices, counter-clockwise as seen from the front.
using Triangle = std::array<std::uint32_t, 3>;

struct Mesh {
  std::vector<Vertex> vertices;
  std::vector<Triangle> triangles;
  bool hasUvw = true;  ///< where false, uvw and its derivatives are 0
};

/// How many triangles the mesh of a shape has, or at most has. Throws InputError, with one line
/// that names the file, for an OBJ file that cannot be used.
std::size_t countTriangles(const Shape& shape);

/// The mesh of a shape whose triangles were counted. Spheres and tori have the exact positions,
/// normals and derivatives at the vertices of a fine grid; planes and boxes are exact throughout.
///
/// The faces of a Wavefront OBJ file, its groups and materials put together. Corners without a
/// normal get the mean of those of the faces around them, weighted by area; a file in which any
/// corner lacks texture coordinates gives a mesh without uvw. Derivatives are those of each
/// triangle. Throws InputError as `countTriangles` does.
Mesh makeMesh(const Shape& shape);

}  // namespace preview
