#include "sampler/clip_planes.h"

namespace samplerinfo {

float CameraNearClipPlaneTex::getFloat(const ShadingContext& sc) const {
  clipPlanes->computeClipPlanes(sc);
  return clipPlanes->nearPlane;
}

float CameraFarClipPlaneTex::getFloat(const ShadingContext& sc) const {
  clipPlanes->computeClipPlanes(sc);
  return clipPlanes->farPlane;
}

}  // namespace samplerinfo
