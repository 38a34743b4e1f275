#include "preview/output_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "preview/errors.h"

namespace preview {

namespace fs = std::filesystem;

void OutputFolder::fail(const std::string& why) const {
  throw InputError("cannot write to \"" + asNamed_.string() + "\": " + why);
}

OutputFolder::OutputFolder(const fs::path& folder) : asNamed_(folder) {
  if (folder.empty()) fail("it has no name");
  folder_ = fs::absolute(folder).lexically_normal();
  if (!folder_.has_filename()) folder_ = folder_.parent_path();  // of "out/"
  std::error_code error;
  const bool exists = fs::exists(folder_, error);
  if (exists && !fs::is_directory(folder_)) fail("it is not a folder");
  if (exists && access(folder_.c_str(), W_OK | X_OK) != 0) fail(std::strerror(errno));

  fs::path beside = folder_.parent_path();
  while (!fs::exists(beside, error) && beside.has_relative_path()) beside = beside.parent_path();
  std::string name = (beside / ".samplerinfo-preview-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) fail(std::strerror(errno));
  temporary_ = name;
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(temporary_, ignored);
}

void OutputFolder::commit() {
  fs::create_directories(folder_);
  for (const fs::directory_entry& file : fs::directory_iterator(temporary_)) {
    const std::string name = file.path().filename().string();
    if (fs::is_directory(folder_ / name)) fail(name + " is a folder");
  }
  for (const fs::directory_entry& file : fs::directory_iterator(temporary_)) {
    const fs::path target = folder_ / file.path().filename();
    std::error_code acrossDevices;
    fs::rename(file.path(), target, acrossDevices);
    if (acrossDevices) {
      fs::copy_file(file.path(), target, fs::copy_options::overwrite_existing);
    }
  }
}

}  // namespace preview
