// SPDX-License-Identifier: MIT
#include "preview/live/picture_keys.h"

#include "preview/diagnostics/number_text.h"
#include "preview/scene/connections.h"

namespace preview {

namespace {

bool namesFile(const JsonValue& value) {  // of a mesh, or of an image
  return value.kind == JsonValue::Kind::Text && (value.name == "obj" || value.name == "file");
}

}  // namespace

std::set<std::filesystem::path> filesNamedIn(const JsonValue& value,
                                             const std::filesystem::path& scene) {
  std::set<std::filesystem::path> files;
  if (namesFile(value)) files.insert(scene.parent_path() / value.text);
  for (const JsonValue& member : value.members) files.merge(filesNamedIn(member, scene));
  return files;
}

std::string textOf(const JsonValue& value, const std::filesystem::path& scene,
                   const FileStates& states) {
  std::string text = value.name + ":" + std::to_string(static_cast<int>(value.kind)) + value.text +
                     numberText(value.number) + (value.boolean ? "true" : "") + "{";
  if (namesFile(value)) text += states.at(scene.parent_path() / value.text).text();
  for (const JsonValue& member : value.members) text += textOf(member, scene, states);
  return text + "}";
}

std::map<std::string, std::size_t> keysOf(const JsonValue& source, const Scene& scene,
                                          const std::vector<Picture>& pictures,
                                          const FileStates& states, const std::string& rest) {
  std::string world = rest;
  std::map<std::string, std::string> parts;  // by their places
  for (const JsonValue& section : source.members) {
    if (section.name != "nodes" && section.name != "pictures") {
      world += textOf(section, scene.file, states);
      continue;
    }
    for (JsonValue part : section.members) {
      std::erase_if(part.members, [](const JsonValue& own) { return own.name == "caption"; });
      parts[section.name + "." + part.name] = textOf(part, scene.file, states);
    }
  }
  std::map<std::string, std::size_t> keys;
  for (const Picture& picture : pictures) {
    std::string seen = world + parts[picture.place] + picture.from.text();
    Connections connections(scene.nodes);
    connections.need(picture.from);
    for (const Node& node : scene.nodes) {
      if (connections.isNeeded(node)) seen += parts[node.place];
    }
    keys[picture.name] = std::hash<std::string>()(seen);
  }
  return keys;
}

}  // namespace preview
