// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "preview/messages/errors.h"

namespace preview {

/// "1.5 GiB"
inline std::string gibText(double bytes) {
  constexpr double kGiB = 1 << 30;
  char text[32];
  std::snprintf(text, sizeof text, "%.1f GiB", bytes / kGiB);
  return text;
}

/// Throws InputError where something takes more memory than there is: that of the machine, or as
/// much of it as `ulimit -v` leaves.
inline void checkMemory(const std::string& what, double bytes) {
  rlimit limit = {};
  getrlimit(RLIMIT_AS, &limit);
  const double machine =
      static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
  const double present = std::min(machine, static_cast<double>(limit.rlim_cur));
  if (bytes <= present) return;
  throw InputError(what + " would take " + gibText(bytes) + " of memory, there are " +
                   gibText(present));
}

}  // namespace preview
