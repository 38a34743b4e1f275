// SPDX-License-Identifier: MIT
#include "preview/render/page_data.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <span>

#include "preview/diagnostics/number_text.h"
#include "preview/render/inspection.h"
#include "preview/scene/guarantees.h"
#include "preview/scene/texture.h"
#include "standin/introspection.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;
using standin::ParameterInfo;
using standin::ParamType;

/// As texts, since JSON has no infinity.
Json textsOf(std::span<const float> numbers) {
  Json texts = Json::array();
  for (const float number : numbers) texts.push_back(numberText(number));
  return texts;
}

Json pictureData(const Picture& picture, const Layer& layer, const Node& node, bool boundsEnclose) {
  Json json = {{"name", picture.name},
               {"caption", picture.caption},
               {"layer", layer.name},
               {"node", node.name},
               {"output", picture.from.output},
               {"plugin", node.plugin},
               {"kind", kindName(*layer.texture)},
               {"channels", layer.channelNames()},
               {"boundsEnclose", boundsEnclose}};
  if (const std::optional<Bounds> bounds = layer.bounds()) {
    const auto count = static_cast<std::size_t>(channelCount(*layer.texture, Show::Value));
    json["lower"] = textsOf(std::span(bounds->lower).first(count));
    json["upper"] = textsOf(std::span(bounds->upper).first(count));
  }
  json["coding"] = picture.isLinear ? "linear" : "sRGB";
  json["low"] = picture.low;
  json["high"] = picture.high;
  return json;
}

/// What an input counts as if nothing is said of it, in words.
std::string absentText(const std::string& plugin, const ParameterInfo& input) {
  if (input.type == ParamType::Integer) return std::to_string(input.initial);
  if (input.type == ParamType::Boolean) return input.initial != 0 ? "true" : "false";
  return absentInput(plugin, input.name);
}

Json pluginData(const QuorPluginDesc& desc) {
  Json inputs = Json::array(), outputs = Json::array();
  for (const ParameterInfo& info : standin::registeredParameters(&desc)) {
    Json json = {{"name", info.name},
                 {"kind", info.kind().value},
                 {"help", info.help != nullptr ? info.help : ""}};
    if (!info.isOutput()) json["absent"] = absentText(desc.getPluginName(), info);
    (info.isOutput() ? outputs : inputs).push_back(json);
  }
  return {{"inputs", inputs}, {"outputs", outputs}};
}

Json valueData(const ParameterValue& value) {
  return std::visit(
      []<class T>(const T& v) -> Json {
        if constexpr (std::is_same_v<T, Vector>) return {v.x, v.y, v.z};
        if constexpr (std::is_same_v<T, AColor>) return {v.r, v.g, v.b, v.a};
        if constexpr (std::is_same_v<T, Reference>) return v.text();
        if constexpr (std::is_same_v<T, std::string>) return {{"text", v}};  // no connection
        if constexpr (std::is_arithmetic_v<T>) return v;
      },
      value);
}

/// `kind` is that of the texture which the node itself is, null if it is none.
Json nodeData(const Node& node, const Json& kind) {
  Json inputs = Json::object();
  for (const Parameter& parameter : node.parameters) {
    inputs[parameter.name] = valueData(parameter.value);
  }
  return {{"name", node.name}, {"plugin", node.plugin}, {"kind", kind}, {"inputs", inputs}};
}

/// With which any command sees the scene as it was loaded.
Json optionsOf(const LoadedScene& loaded) {
  Json options = Json::array();
  for (const Setting& setting : loaded.scene.settings) {
    options.insert(options.end(), {"--set", setting.text()});
  }
  const std::vector<std::filesystem::path> installed = installedModules();
  std::set<std::string> modules;
  bool hasDefault = false;
  for (const QuorPluginDesc* desc : loaded.library.descs()) {
    const PluginModule& module = loaded.library.moduleOf(desc);
    hasDefault = hasDefault || module.libraryName() == "SamplerInfo";
    if (std::ranges::count(installed, module.file()) > 0) continue;
    if (modules.insert(module.file()).second) {
      options.insert(options.end(), {"--plugin", module.file().string()});
    }
  }
  if (!hasDefault) options.push_back("--no-default-plugin");
  return options;
}

}  // namespace

Json pageData(const LoadedScene& loaded) {
  const auto& [library, scene, network, plan, geometry] = loaded;
  Connections connections(scene.nodes);
  Json pictures = Json::array();
  for (std::size_t i = 0; i < plan.pictures.size(); ++i) {
    const Picture& picture = plan.pictures[i];
    const Layer& layer = plan.layers[plan.layerOfPicture[i]];
    const Expectation expected = expectationOf({picture.from, layer.texture}, connections);
    pictures.push_back(pictureData(picture, layer, *expected.node, expected.boundsEnclose));
  }
  std::map<std::string, const char*> kinds;  // of nodes that are textures themselves
  for (const auto& [name, texture] : network.textures()) {
    if (name.output.empty()) kinds[name.node] = kindName(*texture);
  }
  Json nodes = Json::array(), plugins = Json::object();
  for (const Node& node : scene.nodes) {
    const auto kind = kinds.find(node.name);
    nodes.push_back(nodeData(node, kind != kinds.end() ? Json(kind->second) : Json()));
  }
  for (const QuorPluginDesc* desc : library.descs()) {
    const std::string name = desc->getPluginName();
    if (std::ranges::find(scene.nodes, name, &Node::plugin) != scene.nodes.end()) {
      plugins[name] = pluginData(*desc);
    }
  }
  return {{"name", scene.file.stem().string()},
          {"file", scene.file.string()},
          {"options", optionsOf(loaded)},
          {"width", scene.image.width},
          {"height", scene.image.height},
          {"samples", scene.image.samples},
          {"first", scene.frames.first},
          {"last", scene.frames.last},
          {"digits", plan.digits},
          {"pictures", pictures},
          {"plugins", plugins},
          {"nodes", nodes}};
}

}  // namespace preview
