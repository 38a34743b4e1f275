// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "validate/harness/contract.h"

namespace validate {

/// An interface to add to an object. Knows how often it was released.
struct AddedInterface {
  explicit AddedInterface(std::uint64_t identifier) : id(identifier) {}

  static std::uint64_t getId(AddedInterface* self) { return self->id; }
  static void release(AddedInterface* self) {
    ++self->releases;
    if (self->whenReleased) self->whenReleased();
  }
  static inline const InterfaceTable kTable{
      PluginInterface::getInterfaceId.entry<getId>(),
      PluginInterface::release.entry<release>(),
  };

  void* const* table = kTable.slots;
  std::uint64_t id;
  int releases = 0;
  std::function<void()> whenReleased;
};

}  // namespace validate
