#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/plugin.h"
#include "frame/plugin_desc.h"

namespace test {

/// The library under test. `library_loaded.cpp` loads the module as a host does and keeps it until
/// the process ends; a test program that has the library's code linked into itself returns that.
QUtils::PluginLibDesc& library();

/// The descriptors that the library shows, in its order.
std::vector<QUtils::QuorPluginDesc*> descriptors();

/// The descriptor of that name, which exists.
QUtils::QuorPluginDesc& descriptor(const std::string& pluginName);

/// One plugin instance, used through its virtual operations alone.
class Instance {
 public:
  explicit Instance(const std::string& pluginName);
  ~Instance();
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  QUtils::PluginBase& object() { return *object_; }
  QUtils::QuorPluginInterface& plugin() { return *plugin_; }
  void frameBegin() { plugin_->frameBegin(nullptr); }

  /// Connect a texture (null disconnects), or set a number. False if the parameter does not take
  /// it.
  bool connect(const char* name, QUtils::PluginInterface* texture);
  bool set(const char* name, std::int32_t value);
  bool set(const char* name, bool value);

  /// The output of that name, which exists and has that interface.
  template <class Interface>
  Interface& output(const char* name) {
    const QUtils::QuorPluginParameter* output = plugin_->getParameter(QUtils::modifiable(name));
    EXPECT_NE(output, nullptr) << name;
    return *static_cast<Interface*>(output->value.iface);
  }

 private:
  QUtils::QuorPluginDesc& desc_;
  QUtils::PluginBase* object_;
  QUtils::QuorPluginInterface* plugin_;
};

}  // namespace test
