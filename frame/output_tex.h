#pragma once

#include "frame/texture_interfaces.h"

namespace samplerinfo {

using namespace QUtils;

/// An output texture: embedded in its plugin, and not to be found as an object.
template <class Interface>
class OutputTex : public Interface {
 public:
  PluginBase* getPlugin() override { return nullptr; }
};

}  // namespace samplerinfo
