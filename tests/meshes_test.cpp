#include "preview/world/meshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

#include "preview/messages/errors.h"
#include "preview/world/vectors.h"

namespace {

using preview::Mesh;
using preview::V3d;
using preview::Vertex;
using preview::wide;

void expectNear(const QUtils::Vector& got, const V3d& expected, double tolerance) {
  EXPECT_NEAR(got.x, expected.x, tolerance);
  EXPECT_NEAR(got.y, expected.y, tolerance);
  EXPECT_NEAR(got.z, expected.z, tolerance);
}

/// The order of each triangle's corners goes with the smooth normals.
void expectFrontsOutside(const Mesh& mesh) {
  for (const preview::Triangle& triangle : mesh.triangles) {
    const V3d p0 = wide(mesh.vertices[triangle[0]].position);
    const V3d face = (wide(mesh.vertices[triangle[1]].position) - p0)
                         .cross(wide(mesh.vertices[triangle[2]].position) - p0);
    for (const std::uint32_t corner : triangle) {
      ASSERT_GE(face.dot(wide(mesh.vertices[corner].normal)), 0);
    }
  }
}

double areaOf(const Mesh& mesh) {
  double area = 0;
  for (const preview::Triangle& triangle : mesh.triangles) {
    const V3d p0 = wide(mesh.vertices[triangle[0]].position);
    area += (wide(mesh.vertices[triangle[1]].position) - p0)
                .cross(wide(mesh.vertices[triangle[2]].position) - p0)
                .length() /
            2;
  }
  return area;
}

constexpr double kPi = 3.14159265358979323846;

TEST(Meshes, ShapesHaveTheirAreaAndFaceOutwards) {
  const struct {
    preview::Shape shape;
    double area, tolerance;
  } rows[] = {{preview::Sphere{.radius = 2}, 16 * kPi, 0.05},
              {preview::Plane{.width = 3, .depth = 2}, 6, 1e-6},
              {preview::Box{.width = 3, .height = 1, .depth = 2}, 22, 1e-6},
              {preview::Torus{.radius = 3, .tube = 0.5}, 4 * kPi * kPi * 3 * 0.5, 0.1}};
  for (const auto& [shape, area, tolerance] : rows) {
    SCOPED_TRACE(shape.index());
    const Mesh mesh = preview::makeMesh(shape);
    EXPECT_TRUE(mesh.hasUvw);
    EXPECT_NEAR(areaOf(mesh), area, tolerance);
    expectFrontsOutside(mesh);
  }
}

TEST(Meshes, BoxFacesLookAwayFromItsCenterWithUprightUvs) {
  const Mesh mesh = preview::makeMesh(preview::Box{.width = 2, .height = 4, .depth = 6});
  for (const Vertex& vertex : mesh.vertices) {
    const V3d normal = wide(vertex.normal);
    const V3d size(2, 4, 6);
    EXPECT_EQ(wide(vertex.position).dot(normal), std::abs(size.dot(normal)) / 2);
    EXPECT_EQ(wide(vertex.dPdu).normalized().cross(wide(vertex.dPdv).normalized()), normal);
    if (normal.y == 0) {
      EXPECT_EQ(vertex.uvw.y, vertex.position.y / 4 + 0.5F);
    }
  }
}

TEST(Meshes, TorusRunsAroundTheYAxis) {
  const Mesh mesh = preview::makeMesh(preview::Torus{.radius = 3, .tube = 0.5});
  for (const Vertex& vertex : mesh.vertices) {
    const V3d p = wide(vertex.position);
    const V3d ring = V3d(p.x, 0, p.z).normalized() * 3;
    EXPECT_NEAR((p - ring).length(), 0.5, 1e-6);
    expectNear(vertex.normal, (p - ring) / 0.5, 1e-5);
  }
}

/// A mesh file with this text in it, of a name of its own as long as it lives.
class TemporaryObj {
 public:
  explicit TemporaryObj(const std::string& text) {
    std::string folder = testing::TempDir() + "meshes_test-XXXXXX";
    folder_ = mkdtemp(folder.data());
    std::ofstream(path()) << text;
  }
  ~TemporaryObj() { std::filesystem::remove_all(folder_); }
  TemporaryObj(const TemporaryObj&) = delete;
  TemporaryObj& operator=(const TemporaryObj&) = delete;

  std::filesystem::path path() const { return folder_ / "mesh.obj"; }

