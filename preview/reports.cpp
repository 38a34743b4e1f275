// SPDX-License-Identifier: MIT
#include "preview/reports.h"

#include <algorithm>
#include <cctype>
#include <iomanip>
#include <nlohmann/json.hpp>

#include "preview/judge.h"
#include "preview/messages/number_text.h"
#include "preview/messages/selection.h"
#include "preview/scene/promises.h"
#include "preview/scene/texture.h"
#include "standin/introspection.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;
using standin::ParameterInfo;
using standin::ParamType;

std::string defaultText(const ParameterInfo& info) {
  if (info.type == ParamType::Integer) return std::to_string(info.initial);
  if (info.type == ParamType::Boolean) return info.initial != 0 ? "true" : "false";
  return "";
}

std::string kindText(const ParameterInfo& info) {
  return std::string(info.kind().value) + info.kind().role;
}

std::string helpText(const ParameterInfo& info) { return info.help != nullptr ? info.help : ""; }

/// Integers and transforms have neither bounds nor gradient.
bool hasBounds(const ParameterInfo& info) {
  return info.isOutput() && info.type != ParamType::IntegerOutput &&
         info.type != ParamType::TransformOutput;
}

std::string forMarkdown(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '|' || c == '*' || c == '_' || c == '<') result += '\\';
    result += c;
  }
  return result;
}

void print(const Json& json, std::ostream& out) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void listAsText(const std::string& plugin, std::span<const ParameterInfo> parameters,
                std::ostream& out) {
  out << plugin << "\n";
  for (const ParameterInfo& info : parameters) {
    out << "  " << std::left << std::setw(20) << info.name << std::setw(18) << kindText(info)
        << std::setw(7) << defaultText(info) << helpText(info) << "\n";
  }
}

void listAsMarkdown(const std::string& plugin, std::span<const ParameterInfo> parameters,
                    std::ostream& out) {
  out << "## " << plugin
      << "\n\n| parameter | kind | default | bounds enclose | gradient | help |\n"
         "|---|---|---|---|---|---|\n";
  for (const ParameterInfo& info : parameters) {
    std::string promised = " | ";
    if (hasBounds(info)) {
      const Promise promise = promiseOf(plugin, info.name);
      promised =
          std::string(promise.boundsEnclose ? "yes" : "no") + " | " + nameOf(promise.gradient);
    }
    out << "| `" << info.name << "` | " << kindText(info) << " | " << defaultText(info) << " | "
        << promised << " | " << forMarkdown(helpText(info)) << " |\n";
  }
}

Json listAsJson(const std::string& plugin, std::span<const ParameterInfo> parameters) {
  Json list = Json::array();
  for (const ParameterInfo& info : parameters) {
    Json& json = list.emplace_back(Json{{"name", info.name}, {"kind", kindText(info)}});
    if (info.type == ParamType::Integer) json["default"] = info.initial;
    if (info.type == ParamType::Boolean) json["default"] = info.initial != 0;
    json["help"] = helpText(info);
    if (hasBounds(info)) {
      const Promise promise = promiseOf(plugin, info.name);
      json["boundsEnclose"] = promise.boundsEnclose;
      json["gradient"] = nameOf(promise.gradient);
    }
  }
  return {{"name", plugin}, {"parameters", list}};
}

/// The numbers that are shown of a texture, each as text; integers are shown whole.
std::vector<std::string> numbersOf(const PluginInterface& texture, Show show,
                                   const ShadingContext& sc) {
  if (texture.getInterfaceId() == EXT_TEXTURE_INT) {
    return {std::to_string(static_cast<const TextureIntInterface&>(texture).getInt(sc))};
  }
  const Channels values = evaluate(texture, show, sc);
  std::vector<std::string> numbers(static_cast<std::size_t>(channelCount(texture, show)));
  for (std::size_t c = 0; c < numbers.size(); ++c) numbers[c] = text(values[c]);
  return numbers;
}

/// One number as it is, several as "(x, y, z)".
std::string textOf(const std::vector<std::string>& numbers) {
  if (numbers.size() == 1) return numbers[0];
  std::string result;
  for (const std::string& number : numbers) result += (result.empty() ? "(" : ", ") + number;
  return result + ")";
}

/// JSON has no NaN and no infinity: they are texts.
Json jsonOf(const std::vector<std::string>& numbers) {
  Json list = Json::array();
  for (const std::string& number : numbers) {
    const bool isFinite = std::isdigit(static_cast<unsigned char>(number.back())) != 0;
    list.push_back(isFinite ? Json::parse(number) : Json(number));
  }
  return numbers.size() == 1 ? list[0] : list;
}

/// A part of what a texture answers.
struct Part {
  std::string name;
  std::vector<Show> shows;
  std::string separator;
};

