// SPDX-License-Identifier: MIT
#pragma once

#include "host/records.h"

namespace QUtils {

/// The host's record of one evaluation. Everything it points at belongs to the host; this library
/// reads it and changes nothing.
struct ShadingContext {
  RenderContext* renderContext;
  Vector rayDirection;      ///< render space: the direction in which the ray travelled
  double rayTime;           ///< within the motion blur interval
  double imageX, imageY;    ///< pixels, from the top left corner of the image
  PluginBase* object;       ///< the shaded instance, or null; may offer EXT_OBJECT_SPACE_MAPPING
  PluginBase* surface;      ///< or null; may offer EXT_UVW_SOURCE, EXT_MATERIAL_ID_SOURCE
  DVector shadingPoint;     ///< render space
  Vector normal;            ///< smooth normal, the axes of render space
  Vector geometricNormal;   ///< the axes of render space
  std::int32_t backfacing;  ///< 1 when the shaded face is seen from its back, else 0
};

}  // namespace QUtils
