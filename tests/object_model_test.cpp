// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "standin/introspection.h"
#include "tests/support/library.h"

namespace {

using namespace test;
using namespace QUtils;

/// Writes down what the library calls of the host: for each operation a line with the names.
struct RecordingHost final : QuorPluginHost, standin::CallListener {
  std::ostringstream calls;
  std::string last;

  void registerPluginDesc(QuorPluginDesc* desc) override {
    called("registerPluginDesc", desc->getPluginName());
  }
  void unregisterPluginDesc(QuorPluginDesc* desc) override {
    called("unregisterPluginDesc", desc->getPluginName());
  }
  void called(const char* operation, const char* name) override {
    if (last != operation) calls << (last.empty() ? "" : "\n") << operation;
    last = operation;
    if (name != nullptr) calls << ' ' << name;
  }
};

// What is described, texts included, is compared with docs/plugins.md.
TEST(ObjectModel, CallsTheHostInItsOrder) {
  RecordingHost host;
  const std::vector<QuorPluginDesc*> loaded = standin::descriptorsOf(library());
  standin::listenToCalls(&host);
  for (QuorPluginDesc* desc : loaded) {
    desc->registerPlugin(&host);
    Instance(desc->getPluginName()).frameBegin();
    desc->unregisterPlugin(&host);
    desc->registerPlugin(nullptr);
    desc->unregisterPlugin(nullptr);
  }
  standin::listenToCalls(nullptr);
  std::ostringstream expected;
  expected << std::ifstream(HOST_CALLS).rdbuf();
  EXPECT_EQ(host.calls.str() + '\n', expected.str());
}

TEST(ObjectModel, AnInputTakesATextureAnObjectOrAnOutputOfOne) {
  Instance number("TexFloatOp");
  Instance color("TexAColorOp");
  Instance target("TexAColorOp");
  PluginBase* const numbers = &number.object();
  PluginBase* const colors = &color.object();
  const PluginInterface* const before = number.texture("sin");
  EXPECT_TRUE(number.connect("float_a", number.texture("cos")));
  const auto object = [](PluginBase* of, const char* output) {
    return QuorPluginParameter::Value{.connection = {of, output}};
  };
  const struct {
    const char* input;
    ParameterKind kind;
    QuorPluginParameter::Value value;
    const PluginInterface* connected;  ///< `before` if it is refused
  } cases[] = {
      {"mult_a", ParameterKind::Object, object(numbers, "sum"), number.texture("sum")},
      {"mult_a", ParameterKind::Object, object(colors, "red"), color.texture("red")},
      {"mult_a", ParameterKind::Object, object(colors, "sum"), before},       // a colour
      {"mult_a", ParameterKind::Object, object(numbers, "cube"), before},     // no output
      {"mult_a", ParameterKind::Object, object(numbers, "float_a"), before},  // an input
      {"mult_a", ParameterKind::Object, object(numbers, nullptr), before},    // is no texture
      {"mult_a", ParameterKind::Object, object(nullptr, nullptr), nullptr},
      {"mult_a", ParameterKind::Interface, {.iface = color.texture("sum")}, before},
      {"mult_a", ParameterKind::Interface, {.iface = nullptr}, nullptr},
      {"mult_a", ParameterKind::Integer, {.integer = 1}, before},
      {"color_a", ParameterKind::Object, object(colors, nullptr), color.texture("")},
      {"red", ParameterKind::Object, object(colors, "red"), target.texture("red")},  // an output
  };
  for (const auto& [input, kind, value, connected] : cases) {
    EXPECT_TRUE(target.connect("mult_a", number.texture("sin")));
    QuorPluginParameter parameter{input, kind, value};
    const bool taken = connected != before && std::string(input) != "red";
    EXPECT_EQ(target.plugin().setParameter(&parameter), taken ? 1 : 0) << input;
    EXPECT_EQ(target.plugin().getParameter(modifiable(input))->value.iface, connected) << input;
  }
}

/// Says that the object to which it is added dies, and goes with it.
struct LastWords final : PluginInterface {
  const char* words;
  LastWords(PluginBase& object, const char* text) : words(text) { object.addInterface(this, 1); }
  InterfaceId getInterfaceId() const override { return 0; }
  PluginBase* getPlugin() override { return nullptr; }
  void release() override {
    std::fprintf(stderr, "%s ", words);
    delete this;
  }
};

TEST(ObjectModel, IsUnloadedFromTheLibraryDescriptorToTheFirstPlugin) {
  const auto unload = [] {
    for (QuorPluginDesc* desc : standin::descriptorsOf(library())) {
      new LastWords(*desc, desc->getPluginName());
    }
    new LastWords(library(), "the library:");
    std::exit(0);
  };
  EXPECT_EXIT(unload(), ::testing::ExitedWithCode(0),
              "the library: Float3ToAColor TexAColorOp TexFloatOp TexVectorOp TexSampler ");
}

/// A descriptor that describes no parameters.
struct BareDesc final : QuorPluginDesc {
  BareDesc() : QuorPluginDesc(nullptr) {}
  std::uint64_t getPluginId() const override { return 0; }
  PluginBase* newPlugin(void* /*host*/) override { return nullptr; }
  void deletePlugin(PluginBase* /*plugin*/) override {}
  std::int32_t supportsInterface(InterfaceId /*id*/) const override { return 0; }
  const char* getPluginName() const override { return "bare"; }
};

TEST(ObjectModel, DoesWithoutParameters) {
  BareDesc desc;
  for (BareDesc* maker : {&desc, static_cast<BareDesc*>(nullptr)}) {
    QuorPlugin bare(maker);
    QuorPluginParameter parameter{"x", ParameterKind::Integer, {}};
    EXPECT_EQ(bare.setParameter(&parameter), 0);
    EXPECT_EQ(bare.getParameter(modifiable("x")), nullptr);
    EXPECT_EQ(bare.getPluginDesc(), maker);
  }
}

}  // namespace
