// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "preview/diagnostics/errors.h"

namespace preview {

inline std::string memoryText(double bytes) {
  constexpr double kMiB = 1 << 20;
  return std::to_string(std::llround(bytes / kMiB)) + " MiB";
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
  throw InputError(what + " would take " + memoryText(bytes) + " of memory, there are " +
                   memoryText(present));
}

/// The most that the program has had so far, in bytes.
inline double peakMemory() {
  constexpr double kKiB = 1024;
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return kKiB * static_cast<double>(usage.ru_maxrss);
}

}  // namespace preview
