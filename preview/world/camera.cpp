// SPDX-License-Identifier: MIT
#include "preview/world/camera.h"

#include <ImathMatrixAlgo.h>

#include <cmath>
#include <numbers>

namespace preview {

FrameCamera::FrameCamera(const Scene& scene, std::int32_t frame)
    : first_(fromKey(scene.camera.keys.front())),
      last_(fromKey(scene.camera.keys.back())),
      moves_(scene.camera.keys.size() > 1),
      startOfFrame_(static_cast<double>(frame - scene.frames.first) / scene.frames.count()),
      fractionPerFrame_(1.0 / scene.frames.count()),
      width_(scene.image.width),
      height_(scene.image.height),
      pixelSize_(2 * std::tan(scene.camera.fov * std::numbers::pi / 360) / height_),
      worldOffset_(scene.worldOffset) {
  if (moves_) worldOffset_ = toDVector(transformAt(0).position);
  poseOfFrame_ = interpolated(0);
}

FrameCamera::RigidTransform FrameCamera::fromKey(const CameraKey& key) {
  const V3d position = wide(key.position);
  const V3d z = (position - wide(key.target)).normalized();
  const V3d x = wide(key.up).cross(z).normalized();
  const V3d y = z.cross(x);
  // Imath multiplies vectors from the left, so that the axes are the rows of its matrices.
  const Imath::M44d axes(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, 0, 0, 0, 1);
  return {position, Imath::extractQuat(axes).normalized()};
}

FrameCamera::RigidTransform FrameCamera::transformAt(double rayTime) const {
  const double fraction = startOfFrame_ + fractionPerFrame_ * rayTime;
  return {first_.position * (1 - fraction) + last_.position * fraction,
          Imath::slerpShortestArc(first_.orientation, last_.orientation, fraction)};
}

FrameCamera::Pose FrameCamera::interpolated(double rayTime) const {
  const auto [position, orientation] = transformAt(rayTime);
  return {orientation.rotateVector({1, 0, 0}), orientation.rotateVector({0, 1, 0}),
          orientation.rotateVector({0, 0, 1}), position - wide(worldOffset_)};
}

PreciseTransform FrameCamera::cameraToWorld() const {
  const Pose& c = poseOfFrame_;
  return {toVector(c.x), toVector(c.y), toVector(c.z), toDVector(c.position)};
}

PreciseTransform FrameCamera::worldToCamera() const {
  const Pose& c = poseOfFrame_;
  return {toVector(c.vectorToCamera({1, 0, 0})), toVector(c.vectorToCamera({0, 1, 0})),
          toVector(c.vectorToCamera({0, 0, 1})), toDVector(c.pointToCamera(V3d(0)))};
}

Imath::M44d FrameCamera::matrixFromWorld() const {
  const Pose& c = poseOfFrame_;
  const V3d origin = c.vectorToCamera(-(c.position + wide(worldOffset_)));
  return {c.x.x, c.y.x, c.z.x, 0, c.x.y,    c.y.y,    c.z.y,    0,
          c.x.z, c.y.z, c.z.z, 0, origin.x, origin.y, origin.z, 1};
}

Ray FrameCamera::primaryRay(double imageX, double imageY, const Pose& pose) const {
  const V3d direction((imageX - width_ / 2) * pixelSize_, (height_ / 2 - imageY) * pixelSize_, -1);
  return {toDVector(pose.position), toVector(pose.vectorToRender(direction.normalized()))};
}

DVector FrameCameraMotion::pointToRayTime(const DVector& point, double rayTime) {
  const V3d inCamera = camera_.poseOfFrame().pointToCamera(wide(point));
  return toDVector(poseAt(rayTime).pointToRender(inCamera));
}

Vector FrameCameraMotion::vectorToRayTime(const Vector& vector, double rayTime) {
  const V3d inCamera = camera_.poseOfFrame().vectorToCamera(wide(vector));
  return toVector(poseAt(rayTime).vectorToRender(inCamera));
}

DVector FrameCameraMotion::pointFromRayTime(const DVector& point, double rayTime) {
  const V3d inCamera = poseAt(rayTime).pointToCamera(wide(point));
  return toDVector(camera_.poseOfFrame().pointToRender(inCamera));
}

Vector FrameCameraMotion::vectorFromRayTime(const Vector& vector, double rayTime) {
  const V3d inCamera = poseAt(rayTime).vectorToCamera(wide(vector));
  return toVector(camera_.poseOfFrame().vectorToRender(inCamera));
}

}  // namespace preview
