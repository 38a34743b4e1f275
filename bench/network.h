// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "standin/textures.h"
#include "tests/support/library.h"
#include "tests/twins/pairs.h"

/// Networks of the loaded library's plugins, built a second time of twins.
namespace bench {

using namespace QUtils;

/// One output of a network: by its pair, and where its inputs come from.
struct Node {
  static constexpr int kAbsent = -1;
  static constexpr int kConstant = -2;

  std::string pair;          ///< `Pair::name()`
  std::vector<int> sources;  ///< per input the index of an earlier node, or one of the above
};

/// Connected as its nodes say, in its first frame.
class Network {
 public:
  explicit Network(const std::vector<Node>& nodes);
  void frameBegin();

  const PluginInterface* libraryTexture = nullptr;  ///< of the last node
  const PluginInterface* twinTexture = nullptr;

 private:
  struct Output {
    std::unique_ptr<test::Instance> plugin;
    twins::Pair pair;
  };
  PluginInterface* constantFor(const std::string& input);

  std::vector<Output> outputs_;
  std::vector<std::unique_ptr<PluginInterface>> constants_;
};

}  // namespace bench
