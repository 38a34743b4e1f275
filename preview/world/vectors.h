// SPDX-License-Identifier: MIT
#pragma once

#include <ImathVec.h>

#include <array>

#include "host/types.h"
#include "math/vector.h"

/// Geometry is computed in doubles, with Imath's vectors, and rounded once where it is handed over.
namespace preview {

using Imath::V3d;

inline V3d wide(const QUtils::Vector& v) { return {v.x, v.y, v.z}; }
inline V3d wide(const QUtils::DVector& v) { return {v.x, v.y, v.z}; }
inline QUtils::DVector toDVector(const V3d& v) { return {v.x, v.y, v.z}; }
inline QUtils::Vector toVector(const V3d& v) { return QUtils::toVector(toDVector(v)); }

/// A ray in render space; the direction has unit length.
struct Ray {
  QUtils::DVector origin;
  QUtils::Vector direction;
};

/// The rows of the inverse of the matrix with the columns a, b, c, which are also the columns of
/// its inverse transpose. All zero for a singular matrix.
inline std::array<V3d, 3> inverseRows(const V3d& a, const V3d& b, const V3d& c) {
  const double det = a.cross(b).dot(c);
  if (det == 0) return {V3d(0), V3d(0), V3d(0)};
  return {b.cross(c) / det, c.cross(a) / det, a.cross(b) / det};
}

}  // namespace preview
