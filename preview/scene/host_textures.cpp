// SPDX-License-Identifier: MIT
#include "preview/scene/host_textures.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>

#include "preview/diagnostics/suggestion.h"
#include "preview/scene/bitmap.h"
#include "standin/textures.h"
#include "standin/uv_textures.h"

namespace preview {

namespace {

using TexturePointer = std::unique_ptr<PluginInterface>;
using TextureValue = std::variant<float, Vector, AColor>;

constexpr const char* kForms = "a number, [x, y, z] or [r, g, b, a]";

std::optional<TextureValue> textureValue(const ParameterValue& value) {
  if (const auto* number = std::get_if<double>(&value)) return static_cast<float>(*number);
  if (const auto* vector = std::get_if<Vector>(&value)) return *vector;
  if (const auto* color = std::get_if<AColor>(&value)) return *color;
  return std::nullopt;
}

template <class Source>
TexturePointer textureOf(const Source& source) {
  return std::make_unique<standin::TextureOf<Source>>(source);
}

/// The parameters of a node, which has no others than `names`.
class Parameters {
 public:
  Parameters(const Node& node, const std::vector<std::string>& names, Diagnostics& diagnostics)
      : node_(node) {
    for (const Parameter& parameter : node.parameters) {
      if (std::ranges::find(names, parameter.name) == names.end()) {
        diagnostics.add(
            {parameter.place, unknown(node.plugin + " has no parameter", parameter.name, names)});
      }
    }
  }

  template <class T>
  T valueOr(const std::string& name, T initial, const char* expected) const {
    const Parameter* parameter = find(name);
    if (parameter == nullptr) return initial;
    const auto value = textureValue(parameter->value);
    if (value && std::holds_alternative<T>(*value)) return std::get<T>(*value);
    throw SceneError(parameter->place, unexpected(parameter->written, expected));
  }

  /// The texture of the source that `make` makes of two values of the same kind.
  template <class Make>
  TexturePointer makeOf(const std::string& a, const std::string& b, Make make) const {
    const Parameter &first = require(a), &second = require(b);
    const auto v = textureValue(first.value), w = textureValue(second.value);
    if (!v) throw SceneError(first.place, unexpected(first.written, kForms));
    if (!w || w->index() != v->index()) {
      throw SceneError(second.place,
                       unexpected(second.written, "as many numbers as \"" + a + "\" has"));
    }
    return std::visit(
        [&]<class T>(const T& value) { return textureOf(make(value, std::get<T>(*w))); }, *v);
  }

  /// Whether the second of two words is given, instead of the first.
  bool isSecond(const std::string& name, const std::string& first,
                const std::string& second) const {
    const Parameter* parameter = find(name);
    if (parameter == nullptr) return false;
    const auto* word = std::get_if<std::string>(&parameter->value);
    if (word != nullptr && (*word == first || *word == second)) return *word == second;
    throw SceneError(parameter->place,
                     unexpected(parameter->written, "\"" + first + "\" or \"" + second + "\""));
  }

  const Parameter& require(const std::string& name) const {
    if (const Parameter* parameter = find(name)) return *parameter;
    throw SceneError(node_.place + ".params", "\"" + name + "\" is missing");
  }

 private:
  const Parameter* find(const std::string& name) const {
    const auto found = std::ranges::find(node_.parameters, name, &Parameter::name);
    return found != node_.parameters.end() ? &*found : nullptr;
  }

  const Node& node_;
};

TexturePointer makeConstant(const Node& node, Diagnostics& diagnostics) {
  const Parameter& value = Parameters(node, {"value"}, diagnostics).require("value");
  if (TexturePointer texture = constantTexture(value.value)) return texture;
  throw SceneError(value.place, unexpected(value.written, kForms));
}

TexturePointer makeChecker(const Node& node, Diagnostics& diagnostics) {
  const Parameters parameters(node, {"even", "odd", "tiles"}, diagnostics);
  const float tiles = parameters.valueOr("tiles", 8.0F, "a number");
  return parameters.makeOf("even", "odd", [tiles]<class T>(T even, T odd) {
    return standin::Checker<T>{even, odd, tiles};
  });
}

TexturePointer makeRamp(const Node& node, Diagnostics& diagnostics) {
  const Parameters parameters(node, {"from", "to", "direction"}, diagnostics);
  const Vector direction = parameters.valueOr("direction", Vector{1, 0, 0}, "a list of 3 numbers");
  return parameters.makeOf("from", "to", [direction]<class T>(T from, T to) {
    return standin::Ramp<T>{from, to, direction};
  });
}

TexturePointer makeImage(const Node& node, Diagnostics& diagnostics) {
  const Parameters parameters(node, {"file", "coding", "wrap"}, diagnostics);
  const Parameter& file = parameters.require("file");
  const auto* path = std::get_if<std::string>(&file.value);
  if (path == nullptr) throw SceneError(file.place, unexpected(file.written, "the name of a file"));
  const bool isLinear = parameters.isSecond("coding", "sRGB", "linear");
  const bool repeats = !parameters.isSecond("wrap", "repeat", "clamp");
  try {
    return textureOf(BitmapSource(readBitmap(*path, isLinear), repeats));
  } catch (const InputError& e) {
    throw SceneError(file.place, e.what());
  }
}

const std::map<std::string, TexturePointer (*)(const Node&, Diagnostics&)> kKinds = {
    {"constant", makeConstant}, {"checker", makeChecker}, {"image", makeImage}, {"ramp", makeRamp}};

}  // namespace

std::vector<std::string> hostTextureNames() {
  std::vector<std::string> names;
  std::ranges::transform(kKinds, std::back_inserter(names), [](const auto& k) { return k.first; });
  return names;
}

TexturePointer makeHostTexture(const Node& node, Diagnostics& diagnostics) {
  return kKinds.at(node.plugin)(node, diagnostics);
}

TexturePointer constantTexture(const ParameterValue& value) {
  const auto constant = textureValue(value);
  if (!constant) return nullptr;
  return std::visit([](const auto& v) { return textureOf(standin::Constant(v)); }, *constant);
}

}  // namespace preview
