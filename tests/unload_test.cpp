#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <fstream>
#include <string>

#include "frame/plugin.h"
#include "host/shading_context.h"
#include "standin/introspection.h"

namespace {

using namespace QUtils;

bool isMapped(const std::string& fileName) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find(fileName) != std::string::npos) return true;
  }
  return false;
}

/// Pages of this process in memory.
long residentPages() {
  long total = 0;
  long resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return resident;
}

/// Makes, feeds and evaluates an instance of every plugin.
void use(PluginLibDesc& lib) {
  struct Visitor final : PluginDescVisitor {
    std::int32_t visitPluginDesc(PluginDesc* desc) override {
      auto* quorDesc = static_cast<QuorPluginDesc*>(desc);
      quorDesc->paramListDesc->registerParameters(nullptr, quorDesc);
      PluginBase* object = desc->newPlugin(nullptr);
      static_cast<Plugin*>(object)->setPluginName("used once");
      auto* plugin = static_cast<QuorPluginInterface*>(object->getInterface(EXT_QUOR_PLUGIN));
      plugin->renderBegin(nullptr);
      plugin->frameBegin(nullptr);
      if (PluginInterface* own = object->getInterface(EXT_TEXTURE)) {
        const ShadingContext sc{};
        static_cast<TextureInterface*>(own)->getColor(sc);
      }
      desc->deletePlugin(object);
      return 1;
    }
  } visitor;
  EXPECT_EQ(lib.enumPluginDescs(&visitor), lib.enumPluginDescs(nullptr));
}

void loadUseAndUnload() {
  void* module = dlopen(SAMPLERINFO_MODULE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(module, nullptr) << dlerror();
  const auto getLibDesc = reinterpret_cast<PluginLibDesc* (*)()>(dlsym(module, "getLibDesc"));
  ASSERT_NE(getLibDesc, nullptr);
  EXPECT_EQ(getLibDesc(), getLibDesc());
  use(*getLibDesc());
  ASSERT_EQ(dlclose(module), 0);
}

TEST(Unloading, LeavesNothingMappedAndTheProcessNoLarger) {
  constexpr int kRounds = 1000;
  for (int round = 0; round < 50; ++round) loadUseAndUnload();
  [[maybe_unused]] const long pagesBefore = residentPages();
  [[maybe_unused]] const std::size_t heapBefore = mallinfo2().uordblks;
  for (int round = 0; round < kRounds; ++round) {
    loadUseAndUnload();
    ASSERT_FALSE(isMapped("SamplerInfo.so")) << "after round " << round;
  }
#if defined(MEASURE_GROWTH)  // sanitizers keep freed memory and their own records
  EXPECT_LT(mallinfo2().uordblks, heapBefore + kRounds);  // less than a byte a round
  EXPECT_LE(residentPages(), pagesBefore + 8);
#endif
}

}  // namespace
