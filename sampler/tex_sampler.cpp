// SPDX-License-Identifier: MIT
// Gives data of the shading point as textures. Has no inputs and is not a texture itself: each
// quantity is an output, in one of the headers of this folder.

#include <array>

#include "frame/plugin_kind.h"
#include "sampler/clip_planes.h"
#include "sampler/position_outputs.h"
#include "sampler/surface_outputs.h"

namespace samplerinfo {
namespace {

class TexSampler final : public QuorPlugin {
 public:
  explicit TexSampler(QuorPluginDesc* maker);

  void renderBegin(QuorRenderer* /*renderer*/) override {
    cameraNearClipPlane.clipPlanes = &clipPlanes;
    cameraFarClipPlane.clipPlanes = &clipPlanes;
  }
  void frameBegin(QuorRenderer* renderer) override {
    QuorPluginInterface::frameBegin(renderer);
    clipPlanes.beginFrame();
  }

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

constexpr std::array kParameters = {
    param<&TexSampler::point>("point", "The shading point in world space"),
    param<&TexSampler::pointObject>("pointObject", "The shading point in object space"),
    param<&TexSampler::pointCamera>("pointCamera", "The shading point in camera space"),
    param<&TexSampler::normal>("normal", "The smooth normal in world space"),
    param<&TexSampler::normalCamera>("normalCamera", "The smooth normal in camera space"),
    param<&TexSampler::normalObject>("normalObject", "The smooth normal in object space"),
    param<&TexSampler::gnormal>("gnormal", "The geometric normal in world space"),
    param<&TexSampler::camToWorld>("camToWorld", "The transformation from camera to world space"),
    param<&TexSampler::view_dir>("view_dir", "The viewing direction"),
    param<&TexSampler::frame_time>("frame_time", "The current frame (image) time"),
    param<&TexSampler::ray_time>("ray_time", "The ray time within the motion blur interval"),
    param<&TexSampler::facing_ratio>(
        "facing_ratio", "The cosine of the angle between the normal and the viewing direction"),
    param<&TexSampler::material_id>("material_id",
                                    "The surface material id, if the surface supports it"),
    param<&TexSampler::flipped_normal>(
        "flipped_normal",
        "Zero if the face is front facing and one if it is backfacing the camera"),
    param<&TexSampler::cameraNearClipPlane>(
        "cameraNearClipPlane",
        "The camera near clipping plane, calculated from the scene bounding box and the camera "
        "transform in the frame data."),
    param<&TexSampler::cameraFarClipPlane>(
        "cameraFarClipPlane",
        "The camera far clipping plane, calculated from the scene bounding box and the camera "
        "transform in the frame data."),
    param<&TexSampler::uvCoord>(
        "uvCoord",
        "The uvw coordinates of the point being shaded. These are the coordinates of channel 0."),
    param<&TexSampler::rayDirection>(
        "rayDirection",
        "The viewing direction in camera space. Used for the samplerInfo node in Maya."),
    param<&TexSampler::pixelCenter>(
        "pixelCenter",
        "The current sample image coordinates. Used for the samplerInfo node in Maya."),
    param<&TexSampler::tangentUCamera>(
        "tangentUCamera",
        "The U axis of the currently shaded point's UVW space, transformed in camera space. UV "
        "channel 0 is used."),
    param<&TexSampler::tangentVCamera>(
        "tangentVCamera",
        "The V axis of the currently shaded point's UVW space, transformed in camera space. UV "
        "channel 0 is used."),
};
constexpr auto kBindingOrder = withMoved(kParameters, "normalObject", "normalCamera");

TexSampler::TexSampler(QuorPluginDesc* maker) : QuorPlugin(maker) {
  registerCaches(*paramList, kBindingOrder, *this);
}

}  // namespace

constinit const PluginKind kTexSampler =
    pluginKind<TexSampler, kParameters>("TexSampler", 0x7782F949);

}  // namespace samplerinfo
