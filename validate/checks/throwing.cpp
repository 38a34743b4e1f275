// SPDX-License-Identifier: MIT
#include "validate/checks/throwing.h"

namespace validate {

namespace {
struct HostFailure {};
}  // namespace

void throwHostFailure() { throw HostFailure(); }

bool throwsHostFailure(void (*call)(const void*), const void* data) {
  try {
    call(data);
  } catch (const HostFailure&) {
    return true;
  }
  return false;
}

const char* textThrownBy(void (*call)(const void*), const void* data) {
  try {
    call(data);
  } catch (char* text) {
    return text;
  }
  return nullptr;
}

}  // namespace validate