std::vector<Part> partsOf(const PluginInterface& texture) {
  if (texture.getInterfaceId() == EXT_TEXTURE_TRANSFORM) {
    return {{"columns", {Show::Column0, Show::Column1, Show::Column2}, " "},
            {"offset", {Show::Offset}, ""}};
  }
  if (texture.getInterfaceId() == EXT_TEXTURE_INT) return {{"value", {Show::Value}, ""}};
  return {{"value", {Show::Value}, ""},
          {"bounds", {Show::Lower, Show::Upper}, " to "},
          {"gradient", {Show::Gradient}, ""}};
}

/// The flaws that a texture promises to be without, or those that it does not.
std::vector<std::string> flawsOf(const Expectation& texture, const Judgement& judgement,
                                 bool promised) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < judgement.flaws.size(); ++i) {
    const bool isPromised = texture.excludes(static_cast<Flaw>(i));
    if (judgement.flaws[i] && isPromised == promised) names.emplace_back(kFlawNames[i]);
  }
  return names;
}

std::string answersAsText(const Expectation& expectation, const Judgement& judgement,
                          const ShadingContext& sc) {
  const PluginInterface& texture = *expectation.texture;
  std::string line = kindName(texture);
  for (const Part& part : partsOf(texture)) {
    line += "  " + part.name;
    std::string separator = " ";
    for (const Show show : part.shows) {
      line += separator + textOf(numbersOf(texture, show, sc));
      separator = part.separator;
    }
  }
  for (const std::string& flaw : flawsOf(expectation, judgement, true)) line += "  ! " + flaw;
  for (const std::string& flaw : flawsOf(expectation, judgement, false)) {
    line += "  (" + flaw + "; nothing better is promised)";
  }
  return line;
}

Json answersAsJson(const Expectation& expectation, const Judgement& judgement,
                   const ShadingContext& sc) {
  const PluginInterface& texture = *expectation.texture;
  Json json = {{"name", expectation.name.text()}, {"kind", kindName(texture)}};
  for (const Part& part : partsOf(texture)) {
    Json shown = Json::array();
    for (const Show show : part.shows) shown.push_back(jsonOf(numbersOf(texture, show, sc)));
    json[part.name] = part.shows.size() == 1 ? shown[0] : shown;
  }
  json["marks"] = flawsOf(expectation, judgement, true);
  json["notes"] = flawsOf(expectation, judgement, false);
  return json;
}

}  // namespace

void listPlugins(const PluginLibrary& library, const std::vector<std::string>& patterns, Listing as,
                 std::ostream& out) {
  std::vector<std::string> names;
  for (QuorPluginDesc* desc : library.descs()) names.emplace_back(desc->getPluginName());
  const Selection selection(patterns, "no plugin", names);
  Json all = Json::array();
  const char* separator = "";
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!selection.has(names[i])) continue;
    const auto parameters = standin::registeredParameters(library.descs()[i]);
    if (as == Listing::Json) {
      all.push_back(listAsJson(names[i], parameters));
      continue;
    }
    out << separator;
    separator = "\n";
    (as == Listing::Markdown ? listAsMarkdown : listAsText)(names[i], parameters, out);
  }
  if (as == Listing::Json) print(all, out);
}

void probe(const Scene& scene, const Network& network, const Frame& frame, const Probe& what,
           std::ostream& out) {
  std::vector<std::string> names;
  for (const auto& texture : network.textures()) names.push_back(texture.name.text());
  const Selection selection(what.patterns, "no texture", names);
  Connections connections(scene.nodes);
  std::vector<Expectation> textures;
  std::size_t width = 0;
  for (const auto& texture : network.textures()) {
    const std::string name = texture.name.text();
    if (!selection.has(name)) continue;
    textures.push_back(expectationOf(texture, connections));
    width = std::max(width, name.size());
  }

  Json json = {{"frame", what.frame}, {"pixel", {what.x, what.y}}, {"object", nullptr}};
  std::string lines = "nothing is seen there\n";
  const auto report = [&](const ShadingContext& sc, std::size_t object,
                          const std::vector<Judgement>& judgements) {
    const DVector& p = sc.shadingPoint;
    const std::string& name = scene.objects[object].name;
    lines = "object " + name + ", render space (" + text(p.x) + ", " + text(p.y) + ", " +
            text(p.z) + "), ray time " + text(sc.rayTime) + "\n";
    json["object"] = name;
    json["renderSpace"] = {p.x, p.y, p.z};
    json["rayTime"] = sc.rayTime;
    for (std::size_t i = 0; i < textures.size(); ++i) {
      if (what.json) {
        json["textures"].push_back(answersAsJson(textures[i], judgements[i], sc));
      } else {
        std::string line = textures[i].name.text();
        line.resize(width + 2, ' ');
        lines += line + answersAsText(textures[i], judgements[i], sc) + "\n";
      }
    }
  };

  network.renderBegin();
  network.frameBegin();
  const double rayTime = (scene.shutter.open + scene.shutter.close) / 2;
  judge(frame, what.x + 0.5, what.y + 0.5, rayTime, textures, report);
  network.frameEnd();
  network.renderEnd();
  if (what.json) {
    print(json, out);
  } else {
    out << "frame " << what.frame << ", pixel " << what.x << "," << what.y << ": " << lines;
  }
}

}  // namespace preview
