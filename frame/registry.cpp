#include "frame/registry.h"

namespace samplerinfo {

constinit PluginRegistry pluginRegistry;

void PluginRegistry::add(QUtils::PluginDesc* desc) {
  ++count;
  head = new PluginDescEntry{desc, head};
}

void PluginRegistry::clear() {
  while (head != nullptr) {
    PluginDescEntry* entry = head;
    head = entry->next;
    delete entry;
  }
}

}  // namespace samplerinfo
