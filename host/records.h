// SPDX-License-Identifier: MIT
#pragma once

#include "frame/texture_interfaces.h"

/// What the host offers behind a shading context: records and objects, all owned by the host.
/// Render space is world space moved so that its origin lies at `worldOffset`; the camera looks
/// down the negative z axis of camera space. The tables of `RenderLog`, `SceneInfo` and
/// `CameraMotion` begin with their first operation: they have no virtual destructor.
namespace QUtils {

/// The host's log. [render threads, between frameBegin and frameEnd], one at a time for a plugin
class RenderLog {
 public:
  virtual void print(const char* format, ...) = 0;

 protected:
  ~RenderLog() = default;
};

/// The scene as a whole.
class SceneInfo {
 public:
  /// Writes the two extreme corners of the scene's bounding box, in render space.
  /// [render threads, between frameBegin and frameEnd], one at a time for a plugin
  virtual void getBoundingBox(Vector& lo, Vector& hi) = 0;

 protected:
  ~SceneInfo() = default;
};

/// Motion of the camera within the frame. "From" carries a render-space quantity seen at `rayTime`
/// to where the frame's own camera transform applies, "to" carries it from there to `rayTime`.
/// [render threads, between frameBegin and frameEnd]
class CameraMotion {
 public:
  virtual DVector pointToRayTime(const DVector& point, double rayTime) = 0;
  virtual Vector vectorToRayTime(const Vector& vector, double rayTime) = 0;
  virtual DVector pointFromRayTime(const DVector& point, double rayTime) = 0;
  virtual Vector vectorFromRayTime(const Vector& vector, double rayTime) = 0;

 protected:
  ~CameraMotion() = default;
};

/// Data of one frame.
class QuorFrameData : public PluginBase {
 public:
  double frameTime = 0;                 ///< in the host's unit
  PreciseTransform worldToCamera = {};  ///< render space to camera space
  PreciseTransform cameraToWorld = {};  ///< camera space to render space
  std::int32_t imageHeight = 0;         ///< pixels
  DVector worldOffset = {};             ///< world position of the origin of render space
};

/// What serves a whole render.
struct RenderServices {
  RenderLog* log;  ///< or null
  SceneInfo* scene;
  CameraMotion* cameraMotion;
  std::int32_t cameraMoving;  ///< non-zero when the camera moves during the frame
};

/// The render to which an evaluation belongs.
struct RenderContext {
  RenderServices* services;
  QuorFrameData* frameData;
};

/// Offered by an object under EXT_OBJECT_SPACE_MAPPING.
/// [render threads, between frameBegin and frameEnd]
class ObjectSpaceMapping : public PluginInterface {
 public:
  static constexpr InterfaceId kInterfaceId = EXT_OBJECT_SPACE_MAPPING;
  InterfaceId getInterfaceId() const override { return kInterfaceId; }
  const char* getInterfaceName() const override { return "EXT_OBJECT_SPACE_MAPPING"; }

  virtual Vector worldToObjectNormal(const ShadingContext& sc, const Vector& normal) = 0;
  virtual Vector worldToObjectPoint(const ShadingContext& sc, const Vector& point) = 0;
};

/// Offered by a surface under EXT_UVW_SOURCE. Channels count from 0.
/// [render threads, between frameBegin and frameEnd]
class UVWSource : public PluginInterface {
 public:
  static constexpr InterfaceId kInterfaceId = EXT_UVW_SOURCE;
  InterfaceId getInterfaceId() const override { return kInterfaceId; }
  const char* getInterfaceName() const override { return "EXT_UVW_SOURCE"; }

  /// Writes the columns of the matrix whose inverse has the U and the V axis, in render space, as
  /// its first two columns.
  virtual void getUVWDerivatives(const ShadingContext& sc, std::int32_t channel, Vector& a,
                                 Vector& b, Vector& c) = 0;
  virtual Vector getUVW(const ShadingContext& sc, std::int32_t channel) = 0;
};

/// Offered by a surface under EXT_MATERIAL_ID_SOURCE.
/// [render threads, between frameBegin and frameEnd]
class MaterialIdSource : public PluginInterface {
 public:
  static constexpr InterfaceId kInterfaceId = EXT_MATERIAL_ID_SOURCE;
  InterfaceId getInterfaceId() const override { return kInterfaceId; }
  const char* getInterfaceName() const override { return "EXT_MATERIAL_ID_SOURCE"; }

  virtual std::int32_t getMaterialId(const ShadingContext& sc) = 0;
};

}  // namespace QUtils
