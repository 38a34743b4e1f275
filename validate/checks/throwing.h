// SPDX-License-Identifier: MIT
#pragma once

/// Exceptions as the module's compiler knows them, from which `throwing.cpp` therefore comes. On
/// Windows nothing is cleaned up in the functions of this program that an exception passes.
namespace validate {

extern "C" {
/// Throws what hosts here throw, and says whether a call does.
[[noreturn]] void throwHostFailure();
bool throwsHostFailure(void (*call)(const void*), const void* data);
/// The `char*` that a call throws, or null.
const char* textThrownBy(void (*call)(const void*), const void* data);
}

template <class Call>
void make(const void* call) {
  (*static_cast<const Call*>(call))();
}
template <class Call>
bool throws(const Call& call) {
  return throwsHostFailure(make<Call>, &call);
}
template <class Call>
const char* thrownText(const Call& call) {
  return textThrownBy(make<Call>, &call);
}

}  // namespace validate
