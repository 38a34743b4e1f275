// SPDX-License-Identifier: MIT
#include "preview/pictures/output_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>
#include <system_error>
#include <utility>
#include <vector>

#include "preview/diagnostics/errors.h"

namespace preview {

namespace fs = std::filesystem;

namespace {

const std::string kPrefix = ".samplerinfo-preview-";
const std::error_code kIsFolder = std::make_error_code(std::errc::is_a_directory);

/// Removes the hidden folders of runs that were killed: those that no process has locked.
void removeLeftovers(const fs::path& folder) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, ignored)) {
    if (!entry.path().filename().string().starts_with(kPrefix)) continue;
    const FolderLock lock(entry.path(), LOCK_EX | LOCK_NB);
    if (lock.isHeld()) fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

FolderLock::FolderLock(const fs::path& folder, int operation)
    : file_(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)),
      isHeld_(file_ >= 0 && flock(file_, operation) == 0) {}

FolderLock::~FolderLock() {
  if (file_ >= 0) close(file_);
}

void OutputFolder::fail(const std::string& why) const {
  throw InputError("cannot write to \"" + asNamed_.string() + "\": " + why);
}

OutputFolder::OutputFolder(const fs::path& folder) : asNamed_(folder) {
  if (folder.empty()) fail("it has no name");
  folder_ = fs::absolute(folder).lexically_normal();
  if (!folder_.has_filename()) folder_ = folder_.parent_path();  // of "out/"

  fs::path existing = folder_;
  std::error_code error;
  for (;;) {
    const fs::file_status status = fs::symlink_status(existing, error);
    if (fs::exists(status)) break;
    if (!fs::status_known(status)) fail(error.message());
    existing = existing.parent_path();
  }
  if (!fs::is_directory(existing, error)) {
    fail("\"" + existing.filename().string() + "\" " +
         (error ? "cannot be reached: " + error.message() : "is not a folder"));
  }
  removeLeftovers(existing);
  do {
    std::string name = (existing / (kPrefix + "XXXXXX")).string();
    if (mkdtemp(name.data()) == nullptr) fail(std::strerror(errno));
    temporary_ = name;
    lock_.emplace(temporary_, LOCK_EX);
  } while (!fs::exists(temporary_));  // taken for a leftover before it was locked
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(temporary_, ignored);
}

void OutputFolder::commit(const std::string& last, const std::function<void()>& beforehand) {
  const fs::path older = temporary_ / "older";
  std::vector<std::pair<fs::path, fs::path>> moved;
  const auto move = [&](const fs::path& from, const fs::path& to) {
    fs::rename(from, to);
    moved.emplace_back(from, to);
  };
  std::error_code ignored;
  std::string current;
  const auto moveAway = [&](const std::string& name) {
    current = name + ": ";
    if (fs::is_directory(target(name))) throw fs::filesystem_error("", kIsFolder);
    if (fs::exists(fs::symlink_status(target(name)))) move(target(name), older / name);
  };
  try {
    fs::create_directories(folder_);
    const FolderLock commits(folder_, LOCK_EX);  // of several runs, one after the other
    beforehand();
    std::set<std::string> names;
    for (const fs::directory_entry& file : fs::directory_iterator(temporary_)) {
      names.insert(file.path().filename().string());
    }
    names.erase(last);
    names.erase(older.filename().string());  // of the last commit, if it could not be removed
    fs::create_directory(older);
    moveAway(last);
    for (const std::string& name : names) {
      moveAway(name);
      move(temporary_ / name, target(name));
    }
    move(temporary_ / last, target(last));
  } catch (const fs::filesystem_error& e) {
    for (; !moved.empty(); moved.pop_back()) {
      const auto& [from, to] = moved.back();
      fs::rename(to, from, ignored);
    }
    fail(current + e.code().message());
  }
  fs::remove_all(older, ignored);
}

}  // namespace preview
