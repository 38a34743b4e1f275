// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

/// How the system is made to refuse memory; one file per system.
namespace validate {

struct Refusal {
  bool thrown;            ///< a `char*`, as this system's compilers throw one
  std::string message;    ///< what it points to
  std::string debugText;  ///< what went to the debug output meanwhile
  struct {
    std::uint32_t total, free, blocks;
    std::int32_t status;
  } heap;  ///< as a host sees it
};

constexpr int kRefusedSize = 64 << 20;

void prepareRefusal();
/// Gives a plugin a name whose copy, `kRefusedSize` bytes long, does not fit.
Refusal refuseName(void* plugin);

bool canDamageHeap();
/// The message of a refusal while a block's header is overwritten.
std::string refuseNameInDamagedHeap(void* plugin);

}  // namespace validate
