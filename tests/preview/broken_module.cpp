// SPDX-License-Identifier: MIT
#include <exception>

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
  ThrowingBounds,
  ThrowingLibrary,
  ThrowingValue,
  NullOutput
};
constexpr Fault kFault = FAULT;
constexpr bool kHasOutput = kFault == ThrowingBounds || kFault == ThrowingValue;

/// Its code goes with the module.
struct Failure final : std::exception {
  const char* what() const noexcept override { return "no answer"; }
};

class SumTex final : public TextureFloatInterface {
 public:
  PluginBase* getPlugin() override { return nullptr; }
  float getFloat(const ShadingContext& /*sc*/) const override { throw Failure(); }
  void getFloatBounds(float& min, float& max) const override {
    if (kFault == ThrowingBounds) throw Failure();
    min = max = 0;
  }
  Vector getGradient(const ShadingContext& /*sc*/) const override { return {}; }
};

class Broken final : public QuorPlugin {
 public:
  explicit Broken(QuorPluginDesc* maker) : QuorPlugin(maker) {
    if (kHasOutput) paramList->setOutputParamCache(modifiable("sum"), &sum_);
  }

  void frameBegin(QuorRenderer* /*renderer*/) override { fail(); }
  void frameEnd(QuorRenderer* /*renderer*/) override { fail(); }

 private:
  static void fail() {
    if (kFault == ThrowingFrame) throw modifiable("no frame");
  }

  SumTex sum_;
};

class BrokenDesc final : public QuorPluginDesc {
 public:
  BrokenDesc() : QuorPluginDesc(nullptr) {
    paramListDesc = &parameters_;
    parameters_.addParamTextureFloat(kFault == NullParameterName ? nullptr : modifiable("a"), 0,
                                     nullptr, nullptr);
    if (kFault == NullOutput || kHasOutput) {
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
  if (kFault == ThrowingLibrary) throw Failure();
  return kFault == NullLibDesc ? nullptr : &libDesc;
}
