#pragma once

#include "frame/plugin_desc.h"

namespace samplerinfo {

/// One registered descriptor, in a list that runs from the newest to the oldest.
struct PluginDescEntry {
  QUtils::PluginDesc* desc;
  PluginDescEntry* next;
};

/// All plugin descriptors of this library. Written only while the library is being loaded and
/// unloaded.
struct PluginRegistry {
  PluginDescEntry* head = nullptr;
  std::uint32_t count = 0;  ///< how many have ever registered: unloading does not lower it

  void add(QUtils::PluginDesc* desc);

  /// Releases all entries; the descriptors are not owned.
  void clear();
};

extern PluginRegistry pluginRegistry;

}  // namespace samplerinfo
