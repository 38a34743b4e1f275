// SPDX-License-Identifier: MIT
#include "preview/scene/connections.h"

#include "preview/scene/guarantees.h"

namespace preview {

namespace {

std::vector<const Reference*> inputsOf(const Node& node) {
  std::vector<const Reference*> inputs;
  for (const Parameter& parameter : node.parameters) {
    if (const auto* input = std::get_if<Reference>(&parameter.value)) inputs.push_back(input);
  }
  return inputs;
}

}  // namespace

Connections::Connections(const std::vector<Node>& nodes) {
  for (const Node& node : nodes) nodes_[node.name] = &node;
}

void Connections::need(const Reference& reference) {
  neededTextures_.insert(reference.text());
  if (!neededNodes_.insert(reference.node).second) return;
  for (const Reference* input : inputsOf(nodeOf(reference))) need(*input);
}

Connections::Kept Connections::keptByInputs(const Node& node) {
  const auto known = kept_.find(&node);
  if (known != kept_.end()) return known->second;
  Kept kept;
  for (const Reference* input : inputsOf(node)) {
    const Node& from = nodeOf(*input);
    const Kept before = keptByInputs(from);
    const Guarantee guarantee = guaranteeOf(from.plugin, input->output);
    kept.bounds &= before.bounds && guarantee.boundsEnclose;
    kept.gradient &= before.gradient && guarantee.gradient == "exact";
  }
  return kept_[&node] = kept;
}

}  // namespace preview
