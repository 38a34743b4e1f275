// SPDX-License-Identifier: MIT
#include "preview/world/meshes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>
#include <utility>

#include "preview/world/obj_file.h"
#include "preview/world/vectors.h"

namespace preview {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr std::uint32_t kColumns = 192, kRows = 96;  // of the grid of a sphere or torus

/// A vertex in double precision; the normal's length is free.
struct SurfacePoint {
  V3d position, normal, dPdu, dPdv;
};

/// Adds a surface given by its points over the unit square, in columns x rows cells. dP/du x dP/dv
/// points to the front.
template <class Surface>
void addGrid(Mesh& mesh, std::uint32_t columns, std::uint32_t rows, Surface surface) {
  const auto first = static_cast<std::uint32_t>(mesh.vertices.size());
  for (std::uint32_t row = 0; row <= rows; ++row) {
    for (std::uint32_t column = 0; column <= columns; ++column) {
      const double u = static_cast<double>(column) / columns;
      const double v = static_cast<double>(row) / rows;
      const SurfacePoint p = surface(u, v);
      mesh.vertices.push_back({toVector(p.position), toVector(p.normal.normalized()),
                               toVector({u, v, 0}), toVector(p.dPdu), toVector(p.dPdv)});
    }
  }
  for (std::uint32_t row = 0; row < rows; ++row) {
    for (std::uint32_t column = 0; column < columns; ++column) {
      const std::uint32_t a = first + row * (columns + 1) + column;
      const std::uint32_t b = a + columns + 1;
      mesh.triangles.push_back({a, a + 1, b + 1});
      mesh.triangles.push_back({a, b + 1, b});
    }
  }
}

/// The rectangle around `center` with the sides `right` and `up`, seen from its front.
void addRectangle(Mesh& mesh, const V3d& center, const V3d& right, const V3d& up) {
  addGrid(mesh, 1, 1, [&](double u, double v) {
    return SurfacePoint{center + right * (u - 0.5) + up * (v - 0.5), right.cross(up), right, up};
  });
}

/// The angle after a fraction of a full turn; after a whole one the very same as before it, so that
/// the ends of a grid meet without a gap.
double turned(double fraction) { return fraction == 1 ? 0 : 2 * kPi * fraction; }

/// Away from the y axis at the angle phi around it. The seam, phi = 0, is at the back.
V3d outward(double phi) { return {-std::sin(phi), 0, -std::cos(phi)}; }
V3d outwardPerAngle(double phi) { return {-std::cos(phi), 0, std::sin(phi)}; }

Mesh build(const Sphere& sphere) {
  Mesh mesh;
  addGrid(mesh, kColumns, kRows, [r = sphere.radius](double u, double v) {
    const double phi = turned(u);
    const double latitude = kPi * (v - 0.5);
    const double ring = v == 0 || v == 1 ? 0 : std::cos(latitude);  // each pole is one point
    const V3d normal = outward(phi) * ring + V3d(0, std::sin(latitude), 0);
    const V3d north = outward(phi) * -std::sin(latitude) + V3d(0, ring, 0);
    return SurfacePoint{normal * r, normal, outwardPerAngle(phi) * (2 * kPi * r * ring),
                        north * (kPi * r)};
  });
  return mesh;
}

Mesh build(const Plane& plane) {
  Mesh mesh;
  addRectangle(mesh, V3d(0), {plane.width, 0, 0}, {0, 0, -plane.depth});
  return mesh;
}

Mesh build(const Box& box) {
  const V3d x(box.width, 0, 0);
  const V3d y(0, box.height, 0);
  const V3d z(0, 0, box.depth);
  Mesh mesh;
  addRectangle(mesh, x / 2, -z, y);
  addRectangle(mesh, -x / 2, z, y);
  addRectangle(mesh, y / 2, x, -z);
  addRectangle(mesh, -y / 2, x, z);
  addRectangle(mesh, z / 2, x, y);
  addRectangle(mesh, -z / 2, -x, y);
  return mesh;
}

Mesh build(const Torus& torus) {
  Mesh mesh;
  addGrid(mesh, kColumns, kRows, [&](double u, double v) {
    const double phi = turned(u);
    const double theta = turned(v);
    const V3d normal = outward(phi) * std::cos(theta) + V3d(0, std::sin(theta), 0);
    const V3d alongTube = outward(phi) * -std::sin(theta) + V3d(0, std::cos(theta), 0);
    const double ring = torus.radius + torus.tube * std::cos(theta);
    return SurfacePoint{outward(phi) * torus.radius + normal * torus.tube, normal,
                        outwardPerAngle(phi) * (2 * kPi * ring),
                        alongTube * (2 * kPi * torus.tube)};
  });
  return mesh;
}

/// Gives the three vertices of a triangle their texture coordinates and what follows from them.
void setUvw(std::span<Vertex> vertices, std::span<const ObjTriangles::Corner> corners,
            const ObjTriangles& obj) {
  const auto edges = [&](const std::vector<V3d>& list, std::size_t kind) {
    const V3d& first = list[corners[0][kind]];
    return std::pair(list[corners[1][kind]] - first, list[corners[2][kind]] - first);
  };
  const auto [e1, e2] = edges(obj.positions, 0);
  const auto [t1, t2] = edges(obj.uvw, 1);
  const double det = t1.x * t2.y - t2.x * t1.y;
  for (std::size_t i = 0; i < corners.size(); ++i) {
    const V3d& uvw = obj.uvw[corners[i][1]];
    vertices[i].uvw = toVector({uvw.x, uvw.y, 0});
    if (det == 0) continue;
    vertices[i].dPdu = toVector((e1 * t2.y - e2 * t1.y) / det);
    vertices[i].dPdv = toVector((e2 * t1.x - e1 * t2.x) / det);
  }
}

Mesh build(const ObjTriangles& obj) {
  const std::size_t count = obj.corners.size();
  const auto positionOf = [&](std::size_t i) { return obj.positions[obj.corners[i][0]]; };
  // Weighted by the angle at each corner, so that the cut of a face into triangles does not matter.
  std::vector<V3d> smooth(obj.positions.size(), V3d(0));
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t first = i / 3 * 3;
    const V3d e1 = positionOf(first + (i + 1) % 3) - positionOf(i);
    const V3d e2 = positionOf(first + (i + 2) % 3) - positionOf(i);
    const V3d normal = e1.cross(e2);
    smooth[obj.corners[i][0]] += normal.normalized() * std::atan2(normal.length(), e1.dot(e2));
  }
  Mesh mesh;
  mesh.vertices.reserve(count);
  mesh.triangles.reserve(count / 3);
  for (const auto& [position, uvw, given] : obj.corners) {
    V3d normal = given != ObjTriangles::kNotGiven ? obj.normals[given] : V3d(0);
    if (normal == V3d(0)) normal = smooth[position];
    mesh.vertices.push_back(
        {toVector(obj.positions[position]), toVector(normal.normalized()), {}, {}, {}});
  }
  for (std::uint32_t first = 0; first < count; first += 3) {
    mesh.triangles.push_back({first, first + 1, first + 2});
    const std::span<const ObjTriangles::Corner> corners(&obj.corners[first], 3);
    mesh.withoutUvw.push_back(corners[0][1] == ObjTriangles::kNotGiven);
    if (mesh.withoutUvw.back()) continue;
    setUvw({&mesh.vertices[first], 3}, corners, obj);
  }
  return mesh;
}

template <class S>
MeshSource sourceOf(const S& shape, std::size_t triangles) {
  return {triangles, [shape] { return build(shape); }};
}
constexpr std::size_t kTrianglesOfGrid = std::size_t{2} * kColumns * kRows;
MeshSource sourceOf(const Sphere& sphere) { return sourceOf(sphere, kTrianglesOfGrid); }
MeshSource sourceOf(const Torus& torus) { return sourceOf(torus, kTrianglesOfGrid); }
MeshSource sourceOf(const Plane& plane) { return sourceOf(plane, 2); }
MeshSource sourceOf(const Box& box) { return sourceOf(box, 12); }
MeshSource sourceOf(const ObjFile& file) {
  ObjTriangles obj = readObj(file.path);
  const std::size_t triangles = obj.corners.size() / 3;
  return {triangles, [obj = std::move(obj)] { return build(obj); }};
}

}  // namespace

MeshSource sourceOf(const Shape& shape) {
  return std::visit([](const auto& s) { return sourceOf(s); }, shape);
}

}  // namespace preview
