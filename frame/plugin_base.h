// SPDX-License-Identifier: MIT
#pragma once

#include "host/types.h"

namespace QUtils {

class PluginInterface;
struct InterfaceEntry;

/// Root of everything that the host holds as an object: descriptors, plugins, frame data.
///
/// An object may be given further interfaces. It does not own them; the newest entry is found
/// first. The order of the virtual operations is part of the contract with the host. So is, here
/// and in all classes of the contract, who may call them:
///
/// - [any thread]: any number of threads at once.
/// - [set-up thread]: one thread, while no other is inside the same object.
/// - [render threads, between frameBegin and frameEnd]: any number at once, between these calls of
///   the plugin that is asked and of those that its inputs come from.
class PluginBase {
 public:
  PluginBase() = default;
  PluginBase(const PluginBase&) = delete;
  PluginBase& operator=(const PluginBase&) = delete;

  /// Releases the interfaces that were added with `releaseWithOwner`, oldest first. [set-up thread]
  virtual ~PluginBase();

  /// The interface that answers `id`, or null. Still owned by the object. [any thread]
  virtual PluginInterface* getInterface(InterfaceId id);

  /// Told by an interface of this object that its user is done with it. Does nothing. [any thread]
  virtual void releaseInterface(PluginInterface* iface);

  /// Returns 1. Adding the same interface again makes another entry. [set-up thread]
  virtual std::int32_t addInterface(PluginInterface* iface, std::int32_t releaseWithOwner);

  /// Removes the newest entry of `iface` without releasing it; returns 1, or 0 if there is none.
  /// [set-up thread]
  virtual std::int32_t removeInterface(PluginInterface* iface);

 private:
  InterfaceEntry* interfaces_ = nullptr;
};

/// Root of every interface. The order of the virtual operations is part of the contract.
class PluginInterface {
 public:
  PluginInterface() = default;
  PluginInterface(const PluginInterface&) = delete;
  PluginInterface& operator=(const PluginInterface&) = delete;

  virtual ~PluginInterface();                      ///< [set-up thread]
  virtual InterfaceId getInterfaceId() const = 0;  ///< [any thread]

  /// The object that owns this interface, or null. [any thread]
  virtual PluginBase* getPlugin() = 0;

  /// The identifier's name, a static text. [any thread]
  virtual const char* getInterfaceName() const;

  /// Tells the owning object, if there is one, that its user is done with this interface.
  /// [any thread]
  virtual void release();
};

}  // namespace QUtils
