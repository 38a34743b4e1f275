// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "preview/scene/scene.h"

namespace preview {

/// What follows from the connections of nodes that are connected without a cycle.
class Connections {
 public:
  struct Kept {
    bool bounds = true, gradient = true;
  };

  /// `nodes` outlive the object.
  explicit Connections(const std::vector<Node>& nodes);

  const Node& nodeOf(const Reference& reference) const { return *nodes_.at(reference.node); }

  /// Marks what an image of a texture needs.
  void need(const Reference& reference);
  bool isNeeded(const Reference& reference) const {
    return neededTextures_.contains(reference.text());
  }
  bool isNeeded(const Node& node) const { return neededNodes_.contains(node.name); }

  /// Whether all that a node stands on keeps within bounds and has exact gradients.
  Kept keptByInputs(const Node& node);

 private:
  std::unordered_map<std::string, const Node*> nodes_;
  std::unordered_set<std::string> neededNodes_, neededTextures_;
  std::unordered_map<const Node*, Kept> kept_;
};

}  // namespace preview
