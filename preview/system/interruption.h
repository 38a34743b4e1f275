// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <csignal>
#include <stdexcept>

namespace preview {

inline constexpr int kInterruptions[] = {SIGINT, SIGTERM, SIGHUP};

/// The signal by which the user has asked the program to end, or 0.
inline std::atomic<int> interruption = 0;

inline void throwIfInterrupted() {
  if (interruption != 0) throw std::runtime_error("interrupted");
}

/// From now on the first such signal is only noted, so that a render can end in order; the second
/// one ends the program at once. Those that are ignored stay so (`nohup`).
inline void noteInterruptions() {
  for (const int signal : kInterruptions) {
    if (std::signal(signal, SIG_IGN) == SIG_IGN) continue;
    std::signal(signal, [](int caught) {
      interruption = caught;
      std::signal(caught, SIG_DFL);
    });
  }
}

/// For what must not be left half done.
inline void ignoreInterruptions() {
  for (const int signal : kInterruptions) std::signal(signal, SIG_IGN);
}

}  // namespace preview