 private:
  std::filesystem::path folder_;
};

constexpr char kQuad[] =
    "v 0 0 0\nv 2 0 0\nv 2 4 0\nv 0 4 0\n"
    "vt 0 0\nvt 0.5 0\nvt 0.5 1\nvt 0 1\n";

TEST(ObjFiles, QuadHasTheDerivativesOfItsTriangles) {
  const Mesh mesh =
      preview::loadObj(TemporaryObj(std::string(kQuad) + "f 1/1 2/2 3/3 4/4\n").path());
  EXPECT_TRUE(mesh.hasUvw);
  EXPECT_EQ(mesh.triangles.size(), 2U);
  EXPECT_EQ(areaOf(mesh), 8);
  for (const Vertex& vertex : mesh.vertices) {
    EXPECT_EQ(wide(vertex.normal), V3d(0, 0, 1));
    EXPECT_EQ(wide(vertex.dPdu), V3d(4, 0, 0));
    EXPECT_EQ(wide(vertex.dPdv), V3d(0, 4, 0));
    EXPECT_EQ(wide(vertex.uvw), V3d(vertex.position.x / 4, vertex.position.y / 4, 0));
  }
}

TEST(ObjFiles, NormalsAreThoseOfTheFileOrSmooth) {
  // Two faces at a right angle along the edge 1-2, the first of twice the area.
  const std::string roof = "v 0 0 0\nv 0 0 1\nv 2 0 0\nv 0 -1 0\nvn 0 3 0\n";
  const Mesh smooth = preview::loadObj(TemporaryObj(roof + "f 1 2 3\nf 1 4 2\n").path());
  EXPECT_FALSE(smooth.hasUvw);
  const V3d edge = V3d(-1, 2, 0).normalized();
  const V3d expected[] = {edge, edge, {0, 1, 0}, edge, {-1, 0, 0}, edge};
  ASSERT_EQ(smooth.vertices.size(), 6U);
  for (std::size_t i = 0; i < 6; ++i) expectNear(smooth.vertices[i].normal, expected[i], 1e-7);

  const Mesh given =
      preview::loadObj(TemporaryObj(roof + "f 1//1 2//1 3//1\nf 1//1 4//1 2//1\n").path());
  for (const Vertex& vertex : given.vertices) EXPECT_EQ(wide(vertex.normal), V3d(0, 1, 0));
}

TEST(ObjFiles, OneCornerWithoutUvLeavesTheMeshWithout) {
  const Mesh mesh =
      preview::loadObj(TemporaryObj(std::string(kQuad) + "f 1/1 2/2 3/3\nf 1/1 3/3 4\n").path());
  EXPECT_FALSE(mesh.hasUvw);
  for (const Vertex& vertex : mesh.vertices) {
    EXPECT_EQ(wide(vertex.uvw), V3d(0));
    EXPECT_EQ(wide(vertex.dPdu), V3d(0));
  }
}

TEST(ObjFiles, CollapsedUvsHaveNoDerivatives) {
  const Mesh mesh = preview::loadObj(TemporaryObj(std::string(kQuad) + "f 1/1 2/1 3/1\n").path());
  EXPECT_TRUE(mesh.hasUvw);
  for (const Vertex& vertex : mesh.vertices) {
    EXPECT_EQ(wide(vertex.dPdu), V3d(0));
    EXPECT_EQ(wide(vertex.dPdv), V3d(0));
  }
}

TEST(ObjFiles, GroupsAndPolygonsGoIntoOneMesh) {
  const Mesh mesh = preview::loadObj(
      TemporaryObj("v 0 0 0\nv 2 0 0\nv 3 1 0\nv 2 2 0\nv 0 2 0\nv 0 0 5\nv 1 0 5\nv 0 1 5\n"
                   "mtllib nowhere.mtl\ng a\nusemtl x\nf 1 2 3 4 5\ng b\nf 6 7 8\n")
          .path());
  EXPECT_EQ(mesh.triangles.size(), 4U);
  EXPECT_EQ(areaOf(mesh), 5.5);
}

TEST(ObjFiles, ErrorsAreOneLineThatNamesTheFile) {
  const struct {
    const char *text, *error;
  } rows[] = {
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\n", "has no faces"},
      {"", "has no faces"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 4\n", "a face refers to a v, vn or vt that is not there"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 2 3 4\n",
       "a face refers to a v, vn or vt that is not there"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 -9\n", "a face refers to a v, vn or vt that is not there"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1/1 2/1 3/1\n",
       "a face refers to a v, vn or vt that is not there"},
      {"v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1//2 2//2 3//2\n",
       "a face refers to a v, vn or vt that is not there"},
      {"v 0 0 0\nv 1e99 0 0\nv 0 1 0\nf 1 2 3\n", "has a coordinate that is not a finite number"},
      {"v 0 0 0 # ok\r\nv 1 O 0\nv 0 1 0\nf 1 2 3\n", "line 2: \"O\" is not a number"},
      {"v 0 0 0\nv 1 0x10 0\nv 0 1 0\nf 1 2 3\n", "line 2: \"0x10\" is not a number"},
      {"v 0 0 0\nv 1 0 0\nv 0 nan +1.\nf 1 2 3\n", "line 3: \"nan\" is not a number"},
      {"v 0 0 0\nv 1 0\nv 0 1 0\nf 1 2 3\n", "line 2: a number is missing"},
  };
  for (const auto& [text, error] : rows) {
    SCOPED_TRACE(text);
    const TemporaryObj file(text);
    const std::filesystem::path path = file.path();
    try {
      preview::loadObj(path);
      ADD_FAILURE() << "no error";
    } catch (const preview::InputError& caught) {
      EXPECT_EQ(caught.what(), path.string() + ": " + error);
    }
  }
  for (const char* text : {"v 0 0 0\nf 0 0 0\n", "f x y z\n"}) {
    SCOPED_TRACE(text);
    const TemporaryObj file(text);
    const std::filesystem::path path = file.path();
    try {
      preview::loadObj(path);
      ADD_FAILURE() << "no error";
    } catch (const preview::InputError& caught) {
      EXPECT_EQ(std::string(caught.what()).find(path.string() + ": "), 0U) << caught.what();
      EXPECT_EQ(std::string(caught.what()).find('\n'), std::string::npos) << caught.what();
    }
  }
}

}  // namespace
