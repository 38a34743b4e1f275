// SPDX-License-Identifier: MIT
#include "preview/pictures/output_folder.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "preview/messages/errors.h"

namespace preview {

namespace fs = std::filesystem;

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
    fail("\"" + existing.filename().string() + "\" is not a folder");
  }
  std::string name = (existing / ".samplerinfo-preview-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) fail(std::strerror(errno));
  temporary_ = name;
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(temporary_, ignored);
}

void OutputFolder::commit() try {
  fs::create_directories(folder_);
  for (const fs::directory_entry& file : fs::directory_iterator(temporary_)) {
    const std::string name = file.path().filename().string();
    if (fs::is_directory(folder_ / name)) fail(name + " is a folder");
  }
  for (const fs::directory_entry& file : fs::directory_iterator(temporary_)) {
    fs::rename(file.path(), folder_ / file.path().filename());
  }
} catch (const fs::filesystem_error& e) {
  fail(e.code().message());
}

}  // namespace preview
