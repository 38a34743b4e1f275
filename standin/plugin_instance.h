// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "frame/plugin.h"

namespace standin {

/// One plugin instance as a host holds it: made and deleted through its descriptor, used through
/// its virtual operations alone.
class PluginInstance {
 public:
  /// Throws `std::logic_error` if what is made is no plugin.
  explicit PluginInstance(QUtils::QuorPluginDesc& maker)
      : desc_(maker), object_(maker.newPlugin(nullptr)) {
    if (object_ == nullptr) throw std::logic_error("newPlugin gave null");
    plugin_ =
        static_cast<QUtils::QuorPluginInterface*>(object_->getInterface(QUtils::EXT_QUOR_PLUGIN));
    if (plugin_ != nullptr) return;
    desc_.deletePlugin(object_);
    throw std::logic_error("newPlugin gave an object without EXT_QUOR_PLUGIN");
  }
  ~PluginInstance() { desc_.deletePlugin(object_); }
  PluginInstance(const PluginInstance&) = delete;
  PluginInstance& operator=(const PluginInstance&) = delete;

  QUtils::QuorPluginDesc& desc() const { return desc_; }
  QUtils::PluginBase& object() const { return *object_; }
  QUtils::QuorPluginInterface& plugin() const { return *plugin_; }
  void frameBegin() const { plugin_->frameBegin(nullptr); }

  /// Connect a texture (null disconnects), or set a number. False if the parameter does not take
  /// it.
  bool connect(const std::string& name, QUtils::PluginInterface* texture) const {
    return set({name.c_str(), QUtils::ParameterKind::Interface, {.iface = texture}});
  }
  bool set(const std::string& name, std::int32_t value) const {
    return set({name.c_str(), QUtils::ParameterKind::Integer, {.integer = value}});
  }
  bool set(const std::string& name, bool value) const {
    return set({name.c_str(), QUtils::ParameterKind::Boolean, {.boolean = value}});
  }

  /// The texture of an output, or of the plugin itself, if it is one and the name is empty. Throws
  /// `std::out_of_range` if there is no such output.
  QUtils::PluginInterface* texture(const std::string& output) const {
    if (output.empty()) return object_->getInterface(QUtils::EXT_TEXTURE);
    const auto* parameter = plugin_->getParameter(QUtils::modifiable(output.c_str()));
    if (parameter == nullptr) throw std::out_of_range("no output " + output);
    return parameter->value.iface;
  }

 private:
  bool set(QUtils::QuorPluginParameter parameter) const {
    return plugin_->setParameter(&parameter) != 0;
  }

  QUtils::QuorPluginDesc& desc_;
  QUtils::PluginBase* object_;
  QUtils::QuorPluginInterface* plugin_;
};

/// The descriptors that a library shows, in its order.
inline std::vector<QUtils::QuorPluginDesc*> descriptorsOf(const QUtils::PluginLibDesc& library) {
  struct Visitor final : QUtils::PluginDescVisitor {
    std::vector<QUtils::QuorPluginDesc*> found;
    std::int32_t visitPluginDesc(QUtils::PluginDesc* desc) override {
      found.push_back(static_cast<QUtils::QuorPluginDesc*>(desc));
      return 1;
    }
  } visitor;
  library.enumPluginDescs(&visitor);
  return visitor.found;
}

}  // namespace standin
