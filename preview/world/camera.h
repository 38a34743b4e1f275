// SPDX-License-Identifier: MIT
#pragma once

#include <ImathMatrix.h>
#include <ImathQuat.h>

#include <cstdint>

#include "host/records.h"
#include "preview/scene/scene.h"
#include "preview/world/vectors.h"

namespace preview {

/// A scene's camera during one of its frames, looking down the negative z axis of camera space,
/// with x to the right and y up. Between two keys the position runs along a straight line and the
/// orientation along the shortest arc, both evenly from the beginning of the first frame to the end
/// of the last.
///
/// The frame's own transforms are those of ray time 0.
///
/// A moving camera has its own render space: the origin lies where the camera stands at ray time 0
/// of the frame, and the scene's `worldOffset` is not used. That meets two demands on
/// `CameraMotion` at once: that "to" and "from" are each other's inverse, and that
/// `pointToRayTime` gives the position of the camera when it is asked for the origin. Values in
/// world space stay the same, those in render space do not.
/// [any thread]
class FrameCamera {
 public:
  /// Camera space to render space.
  struct Pose {
    V3d x, y, z;  ///< the axes of camera space, unit length
    V3d position;

    V3d vectorToRender(const V3d& v) const { return x * v.x + y * v.y + z * v.z; }
    V3d vectorToCamera(const V3d& v) const { return {x.dot(v), y.dot(v), z.dot(v)}; }
    V3d pointToRender(const V3d& p) const { return vectorToRender(p) + position; }
    V3d pointToCamera(const V3d& p) const { return vectorToCamera(p - position); }
  };

  FrameCamera(const Scene& scene, std::int32_t frame);

  bool moves() const { return moves_; }
  const DVector& worldOffset() const { return worldOffset_; }
  PreciseTransform cameraToWorld() const;  ///< camera space to render space
  PreciseTransform worldToCamera() const;  ///< render space to camera space
  double screenWindowWidth() const { return width_ * pixelSize_; }  ///< at distance 1

  /// Geometry space to camera space, for row vectors.
  Imath::M44d matrixFromWorld() const;

  Pose pose(double rayTime) const { return moves_ ? interpolated(rayTime) : poseOfFrame_; }
  const Pose& poseOfFrame() const { return poseOfFrame_; }  ///< that of ray time 0

  /// The ray through a point of the image, in pixels from the top left corner.
  Ray primaryRay(double imageX, double imageY, const Pose& pose) const;

 private:
  struct RigidTransform {
    V3d position;  ///< world space
    Imath::Quatd orientation;
  };
  static RigidTransform fromKey(const CameraKey& key);
  RigidTransform transformAt(double rayTime) const;
  Pose interpolated(double rayTime) const;

  RigidTransform first_, last_;
  bool moves_;
  double startOfFrame_, fractionPerFrame_;  ///< of the way between the keys
  double width_, height_;                   ///< pixels
  double pixelSize_;                        ///< at distance 1
  DVector worldOffset_;
  Pose poseOfFrame_;
};

/// The motion of a `FrameCamera`, which it refers to, for those who ask about one ray time: the
/// pose then is known, any other is computed. With C(t) for the way from camera space to render
/// space at ray time t, "from" is C(0) C(t)⁻¹ and "to" is its inverse, C(t) C(0)⁻¹. As C(0) keeps
/// the origin of a moving camera's render space in its place, C(t) C(0)⁻¹ takes the origin to the
/// camera's position at t, and the columns of C(0) to those of C(t).
class FrameCameraMotion final : public CameraMotion {
 public:
  FrameCameraMotion(const FrameCamera& camera, double rayTime)
      : camera_(camera), rayTime_(rayTime), pose_(camera.pose(rayTime)) {}

  const FrameCamera::Pose& pose() const { return pose_; }  ///< that of the ray time

  DVector pointToRayTime(const DVector& point, double rayTime) override;
  Vector vectorToRayTime(const Vector& vector, double rayTime) override;
  DVector pointFromRayTime(const DVector& point, double rayTime) override;
  Vector vectorFromRayTime(const Vector& vector, double rayTime) override;

 private:
  FrameCamera::Pose poseAt(double rayTime) const {
    return rayTime == rayTime_ ? pose_ : camera_.pose(rayTime);
  }

  const FrameCamera& camera_;
  double rayTime_;
  FrameCamera::Pose pose_;
};

}  // namespace preview
