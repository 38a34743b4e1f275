// SPDX-License-Identifier: MIT
#include "frame/plugin_base.h"

#include <utility>

namespace QUtils {

/// One added interface.
struct InterfaceEntry {
  PluginInterface* iface;
  std::int32_t releaseWithOwner;
  InterfaceEntry* next;
};

// While an interface is released its entry is in the list, in front of what is yet to be released.
// The interface may change the list, so the head is looked at again after each step.
PluginBase::~PluginBase() {
  InterfaceEntry* oldestFirst = nullptr;
  while (interfaces_ != nullptr) {
    InterfaceEntry* entry = std::exchange(interfaces_, interfaces_->next);
    entry->next = std::exchange(oldestFirst, entry);
  }
  interfaces_ = oldestFirst;
  while (interfaces_ != nullptr) {
    if (interfaces_->iface != nullptr && std::exchange(interfaces_->releaseWithOwner, 0) != 0) {
      interfaces_->iface->release();
    } else {
      delete std::exchange(interfaces_, interfaces_->next);
    }
  }
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
