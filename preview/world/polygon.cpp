// SPDX-License-Identifier: MIT
#include "preview/world/polygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <utility>

namespace preview {

namespace {

/// A polygon of which ears are cut: corners whose triangle with both neighbours has no other
/// corner in it or on its edges (Meisters, "Polygons have ears", 1975).
class Polygon {
 public:
  explicit Polygon(std::span<const V3d> corners) : corners_(corners) {
    constexpr double kRounding = 1e-14;
    double greatest = 0, size = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const V3d& p = corners[i];
      const V3d& q = corners[(i + 1) % corners.size()];
      normal_ += (p - corners[0]).cross(q - corners[0]);
      for (const double x : {p.x, p.y, p.z}) greatest = std::max(greatest, std::abs(x));
      size = std::max(size, (p - corners[0]).length());
      if (p != q) order_.push_back(static_cast<std::uint32_t>(i));
    }
    rounding_ = kRounding * greatest;
    if (normal_.length() <= rounding_ * size) {
      throw std::invalid_argument("the face has no area");
    }
    normal_.normalize();
    constexpr double kFlat = 1e-3;  // of the size
    isFlat_ = std::ranges::all_of(corners, [&](const V3d& p) {
      return std::abs(normal_.dot(p - corners[0])) <= kFlat * size;
    });
  }

  std::vector<Triangle> cut() {
    if (isFlat_ && crossesItself()) throw std::invalid_argument("the face crosses itself");
    std::vector<bool> ears(order_.size());
    const auto look = [&](std::size_t at) { ears[at] = isEar(at); };
    for (std::size_t at = 0; at < order_.size(); ++at) look(at);
    std::vector<Triangle> triangles;
    for (;;) {
      std::size_t best = 0;
      std::pair shortest(true, std::numeric_limits<double>::infinity());
      for (std::size_t at = 0; at < order_.size(); ++at) {
        const double cut = (corner(before(at)) - corner(after(at))).length2();
        if (std::pair(!ears[at], cut) >= shortest) continue;
        shortest = {!ears[at], cut};
        best = at;
      }
      if (isFlat_ && !ears[best]) throw std::invalid_argument("the face touches itself");
      triangles.push_back({order_[before(best)], order_[best], order_[after(best)]});
      if (order_.size() == 3) return triangles;
      order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(best));
      ears.erase(ears.begin() + static_cast<std::ptrdiff_t>(best));
      look(best % order_.size());
      look(before(best % order_.size()));
    }
  }

 private:
  const V3d& corner(std::size_t at) const { return corners_[order_[at]]; }
  std::size_t after(std::size_t at) const { return at + 1 == order_.size() ? 0 : at + 1; }
  std::size_t before(std::size_t at) const { return (at == 0 ? order_.size() : at) - 1; }

  /// 1 where the way from a over b to c turns to the left, -1 to the right, 0 if they lie in a line
  /// as far as rounded coordinates can tell.
  int turn(const V3d& a, const V3d& b, const V3d& c) const {
    const V3d e1 = b - a, e2 = c - a;
    const double area = normal_.dot(e1.cross(e2));
    if (area * area <= rounding_ * rounding_ * std::max(e1.length2(), e2.length2())) return 0;
    return area > 0 ? 1 : -1;
  }

  bool isEar(std::size_t at) const {
    const V3d &a = corner(before(at)), &b = corner(at), &c = corner(after(at));
    if (turn(a, b, c) <= 0) return false;
    return std::ranges::none_of(order_, [&](std::uint32_t other) {
      const V3d& p = corners_[other];
      return p != a && p != b && p != c && turn(a, b, p) >= 0 && turn(b, c, p) >= 0 &&
             turn(c, a, p) >= 0;
    });
  }

  bool crossesItself() const {
    for (std::size_t i = 0; i < order_.size(); ++i) {
      const V3d &a = corner(i), &b = corner(after(i));
      for (std::size_t j = i + 2; j < order_.size(); ++j) {
        const V3d &c = corner(j), &d = corner(after(j));
        if (turn(a, b, c) * turn(a, b, d) < 0 && turn(c, d, a) * turn(c, d, b) < 0) return true;
      }
    }
    return false;
  }

  std::span<const V3d> corners_;
  std::vector<std::uint32_t> order_;  // what is left of them; of equal neighbours one
  V3d normal_ = V3d(0);
  bool isFlat_;
  double rounding_;  // of a coordinate
};

}  // namespace

std::vector<Triangle> triangulate(std::span<const V3d> corners) { return Polygon(corners).cut(); }

}  // namespace preview
