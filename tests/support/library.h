// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>

#include "standin/plugin_instance.h"

namespace test {

/// The library under test. `library_loaded.cpp` loads the module as a host does and keeps it until
/// the process ends; a test program that has the library's code linked into itself returns that.
QUtils::PluginLibDesc& library();

/// The descriptor of that name, which exists.
inline QUtils::QuorPluginDesc& descriptor(const std::string& pluginName) {
  for (QUtils::QuorPluginDesc* desc : standin::descriptorsOf(library())) {
    if (desc->getPluginName() == pluginName) return *desc;
  }
  throw std::runtime_error("the library has no plugin " + pluginName);
}

/// An instance of the plugin of that name.
struct Instance : standin::PluginInstance {
  explicit Instance(const std::string& pluginName) : PluginInstance(descriptor(pluginName)) {}
};

}  // namespace test
