#pragma once

#include <algorithm>
#include <iterator>

#include "frame/param_table.h"
#include "frame/plugin_desc.h"
#include "frame/registry.h"

namespace samplerinfo {

/// The descriptor of the plugin class `P`, which has the static members `kPluginId`, `kPluginName`,
/// `kInterfaces` (those that `supportsInterface` announces) and `description()` (its parameters, in
/// the order in which they are described), and a constructor that takes its descriptor.
template <class P>
class PluginDescriptor : public QUtils::QuorPluginDesc {
 public:
  PluginDescriptor() : QuorPluginDesc(nullptr) {  // the base is there before the description
    describe(parameters_, P::description());
    paramListDesc = &parameters_;
    pluginRegistry.add(this);
  }

  std::uint64_t getPluginId() const override { return P::kPluginId; }
  QUtils::PluginBase* newPlugin(void* /*host*/) override { return new P(this); }
  void deletePlugin(QUtils::PluginBase* plugin) override { delete plugin; }
  std::int32_t supportsInterface(QUtils::InterfaceId id) const override {
    return std::ranges::find(P::kInterfaces, id) != std::end(P::kInterfaces) ? 1 : 0;
  }
  const char* getPluginName() const override { return P::kPluginName; }

 private:
  QUtils::QuorParameterListDesc parameters_;
};

}  // namespace samplerinfo
