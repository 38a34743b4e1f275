// SPDX-License-Identifier: MIT
#include "bench/network.h"

#include <algorithm>
#include <stdexcept>

namespace bench {

namespace {

/// The pair of that name, which exists, with a twin of its own.
twins::Pair pairNamed(const std::string& name) {
  std::vector<twins::Pair> pairs = twins::pairs();
  const auto found = std::ranges::find(pairs, name, &twins::Pair::name);
  if (found == pairs.end()) throw std::runtime_error("there is no pair " + name);
  return *found;
}

}  // namespace

Network::Network(const std::vector<Node>& nodes) {
  for (const Node& node : nodes) {
    twins::Pair pair = pairNamed(node.pair);
    auto plugin = std::make_unique<test::Instance>(pair.plugin);
    if (pair.setting == "mode") plugin->set("mode", pair.setTo);
    if (pair.setting == "invert") plugin->set("invert", pair.setTo != 0);
    for (std::size_t i = 0; i < node.sources.size(); ++i) {
      const int source = node.sources[i];
      if (source == Node::kAbsent) continue;
      const std::string& input = pair.inputs.at(i);
      if (source == Node::kConstant) {
        PluginInterface* constant = constantFor(input);
        plugin->connect(input, constant);
        pair.connect(i, constant);
      } else {
        const Output& from = outputs_.at(static_cast<std::size_t>(source));
        plugin->connect(input, from.plugin->texture(from.pair.output));
        pair.connect(i, from.pair.twin.get());
      }
    }
    plugin->plugin().renderBegin(nullptr);
    libraryTexture = plugin->texture(pair.output);
    twinTexture = pair.twin.get();
    outputs_.push_back({std::move(plugin), std::move(pair)});
  }
  frameBegin();
}

void Network::frameBegin() {
  for (const Output& output : outputs_) output.plugin->frameBegin();
  twins::clipPlanes().computed = 0;
}

PluginInterface* Network::constantFor(const std::string& input) {
  const float x = 0.75F + 0.25F * static_cast<float>(constants_.size());
  const auto keep = [&](auto constant) {
    constant->gradient = {x, 3, 2};
    return constants_.emplace_back(std::move(constant)).get();
  };
  if (input.starts_with("color")) {
    auto constant = std::make_unique<standin::ConstantColor>(AColor{x, x + 1, x + 2, 1});
    constant->lo = {-x, 0, 1, 0};
    return keep(std::move(constant));
  }
  if (input.starts_with("vector")) {
    auto constant = std::make_unique<standin::ConstantVector>(Vector{x, x + 1, x + 2});
    constant->lo = {-x, 0, 1};
    return keep(std::move(constant));
  }
  auto constant = std::make_unique<standin::ConstantFloat>(x);
  constant->lo = -x;
  return keep(std::move(constant));
}

}  // namespace bench
