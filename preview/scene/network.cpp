// SPDX-License-Identifier: MIT
#include "preview/scene/network.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/suggestion.h"
#include "preview/scene/host_textures.h"
#include "preview/scene/texture.h"
#include "standin/introspection.h"

namespace preview {

namespace {

using standin::ParameterInfo;
using standin::ParamType;

[[noreturn]] void refuse(const Parameter& parameter, const ParameterInfo& info,
                         const std::string& foundKind = "") {
  std::string expected = "true or false";
  if (info.type == ParamType::Integer) expected = "a whole number of 32 bits";
  if (info.kind().texture != 0) {
    const char* form = info.type == ParamType::Float    ? "a number"
                       : info.type == ParamType::Vector ? "[x, y, z]"
                                                        : "[r, g, b, a]";
    expected = std::string("a ") + info.kind().value + ": " + form + R"(, "node" or "node.output")";
  }
  throw SceneError(parameter.place, unexpected(parameter.written + foundKind, expected));
}

}  // namespace

PluginInterface* Network::Instance::texture(const std::string& output) const {
  return hostTexture != nullptr ? hostTexture.get() : plugin->texture(output);
}

std::vector<std::string> Network::Instance::parameterNames(bool outputs) const {
  std::vector<std::string> names;
  for (const ParameterInfo& info : standin::registeredParameters(&plugin->desc())) {
    if (info.isOutput() == outputs) names.emplace_back(info.name);
  }
  return names;
}

Network::Network(const std::vector<Node>& nodes, const PluginLibrary& library,
                 Diagnostics& diagnostics) {
  for (const Node& node : nodes) {
    Instance& instance = instances_.emplace_back(Instance{&node, nullptr, nullptr});
    diagnostics.attempt([&] { make(instance, library, diagnostics); });
  }
  for (const Instance& instance : instances_) {
    if (instance.plugin == nullptr) continue;
    for (const Parameter& parameter : instance.node->parameters) {
      diagnostics.attempt([&] { setParameter(instance, parameter); });
    }
  }
  checkConnections(diagnostics);
}

void Network::make(Instance& instance, const PluginLibrary& library, Diagnostics& diagnostics) {
  const Node& node = *instance.node;
  std::vector<std::string> names = hostTextureNames();
  if (std::ranges::find(names, node.plugin) != names.end()) {
    if (node.complete) instance.hostTexture = makeHostTexture(node, diagnostics);
    return;
  }
  if (node.plugin.empty() && !node.complete) return;
  for (QuorPluginDesc* desc : library.descs()) {
    if (node.plugin == desc->getPluginName()) {
      instance.plugin = library.moduleOf(desc).newPlugin(*desc);
      return;
    }
    names.emplace_back(desc->getPluginName());
  }
  throw SceneError(node.place + ".plugin", unknown("no plugin", node.plugin, names));
}

const Network::Instance* Network::findInstance(const std::string& name) const {
  const auto found = std::ranges::find(
      instances_, name, [](const Instance& instance) -> auto& { return instance.node->name; });
  return found != instances_.end() ? &*found : nullptr;
}

const Network::Instance& Network::instance(const std::string& name,
                                           const std::string& place) const {
  if (const Instance* found = findInstance(name)) return *found;
  std::vector<std::string> names;
  for (const Instance& instance : instances_) names.push_back(instance.node->name);
  throw SceneError(place, unknown("no node", name, names));
}

std::vector<std::string> Network::outputs(const std::string& node, const std::string& place) const {
  const Instance& from = instance(node, place);
  if (from.isWrong()) return {};
  if (from.plugin == nullptr) throw SceneError(place, from.node->plugin + " has no outputs");
  return from.parameterNames(true);
}

PluginInterface* Network::find(const Reference& reference, const std::string& place) const {
  const Instance& from = instance(reference.node, place);
  if (from.isWrong()) return nullptr;
  const std::string& kind = from.node->plugin;
  if (reference.output.empty()) {
    if (PluginInterface* texture = from.texture()) return texture;
    throw SceneError(place, kind + " is not itself a texture; name one of its outputs: \"" +
                                reference.node + ".OUTPUT\"");
  }
  const std::vector<std::string> names = outputs(reference.node, place);
  if (std::ranges::find(names, reference.output) == names.end()) {
    throw SceneError(place, unknown(kind + " has no output", reference.output, names));
  }
  return from.texture(reference.output);
}

void Network::setParameter(const Instance& instance, const Parameter& parameter) {
  const auto infos = standin::registeredParameters(&instance.plugin->desc());
  const auto info = std::ranges::find_if(infos, [&](const ParameterInfo& candidate) {
    return !candidate.isOutput() && candidate.name == parameter.name;
  });
  if (info == infos.end()) {
    throw SceneError(parameter.place, unknown(instance.node->plugin + " has no input",
                                              parameter.name, instance.parameterNames(false)));
  }

  const standin::PluginInstance& plugin = *instance.plugin;
  if (info->type == ParamType::Boolean) {
    const auto* boolean = std::get_if<bool>(&parameter.value);
    if (boolean == nullptr) refuse(parameter, *info);
    plugin.set(parameter.name, *boolean);
  } else if (info->type == ParamType::Integer) {
    const auto* number = std::get_if<double>(&parameter.value);
    if (number == nullptr || std::floor(*number) != *number || *number < INT32_MIN ||
        *number > INT32_MAX) {
      refuse(parameter, *info);
    }
    plugin.set(parameter.name, static_cast<std::int32_t>(*number));
  } else if (const auto* reference = std::get_if<Reference>(&parameter.value)) {
    PluginInterface* texture = find(*reference, parameter.place);
    if (texture == nullptr) return;
    if (texture->getInterfaceId() != info->kind().texture) {
      refuse(parameter, *info, std::string(" of kind ") + kindName(*texture));
    }
    plugin.connect(parameter.name, texture);
  } else {
    std::unique_ptr<PluginInterface> constant = constantTexture(parameter.value);
    if (constant == nullptr || constant->getInterfaceId() != info->kind().texture) {
      refuse(parameter, *info);
    }
    plugin.connect(parameter.name, constants_.emplace_back(std::move(constant)).get());
  }
}

void Network::checkConnections(Diagnostics& diagnostics) const {
  // A sample asks a node as often as paths lead to it: two inputs from each node to the one before
  // it double them again and again.
  constexpr int kMaxPaths = 100'000;
  std::vector<const Instance*> path;
  std::map<const Instance*, int> paths;  // how many begin at a node
  const std::function<int(const Instance&)> visit = [&](const Instance& node) {
    const auto known = paths.find(&node);
    if (known != paths.end()) return known->second;
    path.push_back(&node);
    int count = 1;
    for (const Parameter& parameter : node.node->parameters) {
      const auto* reference = std::get_if<Reference>(&parameter.value);
      const Instance* next = reference != nullptr ? findInstance(reference->node) : nullptr;
      if (next == nullptr) continue;
      const auto begin = std::find(path.begin(), path.end(), next);
      if (begin == path.end()) {
        count += visit(*next);
        continue;
      }
      std::string cycle;
      for (auto i = begin; i != path.end(); ++i) cycle.append((*i)->node->name).append(" <- ");
      diagnostics.add({parameter.place, "a cycle: " + cycle + next->node->name});
    }
    if (count > kMaxPaths) {
      diagnostics.add({node.node->place, "more than " + std::to_string(kMaxPaths) +
                                             " paths lead through its inputs"});
      count = 1;
    }
    path.pop_back();
    paths[&node] = count;
    return count;
  };
  for (const Instance& node : instances_) visit(node);
}

std::vector<Network::NamedTexture> Network::textures() const {
  std::vector<NamedTexture> result;
  for (const Instance& node : instances_) {
    const std::string& name = node.node->name;
    if (const PluginInterface* texture = node.texture()) result.push_back({{name, ""}, texture});
    if (node.plugin == nullptr) continue;
    for (const std::string& output : node.parameterNames(true)) {
      result.push_back({{name, output}, node.texture(output)});
    }
  }
  return result;
}

void Network::notify(void (QuorPluginInterface::*event)(QuorRenderer*)) const {
  for (const Instance& node : instances_) {
    if (node.plugin == nullptr) continue;
    callPlugin(node.node->name, [&] { (node.plugin->plugin().*event)(nullptr); });
  }
}

}  // namespace preview
