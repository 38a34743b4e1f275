// SPDX-License-Identifier: MIT
#pragma once

#include "frame/texture_interfaces.h"

namespace samplerinfo {

using namespace QUtils;  // this library works on the host's types everywhere

/// An output texture: embedded in its plugin, and not to be found as an object.
template <class Interface>
class OutputTex : public Interface {
 public:
  PluginBase* getPlugin() override { return nullptr; }
};

/// An output of an operation. It works on copies of the plugin's inputs, which `frameBegin` writes;
/// evaluations read nothing else of the plugin.
template <class Interface, class Inputs>
class OperationTex : public OutputTex<Interface> {
 public:
  Inputs inputs;
};

}  // namespace samplerinfo
