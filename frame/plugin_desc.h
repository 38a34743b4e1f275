// SPDX-License-Identifier: MIT
#pragma once

#include "frame/plugin_base.h"
#include "host/parameters.h"
#include "host/plugin_host.h"

/// Descriptors: static objects that tell the host what a library offers. The order of the virtual
/// operations is part of the contract with the host.
namespace QUtils {

/// Describes a library.
class PluginLibDesc : public PluginBase {
 public:
  virtual const char* getLibraryName() const = 0;         ///< [any thread]
  virtual const char* getLibraryDescription() const = 0;  ///< [any thread]

  /// Shows the plugin descriptors to `visitor`, newest first, until it answers 0; returns how many
  /// it was shown. Without a visitor returns how many there are. [any thread]
  virtual std::int32_t enumPluginDescs(PluginDescVisitor* visitor) const = 0;
};

/// Describes a kind of plugin, and makes and deletes its instances.
class PluginDesc : public PluginBase {
 public:
  virtual std::uint64_t getPluginId() const = 0;  ///< [any thread]

  /// A new instance, owned by the caller until it is given to `deletePlugin`. [set-up thread]
  virtual PluginBase* newPlugin(void* host) = 0;
  virtual void deletePlugin(PluginBase* plugin) = 0;  ///< [set-up thread]

  /// 1 if plugins of this kind announce the interface, else 0. [any thread]
  virtual std::int32_t supportsInterface(InterfaceId id) const = 0;

  virtual const char* getPluginName() const = 0;        ///< [any thread]
  virtual void registerPlugin(QuorPluginHost* host);    ///< [set-up thread]
  virtual void unregisterPlugin(QuorPluginHost* host);  ///< [set-up thread]
  virtual void* getExtraInfo();                         ///< [any thread]
};

/// Describes a kind of plugin of the Quor renderer, with its parameters.
class QuorPluginDesc : public PluginDesc {
 public:
  explicit QuorPluginDesc(QuorParameterListDesc* parameters) : paramListDesc(parameters) {}

  /// Announces this descriptor and its parameters to `host`. Does nothing for null.
  void registerPlugin(QuorPluginHost* host) override;
  void unregisterPlugin(QuorPluginHost* host) override;

  QuorParameterListDesc* paramListDesc;  ///< not owned; null while there is no description
};

}  // namespace QUtils
