#include "preview/meshes.h"

#include <tiny_obj_loader.h>

#include <cmath>
#include <numbers>
#include <string>

#include "preview/errors.h"
#include "preview/vectors.h"

namespace preview {
namespace {

constexpr double kPi = std::numbers::pi;

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

/// The angle after a part of a full turn; after a whole one the very same as before it, so that the
/// ends of a grid meet without a gap.
double turned(double part) { return part == 1 ? 0 : 2 * kPi * part; }

/// Away from the y axis at the angle phi around it. The seam, phi = 0, is at the back.
V3d outward(double phi) { return {-std::sin(phi), 0, -std::cos(phi)}; }
V3d outwardPerAngle(double phi) { return {-std::cos(phi), 0, std::sin(phi)}; }

Mesh build(const Sphere& sphere) {
  Mesh mesh;
  addGrid(mesh, 192, 96, [r = sphere.radius](double u, double v) {
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
  addGrid(mesh, 192, 96, [&](double u, double v) {
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

Mesh build(const ObjFile& file) { return loadObj(file.path); }

[[noreturn]] void fail(const std::filesystem::path& path, std::string reason) {
  while (!reason.empty() && reason.back() == '\n') reason.pop_back();
  for (char& c : reason) {
    if (c == '\n') c = ' ';
  }
  throw InputError(path.string() + ": " + reason);
}

/// Three floats of a list of `attrib`, or two and a 0.
V3d triple(const std::vector<float>& list, int index) {
  const auto i = 3 * static_cast<std::size_t>(index);
  return {list[i], list[i + 1], list[i + 2]};
}
V3d pair(const std::vector<float>& list, int index) {
  const auto i = 2 * static_cast<std::size_t>(index);
  return {list[i], list[i + 1], 0};
}

bool allFinite(const std::vector<float>& list) {
  for (const float value : list) {
    if (!std::isfinite(value)) return false;
  }
  return true;
}

/// Checks that every corner of the file points at something; -1 stands for "not given".
void checkIndices(const std::filesystem::path& path, const tinyobj::attrib_t& attrib,
                  const std::vector<tinyobj::index_t>& corners) {
  const auto inside = [](int index, std::size_t size, int lowest) {
    return index >= lowest && index < static_cast<int>(size);
  };
  for (const tinyobj::index_t& corner : corners) {
    if (!inside(corner.vertex_index, attrib.vertices.size() / 3, 0) ||
        !inside(corner.normal_index, attrib.normals.size() / 3, -1) ||
        !inside(corner.texcoord_index, attrib.texcoords.size() / 2, -1)) {
      fail(path, "a face refers to a v, vn or vt that is not there");
    }
  }
}

}  // namespace

Mesh makeMesh(const Shape& shape) {
  return std::visit([](const auto& s) { return build(s); }, shape);
}

Mesh loadObj(const std::filesystem::path& path) {
  tinyobj::ObjReader reader;
  if (!reader.ParseFromFile(path.string())) {
    fail(path, reader.Error().empty() ? "is not a readable OBJ file" : reader.Error());
  }
  const tinyobj::attrib_t& attrib = reader.GetAttrib();
  std::vector<tinyobj::index_t> corners;
  for (const tinyobj::shape_t& shape : reader.GetShapes()) {
    corners.insert(corners.end(), shape.mesh.indices.begin(), shape.mesh.indices.end());
  }
  if (corners.empty()) fail(path, "has no faces");
  if (!allFinite(attrib.vertices) || !allFinite(attrib.normals) || !allFinite(attrib.texcoords)) {
    fail(path, "has a coordinate that is not a finite number");
  }
  checkIndices(path, attrib, corners);

  Mesh mesh;
  std::vector<V3d> smooth(attrib.vertices.size() / 3, V3d(0));
  for (const tinyobj::index_t& corner : corners) {
    if (corner.texcoord_index < 0) mesh.hasUvw = false;
  }
  for (std::size_t i = 0; i + 2 < corners.size(); i += 3) {
    const V3d p0 = triple(attrib.vertices, corners[i].vertex_index);
    const V3d e1 = triple(attrib.vertices, corners[i + 1].vertex_index) - p0;
    const V3d e2 = triple(attrib.vertices, corners[i + 2].vertex_index) - p0;
    for (std::size_t k = i; k < i + 3; ++k) {
      smooth[static_cast<std::size_t>(corners[k].vertex_index)] += e1.cross(e2);
    }
    V3d uvw[3] = {V3d(0), V3d(0), V3d(0)};
    V3d dPdu(0);
    V3d dPdv(0);
    if (mesh.hasUvw) {
      for (std::size_t k = 0; k < 3; ++k) {
        uvw[k] = pair(attrib.texcoords, corners[i + k].texcoord_index);
      }
      const V3d t1 = uvw[1] - uvw[0];
      const V3d t2 = uvw[2] - uvw[0];
      const double det = t1.x * t2.y - t2.x * t1.y;
      if (det != 0) {
        dPdu = (e1 * t2.y - e2 * t1.y) / det;
        dPdv = (e2 * t1.x - e1 * t2.x) / det;
      }
    }
    const auto first = static_cast<std::uint32_t>(i);
    mesh.triangles.push_back({first, first + 1, first + 2});
    for (std::size_t k = 0; k < 3; ++k) {
      mesh.vertices.push_back({toVector(triple(attrib.vertices, corners[i + k].vertex_index)),
                               QUtils::Vector{}, toVector(uvw[k]), toVector(dPdu), toVector(dPdv)});
    }
  }
  for (std::size_t i = 0; i < corners.size(); ++i) {
    V3d normal(0);
    if (corners[i].normal_index >= 0) normal = triple(attrib.normals, corners[i].normal_index);
    if (normal == V3d(0)) normal = smooth[static_cast<std::size_t>(corners[i].vertex_index)];
    mesh.vertices[i].normal = toVector(normal.normalized());
  }
  return mesh;
}

}  // namespace preview
