// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace preview {

/// An exclusive lock on a folder, as far as its file system has such; gone with the process.
class FolderLock {
 public:
  FolderLock(const std::filesystem::path& folder, int operation);  ///< of flock()
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool isHeld() const { return isHeld_; }

 private:
  int file_;
  bool isHeld_;
};

/// Files that are put into a folder in one go: they are written to a hidden folder in it (or where
/// it is to be made), and moved when all of them are there. What is not committed is not left
/// behind; what a killed run left, the next one removes.
class OutputFolder {
 public:
  /// Throws `InputError` if nothing can be written there.
  explicit OutputFolder(const std::filesystem::path& folder);
  ~OutputFolder();
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;

  /// Where to write the file that is to become `name` in the folder.
  std::filesystem::path pathFor(const std::string& name) const { return temporary_ / name; }

  /// Where the file `name` is once it is committed.
  std::filesystem::path target(const std::string& name) const { return folder_ / name; }

  /// Replaces files of the same names, leaves others alone. If one of them may not be replaced,
  /// none is. `last` is the first to go and the last to come: where it is, all are. Writes what
  /// `beforehand` writes, too; no other process commits meanwhile.
  void commit(
      const std::string& last, const std::function<void()>& beforehand = [] {});

  /// Throws an `InputError` that names the folder.
  [[noreturn]] void fail(const std::string& why) const;

 private:
  std::filesystem::path asNamed_;  ///< the folder, as the user named it
  std::filesystem::path folder_, temporary_;
  std::optional<FolderLock> lock_;  ///< of `temporary_`
};

}  // namespace preview
