#include "tests/support/library.h"

#include <stdexcept>

namespace test {

using namespace QUtils;

std::vector<QuorPluginDesc*> descriptors() {
  struct Visitor final : PluginDescVisitor {
    std::vector<QuorPluginDesc*> found;
    std::int32_t visitPluginDesc(PluginDesc* desc) override {
      found.push_back(static_cast<QuorPluginDesc*>(desc));
      return 1;
    }
  } visitor;
  library().enumPluginDescs(&visitor);
  return visitor.found;
}

QuorPluginDesc& descriptor(const std::string& pluginName) {
  for (QuorPluginDesc* desc : descriptors()) {
    if (desc->getPluginName() == pluginName) return *desc;
  }
  throw std::runtime_error("the library has no plugin " + pluginName);
}

Instance::Instance(const std::string& pluginName)
    : desc_(descriptor(pluginName)),
      object_(desc_.newPlugin(nullptr)),
      plugin_(static_cast<QuorPluginInterface*>(object_->getInterface(EXT_QUOR_PLUGIN))) {}

Instance::~Instance() { desc_.deletePlugin(object_); }

bool Instance::connect(const char* name, PluginInterface* texture) {
  QuorPluginParameter parameter{name, ParameterKind::Interface, {.iface = texture}};
  return plugin_->setParameter(&parameter) != 0;
}

bool Instance::set(const char* name, std::int32_t value) {
  QuorPluginParameter parameter{name, ParameterKind::Integer, {.integer = value}};
  return plugin_->setParameter(&parameter) != 0;
}

bool Instance::set(const char* name, bool value) {
  QuorPluginParameter parameter{name, ParameterKind::Boolean, {.boolean = value}};
  return plugin_->setParameter(&parameter) != 0;
}

}  // namespace test
