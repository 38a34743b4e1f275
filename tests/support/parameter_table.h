#pragma once

#include <string>
#include <vector>

#include "standin/introspection.h"
#include "tests/support/library.h"

/// Checks of the tables that a plugin kind presents to the host.
namespace test {

/// One expected parameter; `help` may be null.
struct ExpectedParameter {
  const char* name;
  standin::ParamType type;
  const char* help;
  std::int32_t initial = 0;
};

/// Registers the plugin kind and compares its parameters, in order, with `expected`; every input
/// must have been added with -1 and every parameter with a null last text.
void expectParameters(const std::string& pluginName,
                      const std::vector<ExpectedParameter>& expected);

/// Makes an instance and compares the names that it registers with its list, in order.
void expectBindingOrder(const std::string& pluginName, const std::vector<std::string>& expected);

}  // namespace test
