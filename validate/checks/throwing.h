// SPDX-License-Identifier: MIT
#pragma once

#include "validate/check.h"
#include "validate/contract.h"

/// Exceptions of a host.
namespace validate {

inline void skipForeignExceptions() {
  if (kMicrosoft) {
    skip("this program's exceptions are not those that the module's compiler knows");
  }
}

/// Whether the call throws what the hosts here throw.
struct HostFailure {};
template <class Call>
bool throws(const Call& call) {
  try {
    call();
  } catch (const HostFailure&) {
    return true;
  }
  return false;
}

}  // namespace validate
