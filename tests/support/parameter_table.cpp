#include "tests/support/parameter_table.h"

#include "standin/host_registry.h"

namespace test {

void expectParameters(const std::string& pluginName,
                      const std::vector<ExpectedParameter>& expected) {
  standin::HostRegistry host;
  QUtils::QuorPluginDesc& desc = descriptor(pluginName);
  desc.registerPlugin(&host);
  ASSERT_EQ(host.descs, std::vector<QUtils::QuorPluginDesc*>{&desc});

  const auto parameters = standin::registeredParameters(&desc);
  ASSERT_EQ(parameters.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const standin::ParameterInfo& got = parameters[i];
    SCOPED_TRACE(expected[i].name);
    EXPECT_STREQ(got.name, expected[i].name);
    EXPECT_EQ(got.type, expected[i].type);
    EXPECT_STREQ(got.help, expected[i].help);
    EXPECT_EQ(got.initial, expected[i].initial);
    EXPECT_EQ(got.flags, got.isOutput() ? 0 : -1);
    EXPECT_EQ(got.text, nullptr);
  }
  desc.unregisterPlugin(&host);
  EXPECT_TRUE(host.descs.empty());
}

void expectBindingOrder(const std::string& pluginName, const std::vector<std::string>& expected) {
  struct Listener final : standin::CallListener {
    std::vector<std::string> bound;
    void called(const char* operation, const char* name) override {
      const std::string op = operation;
      if (op == "setParamCache" || op == "setOutputParamCache") bound.emplace_back(name);
    }
  } listener;
  standin::listenToCalls(&listener);
  { const Instance instance(pluginName); }
  standin::listenToCalls(nullptr);
  EXPECT_EQ(listener.bound, expected);
}

}  // namespace test
