// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "preview/world/polygon.h"

// That the triangles of a face cover it: if all of them face forward, no point is covered twice
// where their areas add up to that of the face.

namespace {

using preview::triangulate;
using preview::V3d;

struct Face {
  const char* name;
  std::vector<V3d> corners;  // counter-clockwise, z is 0
  double area;
};

std::vector<V3d> star() {
  std::vector<V3d> corners;
  for (int i = 0; i < 10; ++i) {
    const double angle = i * std::numbers::pi / 5, radius = i % 2 == 0 ? 1 : 0.4;
    corners.emplace_back(radius * std::cos(angle), radius * std::sin(angle), 0);
  }
  return corners;
}

std::vector<V3d> comb(int teeth) {
  std::vector<V3d> corners = {{0, 0, 0}, {static_cast<double>(teeth), 0, 0}};
  for (int i = teeth; i > 0; --i) {
    corners.emplace_back(i, 1, 0);
    corners.emplace_back(i - 0.5, 3, 0);
  }
  corners.emplace_back(0, 1, 0);
  return corners;
}

std::vector<V3d> dividedTriangle() {
  const V3d ends[] = {{0, 1.4, 0}, {-0.1, -2.6, 0}, {1.3, 1.2, 0}};
  std::vector<V3d> corners;
  for (std::size_t i = 0; i < 3; ++i) {
    constexpr int kPieces = 5;
    for (int j = 0; j < kPieces; ++j) {
      corners.push_back(ends[i] + (ends[(i + 1) % 3] - ends[i]) * j / kPieces);
    }
  }
  return corners;
}

const Face kFaces[] = {
    {"triangle", {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, 0.5},
    {"M", {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {0, -0.5, 0}, {-1, 1, 0}}, 2.5},
    {"U",
     {{-1, -1, 0},
      {1, -1, 0},
      {1, 1, 0},
      {0.5, 1, 0},
      {0.5, -0.5, 0},
      {-0.5, -0.5, 0},
      {-0.5, 1, 0},
      {-1, 1, 0}},
     2.5},
    {"L", {{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}}, 3},
    {"star", star(), 2 * std::sin(std::numbers::pi / 5)},
    {"dart", {{0, 1, 0}, {-1, -1, 0}, {0, -0.5, 0}, {1, -1, 0}}, 1.5},
    {"thin dart", {{0, 1, 0}, {-1, -1, 0}, {0, 0.99, 0}, {1, -1, 0}}, 0.01},
    {"comb", comb(40), 80},
    {"a corner on the base of a tall triangle",
     {{0.1, 0.1, 0}, {0.2, 0.2, 0}, {0.4, 0.4, 0}, {-3, 3.5, 0}},
     0.975},
    {"corners on all sides of a triangle", dividedTriangle(), 2.61},
    {"two corners in one place", {{0, 0, 0}, {1, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, 1},
};

struct Plane {
  V3d origin, x, y;
};
const Plane kPlanes[] = {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
                         {{300, -20, 7}, {0, 0.6, 0.8}, {0, -0.8, 0.6}},
                         {{-1, 1e4, 2}, {2 / 3.0, 2 / 3.0, 1 / 3.0}, {-2 / 3.0, 1 / 3.0, 2 / 3.0}}};

void expectCovered(const std::vector<V3d>& corners, const V3d& front, double expected) {
  double area = 0;
  for (const auto& [a, b, c] : triangulate(corners)) {
    const V3d normal = (corners[b] - corners[a]).cross(corners[c] - corners[a]);
    EXPECT_GT(front.dot(normal), 0);
    area += front.dot(normal) / 2;
  }
  EXPECT_NEAR(area, expected, 1e-9);
}

TEST(Polygon, ItsTrianglesCoverItOnce) {
  for (const Face& face : kFaces) {
    for (const auto& [origin, x, y] : kPlanes) {
      std::vector<V3d> corners;
      for (const V3d& p : face.corners) corners.push_back(origin + x * p.x + y * p.y);
      for (std::size_t first = 0; first < corners.size(); ++first) {
        SCOPED_TRACE(face.name + (" from corner " + std::to_string(first)));
        expectCovered(corners, x.cross(y), face.area);
        expectCovered({corners.rbegin(), corners.rend()}, y.cross(x), face.area);
        std::rotate(corners.begin(), corners.begin() + 1, corners.end());
      }
    }
  }
}

// Seen along its normal, z, it crosses itself; two of its corners are far behind the others.
TEST(Polygon, ABentOneIsCut) {
  EXPECT_EQ(triangulate(std::vector<V3d>{{0, 0, 0}, {2, 2, 1}, {2, 0, 0}, {0, 1, 1}}).size(), 2U);
}

TEST(Polygon, TakesTheShorterCutOfAQuad) {
  const std::vector<V3d> quad = {{0, 0, 0}, {1, 0, 0}, {3, 1, 0}, {0, 1, 0}};
  for (const preview::Triangle& triangle : triangulate(quad)) {
    EXPECT_TRUE(std::ranges::count(triangle, 1U) == 1 && std::ranges::count(triangle, 3U) == 1);
  }
}

}  // namespace
