#include "sampler/position_outputs.h"

#include "sampler/camera_space.h"

namespace samplerinfo {

Vector PointTex::getVector(const ShadingContext& sc) const {
  return pointToWorld(sc, sc.shadingPoint);
}

Vector PointObjectTex::getVector(const ShadingContext& sc) const {
  const Vector point = toFloat(sc.shadingPoint);
  auto* mapping = offered<ObjectSpaceMapping>(sc.object);
  // Kept: without a mapping it is the render-space point, not the one in world space.
  return mapping != nullptr ? mapping->worldToObjectPoint(sc, point) : point;
}

Vector PointCameraTex::getVector(const ShadingContext& sc) const {
  DVector point = sc.shadingPoint;
  if (services(sc).cameraMoving != 0) {
    point = services(sc).cameraMotion->pointFromRayTime(point, sc.rayTime);
  }
  return applyTransform(frameData(sc).worldToCamera, toFloat(point));
}

Transform CamToWorldTex::getTransform(const ShadingContext& sc) const {
  const PreciseTransform& camera = frameData(sc).cameraToWorld;
  if (services(sc).cameraMoving == 0) {
    // Kept: rounds before it adds, unlike a moving camera.
    const Vector offset = toFloat(frameData(sc).worldOffset) + toFloat(camera.offset);
    return {camera.c0, camera.c1, camera.c2, offset};
  }
  CameraMotion& motion = *services(sc).cameraMotion;
  const Vector c0 = motion.vectorToRayTime(camera.c0, sc.rayTime);
  const Vector c1 = motion.vectorToRayTime(camera.c1, sc.rayTime);
  const Vector c2 = motion.vectorToRayTime(camera.c2, sc.rayTime);
  // Kept: moves the origin of render space; the camera's own offset does not enter.
  const DVector origin = motion.pointToRayTime({0, 0, 0}, sc.rayTime);
  return {c0, c1, c2, pointToWorld(sc, origin)};
}

}  // namespace samplerinfo
