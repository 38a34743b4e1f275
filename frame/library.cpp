// SPDX-License-Identifier: MIT
// What the host meets first: the library's one export, the library descriptor, the registry of
// plugin descriptors, and the descriptors.

#include <algorithm>
#include <utility>

#include "frame/plugin_kind.h"
#include "host/api.h"

namespace samplerinfo {
namespace {

/// One registered descriptor, in a list that runs from the newest to the oldest.
struct PluginDescEntry {
  PluginDesc* desc;
  PluginDescEntry* next;
};

/// All plugin descriptors of this library, none of them owned. Written only while the library is
/// being loaded and unloaded.
struct PluginRegistry {
  PluginDescEntry* head = nullptr;
  std::uint32_t count = 0;  ///< how many have ever registered: unloading does not lower it

  void add(PluginDesc* desc) {
    ++count;
    head = new PluginDescEntry{desc, head};
  }
};

constinit PluginRegistry pluginRegistry;

/// The descriptor of this library. Its destruction empties the registry.
class LibDesc final : public PluginLibDesc {
 public:
  ~LibDesc() override {
    while (pluginRegistry.head != nullptr) {
      delete std::exchange(pluginRegistry.head, pluginRegistry.head->next);
    }
  }

  const char* getLibraryName() const override { return "SamplerInfo"; }
  const char* getLibraryDescription() const override {
    return "Sampler info texture and vector/color operations for Quor";
  }
  std::int32_t enumPluginDescs(PluginDescVisitor* visitor) const override {
    if (visitor == nullptr) return static_cast<std::int32_t>(pluginRegistry.count);
    std::int32_t shown = 0;
    for (const PluginDescEntry* entry = pluginRegistry.head; entry != nullptr;
         entry = entry->next) {
      ++shown;
      if (visitor->visitPluginDesc(entry->desc) == 0) break;
    }
    return shown;
  }
};

template <const PluginKind& kKind>
class PluginDescriptor final : public QuorPluginDesc {
 public:
  PluginDescriptor() : QuorPluginDesc(nullptr) {  // the base is there before the description
    kKind.describe(parameters_);
    paramListDesc = &parameters_;
    pluginRegistry.add(this);
  }

  std::uint64_t getPluginId() const override { return kKind.id; }
  PluginBase* newPlugin(void* /*host*/) override { return kKind.make(this); }
  void deletePlugin(PluginBase* plugin) override { delete plugin; }
  std::int32_t supportsInterface(InterfaceId id) const override {
    return std::ranges::find(kKind.interfaces, id) != kKind.interfaces.end() ? 1 : 0;
  }
  const char* getPluginName() const override { return kKind.name; }

 private:
  QuorParameterListDesc parameters_;
};

// In this order: each descriptor puts itself at the head of the registry, so the host is shown them
// from the last to the first, and at unload the library descriptor goes before them.
PluginDescriptor<kTexSampler> texSamplerDesc;
PluginDescriptor<kTexVectorOp> texVectorOpDesc;
PluginDescriptor<kTexFloatOp> texFloatOpDesc;
PluginDescriptor<kTexAColorOp> texAColorOpDesc;
PluginDescriptor<kFloat3ToAColor> float3ToAColorDesc;
LibDesc libDesc;

}  // namespace
}  // namespace samplerinfo

/// The library's only export: its descriptor, which lives from load to unload.
extern "C" QUOR_EXPORT QUtils::PluginLibDesc* getLibDesc() { return &samplerinfo::libDesc; }
