#include "preview/scene/network.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <optional>
#include <type_traits>

#include "preview/messages/errors.h"
#include "preview/messages/suggestion.h"
#include "preview/scene/scene_file.h"
#include "standin/introspection.h"
#include "standin/textures.h"
#include "standin/uv_textures.h"

namespace preview {

namespace {

using namespace QUtils;
using standin::ParameterInfo;
using standin::ParamType;

/// What a parameter's value may be, for error messages.
const char* expectation(ParamType type) {
  switch (type) {
    case ParamType::Color:
      return R"(a color: [r, g, b, a], "node" or "node.output")";
    case ParamType::Float:
      return R"(a float: a number, "node" or "node.output")";
    case ParamType::Vector:
      return R"(a vector: [x, y, z], "node" or "node.output")";
    case ParamType::Integer:
      return "a whole number of 32 bits";
    default:
      return "true or false";
  }
}

[[noreturn]] void failExpecting(const std::string& place, const std::string& what) {
  throw SceneError(place, "expected " + what);
}

float toFloat(double number) { return static_cast<float>(number); }

/// The value of a parameter as a float, a vector or a colour; nothing if it is none.
template <class T>
std::optional<T> as(const Parameter& parameter);

template <>
std::optional<float> as(const Parameter& parameter) {
  const double* number = std::get_if<double>(&parameter.value);
  if (number == nullptr) return std::nullopt;
  return toFloat(*number);
}

const std::vector<double>* numbersOf(const Parameter& parameter, std::size_t count) {
  const auto* numbers = std::get_if<std::vector<double>>(&parameter.value);
  return numbers != nullptr && numbers->size() == count ? numbers : nullptr;
}

template <>
std::optional<Vector> as(const Parameter& parameter) {
  const std::vector<double>* v = numbersOf(parameter, kVectorSize);
  if (v == nullptr) return std::nullopt;
  return Vector{toFloat((*v)[0]), toFloat((*v)[1]), toFloat((*v)[2])};
}

template <>
std::optional<AColor> as(const Parameter& parameter) {
  const std::vector<double>* v = numbersOf(parameter, kColorSize);
  if (v == nullptr) return std::nullopt;
  return AColor{toFloat((*v)[0]), toFloat((*v)[1]), toFloat((*v)[2]), toFloat((*v)[3])};
}

/// The parameters of a texture of the host: floats, vectors and colours.
class HostParameters {
 public:
  HostParameters(const Node& node, const std::vector<std::string>& names) : node_(node) {
    for (const Parameter& parameter : node.parameters) {
      if (std::find(names.begin(), names.end(), parameter.name) == names.end()) {
        throw SceneError(placeOf(parameter.name),
                         unknown(node.plugin + " has no parameter", parameter.name, names));
      }
    }
  }

  std::string placeOf(const std::string& name) const { return node_.place + ".params." + name; }

  const Parameter* find(const std::string& name) const {
    for (const Parameter& parameter : node_.parameters) {
      if (parameter.name == name) return &parameter;
    }
    return nullptr;
  }

  const Parameter& require(const std::string& name) const {
    if (const Parameter* parameter = find(name)) return *parameter;
    throw SceneError(node_.place + ".params", "\"" + name + "\" is missing");
  }

  float number(const std::string& name, float initial) const {
    return optional(name, initial, "a number");
  }
  Vector vector(const std::string& name, Vector initial) const {
    return optional(name, initial, "a list of 3 numbers");
  }

  /// Calls `make` with two values of the same kind: floats, vectors or colours.
  template <class Make>
  std::unique_ptr<PluginInterface> makeOf(const std::string& a, const std::string& b,
                                          Make make) const {
    const Parameter& first = require(a);
    const Parameter& second = require(b);
    std::unique_ptr<PluginInterface> texture;
    bool known = false;
    const auto attempt = [&]<class T>(std::type_identity<T> /*kind*/) {
      const std::optional<T> v = as<T>(first), w = as<T>(second);
      known |= v.has_value();
      if (v && w) texture = make(*v, *w);
    };
    attempt(std::type_identity<float>());
    attempt(std::type_identity<Vector>());
    attempt(std::type_identity<AColor>());
    if (texture != nullptr) return texture;
    if (!known) failExpecting(placeOf(a), "a number, [x, y, z] or [r, g, b, a]");
    failExpecting(placeOf(b), "numbers as \"" + a + "\" has them: one, 3 or 4");
  }

 private:
  template <class T>
  T optional(const std::string& name, T initial, const char* expected) const {
    const Parameter* parameter = find(name);
    if (parameter == nullptr) return initial;
    const std::optional<T> value = as<T>(*parameter);
    if (!value) failExpecting(placeOf(name), expected);
    return *value;
  }

