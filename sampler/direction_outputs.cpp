#include "sampler/direction_outputs.h"

#include "sampler/camera_space.h"

namespace samplerinfo {

Vector NormalTex::getVector(const ShadingContext& sc) const { return sc.normal; }

Vector NormalObjTex::getVector(const ShadingContext& sc) const {
  auto* mapping = offered<ObjectSpaceMapping>(sc.object);
  return mapping != nullptr ? mapping->worldToObjectNormal(sc, sc.normal) : sc.normal;
}

Vector NormalCameraTex::getVector(const ShadingContext& sc) const {
  return directionToCamera(sc, sc.normal);
}

Vector GNormalTex::getVector(const ShadingContext& sc) const { return sc.geometricNormal; }

Vector ViewTex::getVector(const ShadingContext& sc) const { return sc.rayDirection; }

Vector RayDirectionTex::getVector(const ShadingContext& sc) const {
  return guardedNormalize(directionToCamera(sc, sc.rayDirection));
}

}  // namespace samplerinfo
