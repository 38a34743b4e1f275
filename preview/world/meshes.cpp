// SPDX-License-Identifier: MIT
#include "preview/world/meshes.h"

#include <tiny_obj_loader.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>
#include <string>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/number_text.h"
#include "preview/world/vectors.h"

namespace preview {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr std::uint32_t kColumns = 192, kRows = 96;  // of the grid of a sphere or torus
constexpr double kMaxNumber = 1e9;         // of a file; what is made of it stays within floats
constexpr int kMaxCorners = 10'000;        // cutting a face into triangles takes their square
constexpr std::size_t kMaxLine = 1 << 20;  // bytes; the longest face is a third of it

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

[[noreturn]] void fail(const std::filesystem::path& path, std::string reason) {
  while (!reason.empty() && reason.back() == '\n') reason.pop_back();
  std::ranges::replace(reason, '\n', ' ');
  throw InputError(shownPath(path) + ": " + reason);
}

/// Refuses what the parser would take for something else: what is no number, or is missing, for 0,
/// and faces with wrong indices, of which it leaves out some.
class ObjLines {
 public:
  explicit ObjLines(const std::filesystem::path& path) : path_(path) {}

  /// Returns the number of triangles into which the faces are cut.
  std::size_t check() {
    std::ifstream file(path_);
    std::vector<char> buffer(kMaxLine);
    for (; file.getline(buffer.data(), std::ssize(buffer)); ++line_) {
      const std::streamsize end = file.eof() ? 0 : 1;  // is counted
      const std::string line(buffer.data(), static_cast<std::size_t>(file.gcount() - end));
      std::istringstream words(line.substr(0, line.find('#')));
      std::string word;
      words >> word;
      if (word == "f") checkFace(words);
      const auto* const kind = std::ranges::find(kKinds, word);
      if (kind == std::end(kKinds)) continue;
      checkNumbers(words, word == "vt" ? 1 : 3);
      ++counts_[static_cast<std::size_t>(kind - kKinds)];
    }
    if (file.bad() || !file.is_open()) fail(path_, "cannot be read");
    if (!file.eof()) failAtLine("is longer than " + std::to_string(kMaxLine - 1) + " characters");
    for (std::size_t kind = 0; kind < std::size(kKinds); ++kind) {
      const auto [greatest, line] = greatest_[kind];
      if (greatest <= counts_[kind]) continue;
      line_ = line;
      failAtLine("there is no " + (kKinds[kind] + (" " + std::to_string(greatest))));
    }
    return triangles_;
  }

 private:
  static constexpr const char* kKinds[] = {"v", "vt", "vn"};  // in the order of a corner's indices

  [[noreturn]] void failAtLine(const std::string& what) const {
    fail(path_, "line " + std::to_string(line_) + ": " + what);
  }

  void checkNumbers(std::istream& words, int missing) const {
    for (std::string word; words >> word; --missing) {
      const char* begin = word.data() + (word.front() == '+' ? 1 : 0);
      const char* end = word.data() + word.size();
      double value = 0;
      const auto [behind, error] = std::from_chars(begin, end, value);
      if (error != std::errc() || behind != end || !(std::abs(value) <= kMaxNumber)) {
        failAtLine("\"" + shortened(word) + "\" is not a number from " + numberText(-kMaxNumber) +
                   " to " + numberText(kMaxNumber));
      }
    }
    if (missing > 0) failAtLine("a number is missing");
  }

  void checkFace(std::istream& words) {
    int corners = 0;
    for (std::string word; words >> word; ++corners) {
      const char* at = word.data();
      const char* end = at + word.size();
      for (std::size_t kind = 0;; ++kind, ++at) {
        const bool mayLack = kind == 1 && at != end && *at == '/';  // "1//2"
        if (!mayLack) at = checkIndex(at, end, kind, word);
        if (at == end) break;
        if (*at != '/' || kind == 2) failAtLine("\"" + shortened(word) + "\" is no corner");
      }
    }
    if (corners < 3 || corners > kMaxCorners) {
      failAtLine("expected a face of 3 to " + std::to_string(kMaxCorners) + " corners, found " +
                 std::to_string(corners));
    }
    triangles_ += static_cast<std::size_t>(corners) - 2;
  }

  /// An index counts from 1, or from -1 backwards from the line; returns what is behind it.
  const char* checkIndex(const char* begin, const char* end, std::size_t kind,
                         const std::string& word) {
    std::int32_t index = 0;
    const auto [behind, error] = std::from_chars(begin, end, index);
    if (error == std::errc::invalid_argument) {
      failAtLine("\"" + shortened(word) + "\" is no corner");
    }
    if (error != std::errc() || index == 0 || -std::int64_t{index} > counts_[kind]) {
      failAtLine("there is no " + (kKinds[kind] + (" " + shortened({begin, behind}))));
    }
    if (index > greatest_[kind].first) greatest_[kind] = {index, line_};
    return behind;
  }

