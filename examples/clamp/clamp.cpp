// SPDX-License-Identifier: MIT
// A whole module, written with nothing but the sdk: one plugin, a clamp.
#include <utility>

#include "frame/plugin.h"

namespace {

using namespace QUtils;

/// `value`, but not below `low`, and then not above `high`. Absent inputs count as 0, 0 and 1.
class ClampedTex final : public TextureFloatInterface {
 public:
  TextureFloatInterface* value = nullptr;
  TextureFloatInterface* low = nullptr;
  TextureFloatInterface* high = nullptr;

  PluginBase* getPlugin() override { return nullptr; }

  float getFloat(const ShadingContext& sc) const override {
    const float x = ask(value, sc, 0);
    const float lo = ask(low, sc, 0);
    const float hi = ask(high, sc, 1);
    return clamped(x, lo, hi);
  }
  void getFloatBounds(float& min, float& max) const override {
    float xMin = 0, xMax = 0, loMin = 0, loMax = 0, hiMin = 1, hiMax = 1;
    askBounds(value, xMin, xMax);
    askBounds(low, loMin, loMax);
    askBounds(high, hiMin, hiMax);
    min = clamped(xMin, loMin, hiMin);  // the result rises with each input
    max = clamped(xMax, loMax, hiMax);
  }
  Vector getGradient(const ShadingContext& sc) const override {
    const float x = ask(value, sc, 0);
    const float lo = ask(low, sc, 0);
    const float hi = ask(high, sc, 1);
    const bool isRaised = x < lo;
    const TextureFloatInterface* const answer = (isRaised ? lo : x) > hi ? high
                                                : isRaised               ? low
                                                                         : value;
    return answer != nullptr ? answer->getGradient(sc) : Vector{};
  }

 private:
  static float ask(const TextureFloatInterface* input, const ShadingContext& sc, float absent) {
    return input != nullptr ? input->getFloat(sc) : absent;
  }
  /// The lower bound comes first, also where those of the input turn round.
  static void askBounds(TextureFloatInterface* input, float& min, float& max) {
    if (input == nullptr) return;
    input->getFloatBounds(min, max);
    if (max < min) std::swap(min, max);
  }
  static float clamped(float x, float lo, float hi) {
    const float raised = x < lo ? lo : x;
    return raised > hi ? hi : raised;
  }
};

class Clamp final : public QuorPlugin {
 public:
  explicit Clamp(QuorPluginDesc* maker) : QuorPlugin(maker) {
    paramList->setParamCache(modifiable("value"), &clamped_.value);  // written at `frameBegin`
    paramList->setParamCache(modifiable("low"), &clamped_.low);
    paramList->setParamCache(modifiable("high"), &clamped_.high);
    paramList->setOutputParamCache(modifiable("clamped"), &clamped_);
  }

 private:
  ClampedTex clamped_;
};

class ClampDesc final : public QuorPluginDesc {
 public:
  ClampDesc() : QuorPluginDesc(nullptr) {
    parameters_.addParamTextureFloat(modifiable("value"), -1, "What is clamped", nullptr);
    parameters_.addParamTextureFloat(modifiable("low"), -1, "The least result", nullptr);
    parameters_.addParamTextureFloat(modifiable("high"), -1, "The greatest result", nullptr);
    parameters_.addOutputParamTextureFloat(modifiable("clamped"), "value within low and high",
                                           nullptr);
    paramListDesc = &parameters_;
  }
  std::uint64_t getPluginId() const override { return 0x7782F9C1; }
  PluginBase* newPlugin(void* /*host*/) override { return new Clamp(this); }
  void deletePlugin(PluginBase* plugin) override { delete plugin; }
  std::int32_t supportsInterface(InterfaceId id) const override { return id == EXT_QUOR_PLUGIN; }
  const char* getPluginName() const override { return "Clamp"; }

 private:
  QuorParameterListDesc parameters_;
} clampDesc;

class LibDesc final : public PluginLibDesc {
 public:
  const char* getLibraryName() const override { return "Clamp"; }
  const char* getLibraryDescription() const override { return "A clamp for Quor"; }
  std::int32_t enumPluginDescs(PluginDescVisitor* visitor) const override {
    if (visitor != nullptr) visitor->visitPluginDesc(&clampDesc);
    return 1;
  }
} libDesc;

}  // namespace

extern "C" QUOR_EXPORT PluginLibDesc* getLibDesc() { return &libDesc; }
