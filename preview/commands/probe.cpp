// SPDX-License-Identifier: MIT
#include "preview/commands/probe.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>

#include "preview/diagnostics/number_text.h"
#include "preview/diagnostics/selection.h"
#include "preview/render/inspection.h"
#include "preview/scene/texture.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;

/// The numbers that are shown of a texture, each as text; integers are shown whole.
std::vector<std::string> numbersOf(const PluginInterface& texture, Show show,
                                   const ShadingContext& sc) {
  if (texture.getInterfaceId() == EXT_TEXTURE_INT) {
    return {std::to_string(static_cast<const TextureIntInterface&>(texture).getInt(sc))};
  }
  const Channels values = evaluate(texture, show, sc);
  std::vector<std::string> numbers(static_cast<std::size_t>(channelCount(texture, show)));
  for (std::size_t c = 0; c < numbers.size(); ++c) numbers[c] = numberText(values[c]);
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

/// The flaws that a texture guarantees to be without, or those that it does not.
std::vector<std::string> flawNames(const Expectation& texture, const Findings& findings,
                                   bool guaranteed) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < findings.flaws.size(); ++i) {
    const bool isGuaranteed = texture.excludes(static_cast<Flaw>(i));
    if (findings.flaws[i] && isGuaranteed == guaranteed) names.emplace_back(kFlawNames[i]);
  }
  return names;
}

std::string answersAsText(const Expectation& expectation, const Findings& findings,
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
  for (const std::string& flaw : flawNames(expectation, findings, true)) line += "  ! " + flaw;
  for (const std::string& flaw : flawNames(expectation, findings, false)) {
    line += "  (" + flaw + "; nothing better is guaranteed)";
  }
  return line;
}

Json answersAsJson(const Expectation& expectation, const Findings& findings,
                   const ShadingContext& sc) {
  const PluginInterface& texture = *expectation.texture;
  Json json = {{"name", expectation.name.text()}, {"kind", kindName(texture)}};
  for (const Part& part : partsOf(texture)) {
    Json shown = Json::array();
    for (const Show show : part.shows) shown.push_back(jsonOf(numbersOf(texture, show, sc)));
    json[part.name] = part.shows.size() == 1 ? shown[0] : shown;
  }
  json["marks"] = flawNames(expectation, findings, true);
  json["notes"] = flawNames(expectation, findings, false);
  return json;
}

}  // namespace

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
                          const std::vector<Findings>& findings) {
    const DVector& p = sc.shadingPoint;
    const std::string& name = scene.objects[object].name;
    lines = "object " + name + ", render space (" + numberText(p.x) + ", " + numberText(p.y) +
            ", " + numberText(p.z) + "), ray time " + numberText(sc.rayTime) + "\n";
    json["object"] = name;
    json["renderSpace"] = {p.x, p.y, p.z};
    json["rayTime"] = sc.rayTime;
    for (std::size_t i = 0; i < textures.size(); ++i) {
      if (what.json) {
        json["textures"].push_back(answersAsJson(textures[i], findings[i], sc));
      } else {
        std::string line = textures[i].name.text();
        line.resize(width + 2, ' ');
        lines += line + answersAsText(textures[i], findings[i], sc) + "\n";
      }
    }
  };

  network.renderBegin();
  network.frameBegin();
  inspect(frame, what.x + 0.5, what.y + 0.5, scene.shutter.middle(), textures, report);
  network.frameEnd();
  network.renderEnd();
  if (what.json) {
    out << json.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
  } else {
    out << "frame " << what.frame << ", pixel " << what.x << "," << what.y << ": " << lines;
  }
}

}  // namespace preview
