// SPDX-License-Identifier: MIT
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace preview {

/// Opens a file for reading. The stream is not open if it is no regular file: another may have come
/// into its place since it was looked at, and to open a FIFO is to wait for who writes there.
inline std::ifstream openRegularFile(const std::filesystem::path& file) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  std::ifstream stream;
  struct stat found = {};
  if (fstat(descriptor, &found) == 0 && S_ISREG(found.st_mode)) {
    stream.open("/proc/self/fd/" + std::to_string(descriptor), std::ios::binary);
  }
  close(descriptor);
  return stream;
}

}  // namespace preview
