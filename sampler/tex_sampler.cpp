#include "sampler/tex_sampler.h"

namespace samplerinfo {
namespace {

constexpr auto kPoint = param<&TexSampler::point>("point", "The shading point in world space");
constexpr auto kPointObject =
    param<&TexSampler::pointObject>("pointObject", "The shading point in object space");
constexpr auto kPointCamera =
    param<&TexSampler::pointCamera>("pointCamera", "The shading point in camera space");
constexpr auto kNormal = param<&TexSampler::normal>("normal", "The smooth normal in world space");
constexpr auto kNormalCamera =
    param<&TexSampler::normalCamera>("normalCamera", "The smooth normal in camera space");
constexpr auto kNormalObject =
    param<&TexSampler::normalObject>("normalObject", "The smooth normal in object space");
constexpr auto kGNormal =
    param<&TexSampler::gnormal>("gnormal", "The geometric normal in world space");
constexpr auto kCamToWorld =
    param<&TexSampler::camToWorld>("camToWorld", "The transformation from camera to world space");
constexpr auto kViewDir = param<&TexSampler::view_dir>("view_dir", "The viewing direction");
constexpr auto kFrameTime =
    param<&TexSampler::frame_time>("frame_time", "The current frame (image) time");
constexpr auto kRayTime =
    param<&TexSampler::ray_time>("ray_time", "The ray time within the motion blur interval");
constexpr auto kFacingRatio = param<&TexSampler::facing_ratio>(
    "facing_ratio", "The cosine of the angle between the normal and the viewing direction");
constexpr auto kMaterialId = param<&TexSampler::material_id>(
    "material_id", "The surface material id, if the surface supports it");
constexpr auto kFlippedNormal = param<&TexSampler::flipped_normal>(
    "flipped_normal", "Zero if the face is front facing and one if it is backfacing the camera");
constexpr auto kCameraNearClipPlane = param<&TexSampler::cameraNearClipPlane>(
    "cameraNearClipPlane",
    "The camera near clipping plane, calculated from the scene bounding box and the camera "
    "transform in the frame data.");
constexpr auto kCameraFarClipPlane = param<&TexSampler::cameraFarClipPlane>(
    "cameraFarClipPlane",
    "The camera far clipping plane, calculated from the scene bounding box and the camera "
    "transform in the frame data.");
constexpr auto kUvCoord = param<&TexSampler::uvCoord>(
    "uvCoord",
    "The uvw coordinates of the point being shaded. These are the coordinates of channel 0.");
constexpr auto kRayDirection = param<&TexSampler::rayDirection>(
    "rayDirection",
    "The viewing direction in camera space. Used for the samplerInfo node in Maya.");
constexpr auto kPixelCenter = param<&TexSampler::pixelCenter>(
    "pixelCenter", "The current sample image coordinates. Used for the samplerInfo node in Maya.");
constexpr auto kTangentUCamera = param<&TexSampler::tangentUCamera>(
    "tangentUCamera",
    "The U axis of the currently shaded point's UVW space, transformed in camera space. UV channel "
    "0 is used.");
constexpr auto kTangentVCamera = param<&TexSampler::tangentVCamera>(
    "tangentVCamera",
    "The V axis of the currently shaded point's UVW space, transformed in camera space. UV channel "
    "0 is used.");

constexpr ParamRow<TexSampler> kDescription[] = {
    kPoint,
    kPointObject,
    kPointCamera,
    kNormal,
    kNormalCamera,
    kNormalObject,
    kGNormal,
    kCamToWorld,
    kViewDir,
    kFrameTime,
    kRayTime,
    kFacingRatio,
    kMaterialId,
    kFlippedNormal,
    kCameraNearClipPlane,
    kCameraFarClipPlane,
    kUvCoord,
    kRayDirection,
    kPixelCenter,
    kTangentUCamera,
    kTangentVCamera,
};

// "normalObject" is bound before "normalCamera".
constexpr ParamRow<TexSampler> kBinding[] = {
    kPoint,
    kPointObject,
    kPointCamera,
    kNormal,
    kNormalObject,
    kNormalCamera,
    kGNormal,
    kCamToWorld,
    kViewDir,
    kFrameTime,
    kRayTime,
    kFacingRatio,
    kMaterialId,
    kFlippedNormal,
    kCameraNearClipPlane,
    kCameraFarClipPlane,
    kUvCoord,
    kRayDirection,
    kPixelCenter,
    kTangentUCamera,
    kTangentVCamera,
};

}  // namespace

std::span<const ParamRow<TexSampler>> TexSampler::description() { return kDescription; }

TexSampler::TexSampler(QuorPluginDesc* maker) : QuorPlugin(maker) {
  bind(*paramList, kBinding, *this);
}

void TexSampler::renderBegin(QuorRenderer* /*renderer*/) {
  cameraNearClipPlane.clipPlanes = &clipPlanes;
  cameraFarClipPlane.clipPlanes = &clipPlanes;
}

void TexSampler::frameBegin(QuorRenderer* renderer) {
  QuorPluginInterface::frameBegin(renderer);
  clipPlanes.beginFrame();
}

}  // namespace samplerinfo
