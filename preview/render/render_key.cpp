// SPDX-License-Identifier: MIT
#include "preview/render/render_key.h"

#include <cstdint>
#include <fstream>
#include <iterator>

#include "preview/system/regular_file.h"

namespace preview {

namespace {

/// FNV-1a: the same on every machine of a farm, unlike `std::hash`.
class Hash {
 public:
  void add(const std::string& bytes) {
    for (const char byte : bytes) add(byte);
    add('\0');
  }
  void addFile(const std::filesystem::path& path) {
    std::ifstream file = openRegularFile(path);
    add({std::istreambuf_iterator<char>(file), {}});
  }
  std::uint64_t value() const { return value_; }

 private:
  void add(char byte) { value_ = (value_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3; }

  std::uint64_t value_ = 0xcbf29ce484222325;
};

}  // namespace

std::string renderKey(const Scene& scene, const std::vector<std::string>& only, bool half) {
  Hash hash;
  hash.addFile(scene.file);
  for (const Object& object : scene.objects) {
    if (const auto* mesh = std::get_if<ObjFile>(&object.shape)) hash.addFile(mesh->path);
  }
  for (const Node& node : scene.nodes) {
    for (const Parameter& parameter : node.parameters) {
      const auto* text = std::get_if<std::string>(&parameter.value);
      if (text != nullptr && parameter.name == "file") hash.addFile(*text);
    }
  }
  for (const Setting& setting : scene.settings) hash.add(setting.text());
  const auto& [width, height, samples] = scene.image;
  for (const std::int32_t number : {width, height, samples, std::int32_t{half}}) {
    hash.add(std::to_string(number));
  }
  for (const std::string& pattern : only) hash.add(pattern);
  return std::to_string(hash.value());
}

}  // namespace preview
