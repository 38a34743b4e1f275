// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace preview {

/// What tells one state of a file from another. One that is no regular file, or is not there, has
/// none of it.
struct FileState {
  std::uint64_t index = 0, bytes = 0;     // an editor may put a new file into its place
  std::int64_t written = 0, changed = 0;  // nanoseconds

  bool operator==(const FileState&) const = default;
  std::string text() const;
};

using FileStates = std::map<std::filesystem::path, FileState>;

/// Reads no file.
FileStates statesOf(const std::set<std::filesystem::path>& files);

/// Whether each was written long enough ago to be read: writing may still be going on.
bool areSettled(const FileStates& states);

}  // namespace preview
