// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "preview/diagnostics/diagnostics.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene.h"

namespace preview {

/// The nodes of a scene as instances of the library's plugins and textures of the host, connected.
/// Between `frameBegin` and `frameEnd` its textures may be evaluated from any thread.
class Network {
 public:
  struct NamedTexture {
    Reference name;
    const PluginInterface* texture;
  };

  /// Reports where a node, a parameter or a connection is not as its plugin has it, where
  /// connections form a cycle, or are so many that a sample would never end. Only a network without
  /// such errors may be used. `nodes` and `library` outlive it.
  Network(const std::vector<Node>& nodes, const PluginLibrary& library, Diagnostics& diagnostics);

  /// A texture, which the network owns; null if the node has already been reported as wrong. Throws
  /// `SceneError`, for `place` in the file, if there is none.
  PluginInterface* find(const Reference& reference, const std::string& place) const;

  /// The names of a node's outputs; none of one that is wrong. Throws `SceneError`, for `place` in
  /// the file, if such a node has none.
  std::vector<std::string> outputs(const std::string& node, const std::string& place) const;

  /// Every texture that a reference can name: the nodes in the order of the file,
  /// outputs in the order of their registration.
  std::vector<NamedTexture> textures() const;

  void renderBegin() const { notify(&QuorPluginInterface::renderBegin); }
  void frameBegin() const { notify(&QuorPluginInterface::frameBegin); }
  void frameEnd() const { notify(&QuorPluginInterface::frameEnd); }
  void renderEnd() const { notify(&QuorPluginInterface::renderEnd); }

 private:
  /// A node with its plugin, or with its texture of the host; with neither if it is wrong.
  struct Instance {
    const Node* node;
    std::unique_ptr<standin::PluginInstance> plugin;
    std::unique_ptr<PluginInterface> hostTexture;

    /// The texture of an output, or the one that is named without an output; null if there is none.
    PluginInterface* texture(const std::string& output = {}) const;

    bool isWrong() const { return plugin == nullptr && hostTexture == nullptr; }

    /// The names of the plugin's outputs, or of its inputs.
    std::vector<std::string> parameterNames(bool outputs) const;
  };

  static void make(Instance& instance, const PluginLibrary& library, Diagnostics& diagnostics);
  const Instance* findInstance(const std::string& name) const;
  const Instance& instance(const std::string& name, const std::string& place) const;
  void setParameter(const Instance& instance, const Parameter& parameter);
  void checkConnections(Diagnostics& diagnostics) const;
  void notify(void (QuorPluginInterface::*event)(QuorRenderer*)) const;

  std::vector<Instance> instances_;
  std::vector<std::unique_ptr<PluginInterface>> constants_;
};

}  // namespace preview
