#include "frame/plugin_base.h"

namespace QUtils {

/// One added interface. Owns the rest of its chain.
struct InterfaceEntry {
  ~InterfaceEntry() {
    delete next;  // the chain is newest first, so the oldest interface is released first
    if (iface != nullptr && releaseWithOwner != 0) iface->release();
  }

  PluginInterface* iface;
  std::int32_t releaseWithOwner;
  InterfaceEntry* next;
};

PluginBase::~PluginBase() {
  delete interfaces_;
  interfaces_ = nullptr;
}

PluginInterface* PluginBase::getInterface(InterfaceId id) {
  for (InterfaceEntry* entry = interfaces_; entry != nullptr; entry = entry->next) {
    if (entry->iface != nullptr && entry->iface->getInterfaceId() == id) return entry->iface;
  }
  return nullptr;
}

void PluginBase::releaseInterface(PluginInterface* /*iface*/) {}

std::int32_t PluginBase::addInterface(PluginInterface* iface, std::int32_t releaseWithOwner) {
  interfaces_ = new InterfaceEntry{iface, releaseWithOwner, interfaces_};
  return 1;
}

std::int32_t PluginBase::removeInterface(PluginInterface* iface) {
  for (InterfaceEntry** link = &interfaces_; *link != nullptr; link = &(*link)->next) {
    InterfaceEntry* entry = *link;
    if (entry->iface != iface) continue;
    *link = entry->next;
    entry->iface = nullptr;  // so that destroying the entry releases neither it nor the rest
    entry->next = nullptr;
    delete entry;
    return 1;
  }
  return 0;
}

PluginInterface::~PluginInterface() = default;

const char* PluginInterface::getInterfaceName() const { return nullptr; }

void PluginInterface::release() {
  if (PluginBase* owner = getPlugin()) owner->releaseInterface(this);
}

}  // namespace QUtils
