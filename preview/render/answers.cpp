// SPDX-License-Identifier: MIT
#include "preview/render/answers.h"

#include <cctype>
#include <nlohmann/json.hpp>

#include "preview/diagnostics/number_text.h"
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

/// JSON has no NaN and no infinity: they are texts. The parser reads -0 as an integer, without
/// sign.
Json jsonOf(const std::vector<std::string>& numbers) {
  Json list = Json::array();
  for (const std::string& number : numbers) {
    const bool isFinite = std::isdigit(static_cast<unsigned char>(number.back())) != 0;
    list.push_back(number == "-0" ? Json(-0.0) : isFinite ? Json::parse(number) : Json(number));
  }
  return numbers.size() == 1 ? list[0] : list;
}

/// Something that a texture answers.
struct Answer {
  std::string name;
  std::vector<Show> shows;
  std::string separator;
};

std::vector<Answer> answersOf(const PluginInterface& texture) {
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

Json answersAsJson(const Expectation& expectation, const Findings& findings,
                   const ShadingContext& sc) {
  const PluginInterface& texture = *expectation.texture;
  Json json = {{"name", expectation.name.text()}, {"kind", kindName(texture)}};
  for (const Answer& answer : answersOf(texture)) {
    Json shown = Json::array();
    for (const Show show : answer.shows) shown.push_back(jsonOf(numbersOf(texture, show, sc)));
    json[answer.name] = answer.shows.size() == 1 ? shown[0] : shown;
  }
  json["marks"] = flawNames(expectation, findings, true);
  json["notes"] = flawNames(expectation, findings, false);
  return json;
}

}  // namespace

std::vector<Expectation> expectationsOf(const Network& network, const std::vector<Node>& nodes) {
  Connections connections(nodes);
  std::vector<Expectation> expectations;
  for (const Network::NamedTexture& texture : network.textures()) {
    expectations.push_back(expectationOf(texture, connections));
  }
  return expectations;
}

std::string answersAsText(const Expectation& expectation, const Findings& findings,
                          const ShadingContext& sc) {
  const PluginInterface& texture = *expectation.texture;
  std::string line = kindName(texture);
  for (const Answer& answer : answersOf(texture)) {
    line += "  " + answer.name;
    std::string separator = " ";
    for (const Show show : answer.shows) {
      line += separator + textOf(numbersOf(texture, show, sc));
      separator = answer.separator;
    }
  }
  for (const std::string& flaw : flawNames(expectation, findings, true)) line += "  ! " + flaw;
  for (const std::string& flaw : flawNames(expectation, findings, false)) {
    line += "  (" + flaw + "; nothing better is guaranteed)";
  }
  return line;
}

Json answersAt(const Scene& scene, const Frame& frame, std::int32_t number, int x, int y,
               const std::vector<Expectation>& textures) {
  Json json = {{"frame", number}, {"pixel", {x, y}}, {"object", nullptr}};
  Json answers = Json::array();
  const auto add = [&](const ShadingContext& sc, std::size_t object,
                       const std::vector<Findings>& findings) {
    const DVector& p = sc.shadingPoint;
    json["object"] = scene.objects[object].name;
    json["renderSpace"] = {p.x, p.y, p.z};
    json["rayTime"] = sc.rayTime;
    for (std::size_t i = 0; i < textures.size(); ++i) {
      answers.push_back(answersAsJson(textures[i], findings[i], sc));
    }
  };
  inspect(frame, x + 0.5, y + 0.5, scene.shutter.middle(), textures, add);
  json["textures"] = answers;
  return json;
}

std::string jsonText(const Json& json) {
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace preview