  const Node& node_;
};

/// The textures of the host whose values are of type `T`.
template <class T>
struct TexturesOf;
template <>
struct TexturesOf<float> {
  using Constant = standin::ConstantFloat;
  template <class Pattern>
  using Uv = standin::UvFloat<Pattern>;
};
template <>
struct TexturesOf<Vector> {
  using Constant = standin::ConstantVector;
  template <class Pattern>
  using Uv = standin::UvVector<Pattern>;
};
template <>
struct TexturesOf<AColor> {
  using Constant = standin::ConstantColor;
  template <class Pattern>
  using Uv = standin::UvColor<Pattern>;
};

template <class T>
std::unique_ptr<PluginInterface> constant(const T& value) {
  return std::make_unique<typename TexturesOf<T>::Constant>(value);
}

template <template <class> class Pattern, class T>
std::unique_ptr<PluginInterface> patternTexture(const Pattern<T>& pattern) {
  return std::make_unique<typename TexturesOf<T>::template Uv<Pattern<T>>>(pattern);
}

std::unique_ptr<PluginInterface> makeConstant(const Node& node) {
  return HostParameters(node, {"value"}).makeOf("value", "value", [](auto value, auto /*same*/) {
    return constant(value);
  });
}

std::unique_ptr<PluginInterface> makeChecker(const Node& node) {
  const HostParameters parameters(node, {"even", "odd", "tiles"});
  const float tiles = parameters.number("tiles", 8);
  return parameters.makeOf("even", "odd", [tiles]<class T>(T even, T odd) {
    return patternTexture(standin::Checker<T>{even, odd, tiles});
  });
}

std::unique_ptr<PluginInterface> makeRamp(const Node& node) {
  const HostParameters parameters(node, {"from", "to", "direction"});
  const Vector direction = parameters.vector("direction", {1, 0, 0});
  return parameters.makeOf("from", "to", [direction]<class T>(T from, T to) {
    return patternTexture(standin::Ramp<T>{from, to, direction});
  });
}

using MakeHostTexture = std::unique_ptr<PluginInterface> (*)(const Node&);
const std::map<std::string, MakeHostTexture> kHostTextures = {
    {"constant", makeConstant}, {"checker", makeChecker}, {"ramp", makeRamp}};

/// The names of a plugin's outputs, or of its inputs.
std::vector<std::string> parameterNames(const QuorPluginDesc* desc, bool outputs) {
  std::vector<std::string> names;
  for (const ParameterInfo& info : standin::registeredParameters(desc)) {
    if (info.isOutput() == outputs) names.emplace_back(info.name);
  }
  return names;
}

PluginInterface* outputOf(QuorPluginInterface& plugin, const std::string& name) {
  return plugin.getParameter(modifiable(name.c_str()))->value.iface;
}

bool isOfKind(PluginInterface* texture, ParamType type) {
  switch (texture->getInterfaceId()) {
    case EXT_TEXTURE:
      return type == ParamType::Color;
    case EXT_TEXTURE_FLOAT:
      return type == ParamType::Float;
    case EXT_TEXTURE_VECTOR:
      return type == ParamType::Vector;
    default:
      return false;
  }
}

template <class T>
std::unique_ptr<PluginInterface> constantOf(const Parameter& parameter) {
  if (const std::optional<T> value = as<T>(parameter)) return constant(*value);
  return nullptr;
}

/// A constant texture for an input of kind `type`; null if the value is of another kind.
std::unique_ptr<PluginInterface> constantFor(const Parameter& parameter, ParamType type) {
  switch (type) {
    case ParamType::Float:
      return constantOf<float>(parameter);
    case ParamType::Vector:
      return constantOf<Vector>(parameter);
    default:
      return constantOf<AColor>(parameter);
  }
}

}  // namespace

PluginInterface* Network::Instance::ownTexture() const {
  return hostTexture != nullptr ? hostTexture.get() : object->getInterface(EXT_TEXTURE);
}

Network::Network(const std::vector<Node>& nodes, const PluginLibrary& library) {
  for (const Node& node : nodes) instances_.push_back(makeInstance(node, library));
  for (const Instance& instance : instances_) {
    if (instance.plugin == nullptr) continue;
    for (const Parameter& parameter : instance.node->parameters) setParameter(instance, parameter);
  }
  checkConnections();
}

Network::Instance Network::makeInstance(const Node& node, const PluginLibrary& library) {
  const auto host = kHostTextures.find(node.plugin);
  if (host != kHostTextures.end()) return {&node, nullptr, nullptr, host->second(node)};

  std::vector<std::string> names;
  for (QuorPluginDesc* desc : library.descs()) {
    if (node.plugin == desc->getPluginName()) {
      PluginPointer object(desc->newPlugin(nullptr), {desc});
      auto* plugin = static_cast<QuorPluginInterface*>(object->getInterface(EXT_QUOR_PLUGIN));
      return {&node, std::move(object), plugin, nullptr};
    }
    names.emplace_back(desc->getPluginName());
  }
  for (const auto& [name, make] : kHostTextures) names.push_back(name);
  throw SceneError(node.place + ".plugin", unknown("no plugin", node.plugin, names));
}

const Network::Instance& Network::instance(const std::string& name,
                                           const std::string& place) const {
  std::vector<std::string> names;
  for (const Instance& instance : instances_) {
    if (instance.node->name == name) return instance;
    names.push_back(instance.node->name);
  }
  throw SceneError(place, unknown("no node", name, names));
}

PluginInterface* Network::texture(const Reference& reference, const std::string& place) const {
  const Instance& from = instance(reference.node, place);
  if (reference.output.empty()) {
    if (PluginInterface* texture = from.ownTexture()) return texture;
    throw SceneError(place, from.node->plugin +
                                " is not itself a texture; name one of its outputs: \"" +
                                reference.node + ".OUTPUT\"");
  }
  if (from.plugin == nullptr) throw SceneError(place, from.node->plugin + " has no outputs");
  const std::vector<std::string> names = parameterNames(from.object.get_deleter().desc, true);
  if (std::find(names.begin(), names.end(), reference.output) == names.end()) {
    throw SceneError(place, unknown(from.node->plugin + " has no output", reference.output, names));
  }
  return outputOf(*from.plugin, reference.output);
}

void Network::setParameter(const Instance& instance, const Parameter& parameter) {
  const std::string place = instance.node->place + ".params." + parameter.name;
  const QuorPluginDesc* desc = instance.object.get_deleter().desc;
  const auto infos = standin::registeredParameters(desc);
  const auto info = std::find_if(infos.begin(), infos.end(), [&](const ParameterInfo& candidate) {
    return !candidate.isOutput() && candidate.name == parameter.name;
  });
  if (info == infos.end()) {
    throw SceneError(place, unknown(instance.node->plugin + " has no input", parameter.name,
                                    parameterNames(desc, false)));
  }

  QuorPluginParameter record{info->name, ParameterKind::Interface, {}};
  if (info->type == ParamType::Boolean) {
    const bool* boolean = std::get_if<bool>(&parameter.value);
    if (boolean == nullptr) failExpecting(place, expectation(info->type));
    record.kind = ParameterKind::Boolean;
    record.value.boolean = *boolean;
  } else if (info->type == ParamType::Integer) {
    const double* number = std::get_if<double>(&parameter.value);
    if (number == nullptr || std::floor(*number) != *number || *number < INT32_MIN ||
        *number > INT32_MAX) {
      failExpecting(place, expectation(info->type));
    }
    record.kind = ParameterKind::Integer;
    record.value.integer = static_cast<std::int32_t>(*number);
  } else if (const auto* reference = std::get_if<Reference>(&parameter.value)) {
    record.value.iface = texture(*reference, place);
    if (!isOfKind(record.value.iface, info->type)) {
      failExpecting(place, expectation(info->type) + std::string("; ") + "\"" + reference->text() +
                               "\"" + " is of kind " + kindName(asTexture(record.value.iface)));
    }
  } else {
    std::unique_ptr<PluginInterface> constant = constantFor(parameter, info->type);
    if (constant == nullptr) failExpecting(place, expectation(info->type));
    record.value.iface = constant.get();
    constants_.push_back(std::move(constant));
  }
  instance.plugin->setParameter(&record);
}

void Network::checkConnections() const {
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
      if (reference == nullptr) continue;
      const std::string place = node.node->place + ".params." + parameter.name;
      const Instance& next = instance(reference->node, place);
      const auto begin = std::find(path.begin(), path.end(), &next);
      if (begin != path.end()) {
        std::string cycle;
        for (auto i = begin; i != path.end(); ++i) cycle.append((*i)->node->name).append(" <- ");
        throw SceneError(place, "a cycle: " + cycle + next.node->name);
      }
      count += visit(next);
    }
    if (count > kMaxPaths) {
      throw SceneError(node.node->place,
                       "more than " + std::to_string(kMaxPaths) + " paths lead through its inputs");
    }
    path.pop_back();
    paths[&node] = count;
    return count;
  };
  for (const Instance& node : instances_) visit(node);
}

Texture Network::find(const Reference& reference, const std::string& place) const {
  return asTexture(texture(reference, place));
}

std::vector<std::pair<std::string, Texture>> Network::textures() const {
  std::vector<std::pair<std::string, Texture>> result;
  for (const Instance& node : instances_) {
    const std::string& name = node.node->name;
    if (PluginInterface* texture = node.ownTexture()) result.emplace_back(name, asTexture(texture));
    if (node.plugin == nullptr) continue;
    for (const std::string& output : parameterNames(node.object.get_deleter().desc, true)) {
      result.emplace_back(Reference{name, output}.text(),
                          asTexture(outputOf(*node.plugin, output)));
    }
  }
  return result;
}

void Network::tell(void (QuorPluginInterface::*event)(QuorRenderer*)) const {
  for (const Instance& node : instances_) {
    if (node.plugin != nullptr) (node.plugin->*event)(nullptr);
  }
}

void Network::renderBegin() { tell(&QuorPluginInterface::renderBegin); }
void Network::frameBegin() { tell(&QuorPluginInterface::frameBegin); }
void Network::frameEnd() { tell(&QuorPluginInterface::frameEnd); }
void Network::renderEnd() { tell(&QuorPluginInterface::renderEnd); }

}  // namespace preview
