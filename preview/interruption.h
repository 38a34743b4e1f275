#pragma once

#include <csignal>

namespace preview {

/// The signal by which the user has asked the program to end, or 0.
inline volatile std::sig_atomic_t interruption = 0;

/// From now on the first such signal is only noted, so that a render can end in order; the second
/// one ends the program at once.
inline void noteInterruptions() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    std::signal(signal, [](int caught) {
      interruption = caught;
      std::signal(caught, SIG_DFL);
    });
  }
}

}  // namespace preview
