// SPDX-License-Identifier: MIT
#include "frame/plugin.h"

// A module with one plugin, and one fault that the build chooses.

namespace {

using namespace QUtils;

enum Fault {
  None,
  NullLibDesc,
  NullLibName,
  NullDescriptor,
  NullPluginName,
  NullParameterName,
  NullPlugin,
  ThrowingPlugin,
  ThrowingFrame,
  NullOutput
};
constexpr Fault kFault = FAULT;

class Broken final : public QuorPlugin {
 public:
  using QuorPlugin::QuorPlugin;  // knows of no output

  void frameBegin(QuorRenderer* /*renderer*/) override { fail(); }
  void frameEnd(QuorRenderer* /*renderer*/) override { fail(); }

 private:
  static void fail() {
    if (kFault == ThrowingFrame) throw modifiable("no frame");
  }
};

class BrokenDesc final : public QuorPluginDesc {
 public:
  BrokenDesc() : QuorPluginDesc(nullptr) {
    paramListDesc = &parameters_;
    parameters_.addParamTextureFloat(kFault == NullParameterName ? nullptr : modifiable("a"), 0,
                                     nullptr, nullptr);
    if (kFault == NullOutput) {
      parameters_.addOutputParamTextureFloat(modifiable("sum"), nullptr, nullptr);
    }
  }
  std::uint64_t getPluginId() const override { return 1; }
  PluginBase* newPlugin(void* /*host*/) override {
    if (kFault == ThrowingPlugin) throw modifiable("no room");
    return kFault == NullPlugin ? nullptr : new Broken(this);
  }
  void deletePlugin(PluginBase* plugin) override { delete plugin; }
  std::int32_t supportsInterface(InterfaceId /*id*/) const override { return 0; }
  const char* getPluginName() const override {
    return kFault == NullPluginName ? nullptr : "Broken";
  }

 private:
  QuorParameterListDesc parameters_;
} brokenDesc;

class LibDesc final : public PluginLibDesc {
 public:
  const char* getLibraryName() const override { return kFault == NullLibName ? nullptr : "Broken"; }
  const char* getLibraryDescription() const override { return ""; }
  std::int32_t enumPluginDescs(PluginDescVisitor* visitor) const override {
    return visitor->visitPluginDesc(kFault == NullDescriptor ? nullptr : &brokenDesc);
  }
} libDesc;

}  // namespace

extern "C" QUOR_EXPORT PluginLibDesc* getLibDesc() {
  return kFault == NullLibDesc ? nullptr : &libDesc;
}
