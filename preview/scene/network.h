#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/plugin.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene.h"
#include "preview/scene/texture.h"

namespace preview {

/// The nodes of a scene as instances of the library's plugins and textures of the host, connected.
/// Between `frameBegin` and `frameEnd` its textures may be evaluated from any thread.
class Network {
 public:
  /// Throws `SceneError` if a node, a parameter or a connection is not as its plugin has it, if
  /// the connections form a cycle, or if they are so many that a sample would never end. Both
  /// arguments outlive the network.
  Network(const std::vector<Node>& nodes, const PluginLibrary& library);

  /// Throws `SceneError`, for `place` in the file, if there is no such texture.
  Texture find(const Reference& reference, const std::string& place) const;

  /// Every texture that a reference can name, under that name: the nodes in the order of the file,
  /// outputs in the order of their registration.
  std::vector<std::pair<std::string, Texture>> textures() const;

  void renderBegin();
  void frameBegin();
  void frameEnd();
  void renderEnd();

 private:
  struct DeletePlugin {
    void operator()(QUtils::PluginBase* object) const { desc->deletePlugin(object); }
    QUtils::QuorPluginDesc* desc;
  };
  using PluginPointer = std::unique_ptr<QUtils::PluginBase, DeletePlugin>;

  /// A node with its plugin, or with its texture of the host.
  struct Instance {
    const Node* node;
    PluginPointer object;
    QUtils::QuorPluginInterface* plugin;  ///< of `object`
    std::unique_ptr<QUtils::PluginInterface> hostTexture;

    /// The plugin or the texture, if it is a texture that can be named without an output; or null.
    QUtils::PluginInterface* ownTexture() const;
  };

  static Instance makeInstance(const Node& node, const PluginLibrary& library);
  const Instance& instance(const std::string& name, const std::string& place) const;
  QUtils::PluginInterface* texture(const Reference& reference, const std::string& place) const;
  void setParameter(const Instance& instance, const Parameter& parameter);
  void checkConnections() const;
  void tell(void (QUtils::QuorPluginInterface::*event)(QUtils::QuorRenderer*)) const;

  std::vector<Instance> instances_;
  std::vector<std::unique_ptr<QUtils::PluginInterface>> constants_;
};

}  // namespace preview
