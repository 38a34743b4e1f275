// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

#include "validate/contract.h"

namespace validate {

/// An interface to add to an object. Knows how often it was released, and as the how manieth of
/// all.
struct AddedInterface {
  explicit AddedInterface(std::uint64_t identifier) : id(identifier) {}

  static std::uint64_t getId(AddedInterface* self) { return self->id; }
  static void release(AddedInterface* self) {
    static int turns = 0;
    ++self->releases;
    self->turn = ++turns;
    if (self->whenReleased) self->whenReleased();
  }
  static inline const Table kTable{
      PluginInterface::getInterfaceId.entry<getId>(),
      PluginInterface::release.entry<release>(),
  };

  void* const* table = kTable.slots;
  std::uint64_t id;
  int releases = 0, turn = 0;
  std::function<void()> whenReleased;
};

}  // namespace validate
