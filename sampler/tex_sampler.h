#pragma once

#include <span>

#include "frame/plugin_descriptor.h"
#include "sampler/clip_planes.h"
#include "sampler/direction_outputs.h"
#include "sampler/image_outputs.h"
#include "sampler/position_outputs.h"
#include "sampler/surface_outputs.h"

namespace samplerinfo {

/// Gives data of the shading point as textures. Has no inputs and is not a texture itself: each
/// quantity is an output.
class TexSampler final : public QuorPlugin {
 public:
  static constexpr std::uint64_t kPluginId = 0x7782F949;
  static constexpr const char* kPluginName = "TexSampler";
  static constexpr InterfaceId kInterfaces[] = {EXT_QUOR_PLUGIN};
  static std::span<const ParamRow<TexSampler>> description();

  explicit TexSampler(QuorPluginDesc* maker);
  void renderBegin(QuorRenderer* renderer) override;
  void frameBegin(QuorRenderer* renderer) override;

  PointTex point;
  PointObjectTex pointObject;
  PointCameraTex pointCamera;
  NormalTex normal;
  NormalObjTex normalObject;
  NormalCameraTex normalCamera;
  GNormalTex gnormal;
  CamToWorldTex camToWorld;
  ViewTex view_dir;
  FrameTimeTex frame_time;
  RayTimeTex ray_time;
  FacingRatioTex facing_ratio;
  MtlIDTex material_id;
  FlippedNormalTex flipped_normal;
  CameraNearClipPlaneTex cameraNearClipPlane;
  CameraFarClipPlaneTex cameraFarClipPlane;
  ClipPlaneCache clipPlanes;
  UVCoordTex uvCoord;
  RayDirectionTex rayDirection;
  PixelCenterTex pixelCenter;
  TangentCameraTex tangentUCamera{0};
  TangentCameraTex tangentVCamera{1};
};

using TexSamplerDesc = PluginDescriptor<TexSampler>;

}  // namespace samplerinfo