  const std::filesystem::path& path_;
  int line_ = 1;
  std::size_t triangles_ = 0;
  std::int64_t counts_[std::size(kKinds)] = {};                    // so far
  std::pair<std::int64_t, int> greatest_[std::size(kKinds)] = {};  // index, and its line
};

/// The corners of a file's triangles, three for each; an index of -1 stands for "not given".
using Corners = std::vector<tinyobj::index_t>;

V3d positionOf(const tinyobj::attrib_t& attrib, const tinyobj::index_t& corner) {
  const float* p = &attrib.vertices[3 * static_cast<std::size_t>(corner.vertex_index)];
  return {p[0], p[1], p[2]};
}
V3d normalOf(const tinyobj::attrib_t& attrib, const tinyobj::index_t& corner) {
  if (corner.normal_index < 0) return V3d(0);
  const float* n = &attrib.normals[3 * static_cast<std::size_t>(corner.normal_index)];
  return {n[0], n[1], n[2]};
}
V3d uvwOf(const tinyobj::attrib_t& attrib, const tinyobj::index_t& corner) {
  const float* t = &attrib.texcoords[2 * static_cast<std::size_t>(corner.texcoord_index)];
  return {t[0], t[1], 0};
}

/// What leads from the first corner of a triangle to the second and to the third.
struct Edges {
  V3d e1, e2;
};
template <class Of>
Edges edges(Of of, const tinyobj::attrib_t& attrib, const Corners& corners, std::size_t first) {
  const V3d origin = of(attrib, corners[first]);
  return {of(attrib, corners[first + 1]) - origin, of(attrib, corners[first + 2]) - origin};
}

/// For each position of the file the sum of the normals of its triangles, weighted by area.
std::vector<V3d> smoothNormals(const tinyobj::attrib_t& attrib, const Corners& corners) {
  std::vector<V3d> sums(attrib.vertices.size() / 3, V3d(0));
  for (std::size_t first = 0; first < corners.size(); first += 3) {
    const auto [e1, e2] = edges(positionOf, attrib, corners, first);
    for (std::size_t i = first; i < first + 3; ++i) {
      sums[static_cast<std::size_t>(corners[i].vertex_index)] += e1.cross(e2);
    }
  }
  return sums;
}

/// Gives the three vertices from `first` on their texture coordinates and what follows from them.
void setUvw(std::vector<Vertex>& vertices, const tinyobj::attrib_t& attrib, const Corners& corners,
            std::size_t first) {
  const auto [e1, e2] = edges(positionOf, attrib, corners, first);
  const auto [t1, t2] = edges(uvwOf, attrib, corners, first);
  const double det = t1.x * t2.y - t2.x * t1.y;
  for (std::size_t i = first; i < first + 3; ++i) {
    vertices[i].uvw = toVector(uvwOf(attrib, corners[i]));
    if (det == 0) continue;
    vertices[i].dPdu = toVector((e1 * t2.y - e2 * t1.y) / det);
    vertices[i].dPdv = toVector((e2 * t1.x - e1 * t2.x) / det);
  }
}

Mesh build(const ObjFile& obj) {
  const auto& path = obj.path;
  std::ifstream file(path);
  tinyobj::attrib_t attrib;
  std::vector<tinyobj::shape_t> shapes;
  std::vector<tinyobj::material_t> materials;
  std::string warning, error;
  // Without a reader for materials no file but this one is opened.
  if (!tinyobj::LoadObj(&attrib, &shapes, &materials, &warning, &error, &file, nullptr)) {
    fail(path, error.empty() ? "is not a readable OBJ file" : error);
  }
  Corners corners;
  for (const tinyobj::shape_t& shape : shapes) {
    corners.insert(corners.end(), shape.mesh.indices.begin(), shape.mesh.indices.end());
  }
  if (corners.empty()) fail(path, "has no faces");

  Mesh mesh;
  mesh.hasUvw = std::ranges::all_of(
      corners, [](const tinyobj::index_t& corner) { return corner.texcoord_index >= 0; });
  const std::vector<V3d> smooth = smoothNormals(attrib, corners);
  mesh.vertices.reserve(corners.size());
  mesh.triangles.reserve(corners.size() / 3);
  for (const tinyobj::index_t& corner : corners) {
    V3d normal = normalOf(attrib, corner);
    if (normal == V3d(0)) normal = smooth[static_cast<std::size_t>(corner.vertex_index)];
    mesh.vertices.push_back(
        {toVector(positionOf(attrib, corner)), toVector(normal.normalized()), {}, {}, {}});
  }
  for (std::uint32_t first = 0; first < corners.size(); first += 3) {
    mesh.triangles.push_back({first, first + 1, first + 2});
    if (mesh.hasUvw) setUvw(mesh.vertices, attrib, corners, first);
  }
  return mesh;
}

std::size_t count(const Sphere& /*shape*/) { return std::size_t{2} * kColumns * kRows; }
std::size_t count(const Torus& /*shape*/) { return std::size_t{2} * kColumns * kRows; }
std::size_t count(const Plane& /*shape*/) { return 2; }
std::size_t count(const Box& /*shape*/) { return 12; }
std::size_t count(const ObjFile& file) { return ObjLines(file.path).check(); }

}  // namespace

std::size_t countTriangles(const Shape& shape) {
  return std::visit([](const auto& s) { return count(s); }, shape);
}

Mesh makeMesh(const Shape& shape) {
  return std::visit([](const auto& s) { return build(s); }, shape);
}

}  // namespace preview
