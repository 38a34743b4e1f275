// SPDX-License-Identifier: MIT
#pragma once

#include "frame/plugin_desc.h"
#include "frame/texture_interfaces.h"

/// Plugin instances. The order of the virtual operations is part of the contract with the host.
namespace QUtils {

class Plugin : public PluginBase {
 public:
  ~Plugin() override;

  /// The descriptor that made this plugin, or null. [any thread]
  virtual PluginDesc* getPluginDesc();

  /// Keeps a copy of `text`, which is not null, in place of the former one. [set-up thread]
  virtual void setPluginName(const char* text);

 private:
  char* name_ = nullptr;
};

/// What the host calls per render and per frame.
class QuorPluginInterface : public PluginInterface {
 public:
  /// Makes the parameter list from the description of `maker`, which may be null.
  explicit QuorPluginInterface(QuorPluginDesc* maker);
  ~QuorPluginInterface() override;

  InterfaceId getInterfaceId() const override { return EXT_QUOR_PLUGIN; }
  const char* getInterfaceName() const override { return "EXT_QUOR_PLUGIN"; }

  virtual void renderBegin(QuorRenderer* renderer);  ///< [set-up thread]
  virtual void renderEnd(QuorRenderer* renderer);    ///< [set-up thread]

  /// The host's default: writes the current parameter values into the registered fields.
  /// [set-up thread]
  QUOR_API virtual void frameBegin(QuorRenderer* renderer);
  virtual void frameEnd(QuorRenderer* renderer);  ///< [set-up thread]

  // As `QuorParameterList` has them; 0 and null without a parameter list.
  virtual std::int32_t setParameter(QuorPluginParameter* param);  ///< [set-up thread]
  virtual QuorPluginParameter* getParameter(char* name);          ///< [any thread]

 protected:
  QuorPluginDesc* desc;          ///< made this plugin; or null
  QuorParameterList* paramList;  ///< owned through the description; null without one
};

/// A plugin of the Quor renderer.
class QuorPlugin : public Plugin, public QuorPluginInterface {
 public:
  explicit QuorPlugin(QuorPluginDesc* maker) : QuorPluginInterface(maker) {}

  PluginInterface* getInterface(InterfaceId id) override;
  PluginDesc* getPluginDesc() override { return desc; }
  PluginBase* getPlugin() override { return this; }
};

/// A plugin that is itself a colour texture.
class QuorTexture : public QuorPlugin, public TextureInterface {
 public:
  using QuorPlugin::QuorPlugin;

  PluginInterface* getInterface(InterfaceId id) override;
  PluginBase* getPlugin() override { return this; }
};

}  // namespace QUtils
