#pragma once

#include <string>
#include <vector>

namespace test {

/// Makes an instance and compares the names that it registers with its list, in order.
void expectBindingOrder(const std::string& pluginName, const std::vector<std::string>& expected);

}  // namespace test
