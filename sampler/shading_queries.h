// SPDX-License-Identifier: MIT
#pragma once

#include "frame/output_tex.h"
#include "host/shading_context.h"

/// What the outputs reach from a shading context, whose render context is never null.
namespace samplerinfo {

inline const RenderServices& services(const ShadingContext& sc) {
  return *sc.renderContext->services;
}

inline const QuorFrameData& frameData(const ShadingContext& sc) {
  return *sc.renderContext->frameData;
}

/// The interface of this class that `object`, which may be null, offers, or null.
template <class Interface>
Interface* offered(PluginBase* object) {
  if (object == nullptr) return nullptr;
  return static_cast<Interface*>(object->getInterface(Interface::kInterfaceId));
}

}  // namespace samplerinfo
