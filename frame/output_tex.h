#pragma once

#include "frame/inputs.h"

namespace samplerinfo {

using namespace QUtils;

/// An output texture: part of its plugin, and no object of its own. Its fields are copies of the
/// plugin's inputs, written by the plugin's `frameBegin`; evaluations read nothing else of the
/// plugin.
template <class Interface>
class OutputTex : public Interface {
 public:
  PluginBase* getPlugin() override { return nullptr; }
};

}  // namespace samplerinfo
