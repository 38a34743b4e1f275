// SPDX-License-Identifier: MIT
#include "preview/live/watched_files.h"

#include <sys/stat.h>

#include <algorithm>
#include <chrono>

namespace preview {

std::string FileState::text() const {
  return " " + std::to_string(index) + " " + std::to_string(bytes) + " " + std::to_string(written) +
         " " + std::to_string(changed);
}

FileStates statesOf(const std::set<std::filesystem::path>& files) {
  const auto nanoseconds = [](const timespec& time) {
    constexpr std::int64_t kPerSecond = 1'000'000'000;
    return time.tv_sec * kPerSecond + time.tv_nsec;
  };
  FileStates states;
  for (const std::filesystem::path& file : files) {
    FileState& state = states[file];
    struct stat found = {};
    if (stat(file.c_str(), &found) != 0 || !S_ISREG(found.st_mode)) continue;
    state = {.index = found.st_ino,
             .bytes = static_cast<std::uint64_t>(found.st_size),
             .written = nanoseconds(found.st_mtim),
             .changed = nanoseconds(found.st_ctim)};
  }
  return states;
}

bool areSettled(const FileStates& states) {
  using namespace std::chrono;
  constexpr nanoseconds kWriting = 25ms;
  const nanoseconds now = system_clock::now().time_since_epoch();
  return std::ranges::all_of(states, [&](const auto& file) {
    const nanoseconds age = now - nanoseconds(file.second.written);
    return age >= kWriting || age < 0ns;  // another machine's clock may be ahead
  });
}

}  // namespace preview
