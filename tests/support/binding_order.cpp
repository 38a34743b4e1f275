#include "tests/support/binding_order.h"

#include "standin/introspection.h"
#include "tests/support/library.h"

namespace test {

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
