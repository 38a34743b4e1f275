// SPDX-License-Identifier: MIT
#include "frame/texture_interfaces.h"

namespace QUtils {

Vector TextureInterface::getGradient(const ShadingContext& /*sc*/) const { return {}; }
Vector TextureFloatInterface::getGradient(const ShadingContext& /*sc*/) const { return {}; }
Vector TextureVectorInterface::getGradient(const ShadingContext& /*sc*/) const { return {}; }
RTTexInterface::~RTTexInterface() = default;

}  // namespace QUtils
