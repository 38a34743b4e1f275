// SPDX-License-Identifier: MIT
#include "frame/plugin.h"

#include <cstring>

namespace QUtils {

Plugin::~Plugin() { delete[] name_; }

PluginDesc* Plugin::getPluginDesc() { return nullptr; }

void Plugin::setPluginName(const char* text) {
  delete[] name_;
  name_ = nullptr;  // should the allocation throw, nothing dangles
  const std::size_t size = std::strlen(text) + 1;
  name_ = new char[size];
  std::memcpy(name_, text, size);
}

QuorPluginInterface::QuorPluginInterface(QuorPluginDesc* maker)
    : desc(maker),
      paramList(maker != nullptr && maker->paramListDesc != nullptr
                    ? maker->paramListDesc->newParameterList()
                    : nullptr) {}

QuorPluginInterface::~QuorPluginInterface() {
  if (desc == nullptr || paramList == nullptr) return;
  if (desc->paramListDesc != nullptr) desc->paramListDesc->deleteParameterList(paramList);
  paramList = nullptr;
}

void QuorPluginInterface::renderBegin(QuorRenderer* /*renderer*/) {}
void QuorPluginInterface::renderEnd(QuorRenderer* /*renderer*/) {}
void QuorPluginInterface::frameEnd(QuorRenderer* /*renderer*/) {}

std::int32_t QuorPluginInterface::setParameter(QuorPluginParameter* param) {
  return paramList != nullptr ? paramList->setParameter(param) : 0;
}

QuorPluginParameter* QuorPluginInterface::getParameter(char* name) {
  return paramList != nullptr ? paramList->getParam(name) : nullptr;
}

PluginInterface* QuorPlugin::getInterface(InterfaceId id) {
  if (id == EXT_QUOR_PLUGIN) return static_cast<QuorPluginInterface*>(this);
  return PluginBase::getInterface(id);
}

PluginInterface* QuorTexture::getInterface(InterfaceId id) {
  if (id == EXT_TEXTURE) return static_cast<TextureInterface*>(this);
  return QuorPlugin::getInterface(id);
}

}  // namespace QUtils
