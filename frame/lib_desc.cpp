#include "frame/lib_desc.h"

#include "frame/registry.h"

namespace samplerinfo {

LibDesc::~LibDesc() { pluginRegistry.clear(); }

const char* LibDesc::getLibraryName() const { return "SamplerInfo"; }

const char* LibDesc::getLibraryDescription() const {
  return "Sampler info texture and vector/color operations for Quor";
}

std::int32_t LibDesc::enumPluginDescs(QUtils::PluginDescVisitor* visitor) const {
  if (visitor == nullptr) return static_cast<std::int32_t>(pluginRegistry.count);
  std::int32_t shown = 0;
  for (const PluginDescEntry* entry = pluginRegistry.head; entry != nullptr; entry = entry->next) {
    ++shown;
    if (visitor->visitPluginDesc(entry->desc) == 0) break;
  }
  return shown;
}

}  // namespace samplerinfo
