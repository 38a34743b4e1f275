#include "sampler/surface_outputs.h"

#include <cmath>

#include "sampler/camera_space.h"

namespace samplerinfo {
namespace {

/// Column 0 or 1 of the inverse of the matrix with the columns a, b, c, by Cramer's rule; zero for
/// a singular matrix.
Vector inverseColumn(const DVector& a, const DVector& b, const DVector& c, std::int32_t column) {
  const DVector ab = cross(a, b);
  const double det = dot(ab, c);
  if (det == 0) return {};
  const DVector bc = cross(b, c);
  const DVector ca = cross(c, a);
  const DVector cofactors = column == 0 ? DVector{bc.x, ca.x, ab.x} : DVector{bc.y, ca.y, ab.y};
  // Kept: a determinant that rounds to zero divides all the same.
  return toFloat(cofactors) / static_cast<float>(det);
}

}  // namespace

float FacingRatioTex::getFloat(const ShadingContext& sc) const {
  const double cosine = dot(toDouble(sc.normal), toDouble(sc.rayDirection));
  return std::fabs(static_cast<float>(cosine));
}

float FlippedNormalTex::getFloat(const ShadingContext& sc) const {
  return static_cast<float>(sc.backfacing);
}

std::int32_t MtlIDTex::getInt(const ShadingContext& sc) const {
  auto* source = offered<MaterialIdSource>(sc.surface);
  return source != nullptr ? source->getMaterialId(sc) : 0;
}

Vector UVCoordTex::getVector(const ShadingContext& sc) const {
  auto* source = offered<UVWSource>(sc.surface);
  return source != nullptr ? source->getUVW(sc, 0) : Vector{};
}

Vector TangentCameraTex::getVector(const ShadingContext& sc) const {
  auto* source = offered<UVWSource>(sc.surface);
  if (source == nullptr) return {};
  Vector a{};
  Vector b{};
  Vector c{};
  source->getUVWDerivatives(sc, 0, a, b, c);
  const Vector tangent = inverseColumn(toDouble(a), toDouble(b), toDouble(c), axis);
  return guardedNormalize(directionToCamera(sc, guardedNormalize(tangent)));
}

}  // namespace samplerinfo
