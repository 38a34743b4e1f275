// SPDX-License-Identifier: MIT
#include "frame/plugin_desc.h"

namespace QUtils {

void PluginDesc::registerPlugin(QuorPluginHost* /*host*/) {}
void PluginDesc::unregisterPlugin(QuorPluginHost* /*host*/) {}
void* PluginDesc::getExtraInfo() { return nullptr; }

void QuorPluginDesc::registerPlugin(QuorPluginHost* host) {
  if (host == nullptr) return;
  host->registerPluginDesc(this);
  if (paramListDesc != nullptr) paramListDesc->registerParameters(host, this);
}

void QuorPluginDesc::unregisterPlugin(QuorPluginHost* host) {
  if (host != nullptr) host->unregisterPluginDesc(this);
}

}  // namespace QUtils
