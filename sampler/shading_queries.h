#pragma once

#include "host/shading_context.h"

/// What the outputs reach from a shading context, whose render context is never null.
namespace samplerinfo {

using namespace QUtils;

inline const RenderServices& services(const ShadingContext& sc) {
  return *sc.renderContext->services;
}

inline const QuorFrameData& frameData(const ShadingContext& sc) {
  return *sc.renderContext->frameData;
}

/// The interface that `object`, which may be null, offers under `id`, or null. `Interface` is the
/// class that the host has for `id`.
template <class Interface>
Interface* offered(PluginBase* object, InterfaceId id) {
  return object != nullptr ? static_cast<Interface*>(object->getInterface(id)) : nullptr;
}

}  // namespace samplerinfo
