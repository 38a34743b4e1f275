// SPDX-License-Identifier: MIT
#include "preview/live/picture_keys.h"

#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>

namespace preview {

using Json = nlohmann::json;

namespace {

std::string textOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

Json sourceOf(const std::filesystem::path& scene) {
  std::ifstream file(scene);
  const Json source = Json::parse(file, nullptr, false, true);
  return source.is_object() ? source : Json();
}

std::set<std::filesystem::path> filesNamedIn(const Json& source,
                                             const std::filesystem::path& folder) {
  std::set<std::filesystem::path> files;
  for (const Json& object : source.value("objects", Json::object())) {
    const Json::json_pointer name("/shape/obj");
    if (object.contains(name) && object[name].is_string()) {
      files.insert(folder / object[name].get<std::string>());
    }
  }
  for (const Json& node : source.value("nodes", Json::object())) {
    const Json::json_pointer name("/params/file");  // of an image
    if (node.contains(name) && node[name].is_string()) {
      files.insert(folder / node[name].get<std::string>());
    }
  }
  return files;
}

std::map<std::string, std::size_t> keysOf(const Json& source, const std::vector<Picture>& pictures,
                                          const std::string& rest) {
  const std::hash<std::string> hash;
  Json world = source;
  world.erase("nodes");
  world.erase("pictures");
  const std::string common = textOf(world) + rest;

  std::map<std::string, std::size_t> ofNodes;
  const std::function<std::size_t(const std::string&)> ofNode = [&](const std::string& name) {
    const auto [known, isNew] = ofNodes.try_emplace(name, 0);
    if (!isNew) return known->second;
    const Json& node = source.at("nodes").at(name);
    std::string text = textOf(node);
    for (const Json& input : node.value("params", Json::object())) {
      if (!input.is_string()) continue;
      const std::string from = input.get<std::string>();
      const std::string before = from.substr(0, from.find('.'));
      if (source.at("nodes").contains(before)) text += " " + std::to_string(ofNode(before));
    }
    return ofNodes[name] = hash(text);
  };
  std::map<std::string, std::size_t> keys;
  for (const Picture& picture : pictures) {
    const std::string entry = picture.place.substr(picture.place.find('.') + 1);
    keys[picture.name] = hash(textOf(source.at("pictures").at(entry)) + picture.from.text() +
                              std::to_string(ofNode(picture.from.node)) + common);
  }
  return keys;
}

}  // namespace preview
