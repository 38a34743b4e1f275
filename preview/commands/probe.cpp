// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cctype>
#include <iostream>
#include <nlohmann/json.hpp>

#include "preview/commands/options.h"
#include "preview/diagnostics/number_text.h"
#include "preview/diagnostics/selection.h"
#include "preview/render/inspection.h"
#include "preview/render/loaded_scene.h"
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

/// Value, bounds and gradient of textures for the middle of a pixel and of the shutter interval;
/// where they fall short of what they guarantee is marked.
struct Probe {
  ViewOptions view;
  Pixel pixel = {};
  std::optional<int> frame;
  std::vector<std::string> patterns;
  bool asJson = false;

  void addTo(CLI::App& command, Session& session) {
    view.addTo(command, session);
    expect<Pixel>(command.add_option("--pixel", pixel, "X,Y from the top left corner")->required(),
                  "X,Y, as in 160,120");
    command.add_option("--frame", frame, "Which frame instead of the first");
    command.add_option("NAME", patterns, "Only these textures; * and ? stand for any letters");
    command.add_flag("--json", asJson, "As JSON");
  }

  void run(Session& session) const;
};

void Probe::run(Session& session) const {
  const PluginLibrary plugins(session.plugin);
  Scene read = view.read(session);
  if (pixel.x < 0 || pixel.y < 0 || pixel.x >= read.image.width || pixel.y >= read.image.height) {
    throw InputError("--pixel: the image has " + std::to_string(read.image.width) + " x " +
                     std::to_string(read.image.height) + " pixels, counted from 0,0");
  }
  const int number = frame.value_or(read.frames.first);
  checkFrames("--frame", {number, number}, read.frames);
  read.pictures.clear();  // may be of what is not there
  LoadedScene loaded(std::move(read), plugins, {}, session.diagnostics);
  session.diagnostics.throwFirst();
  const Scene& scene = loaded.scene;
  const Network& network = loaded.network;

  std::vector<std::string> names;
  for (const auto& texture : network.textures()) names.push_back(texture.name.text());
  const Selection selection(patterns, "no texture", names);
  Connections connections(scene.nodes);
  std::vector<Expectation> textures;
  std::size_t width = 0;
  for (const auto& texture : network.textures()) {
    const std::string name = texture.name.text();
    if (!selection.has(name)) continue;
    textures.push_back(expectationOf(texture, connections));
    width = std::max(width, name.size());
  }

  Json json = {{"frame", number}, {"pixel", {pixel.x, pixel.y}}, {"object", nullptr}};
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
      if (asJson) {
        json["textures"].push_back(answersAsJson(textures[i], findings[i], sc));
      } else {
        std::string line = textures[i].name.text();
        line.resize(width + 2, ' ');
        lines += line + answersAsText(textures[i], findings[i], sc) + "\n";
      }
    }
  };

  const Frame seen(scene, loaded.geometry, number, view.log());
  network.renderBegin();
  network.frameBegin();
  inspect(seen, pixel.x + 0.5, pixel.y + 0.5, scene.shutter.middle(), textures, report);
  network.frameEnd();
  network.renderEnd();
  if (asJson) {
    writeJson(json);
  } else {
    std::cout << "frame " << number << ", pixel " << pixel.x << "," << pixel.y << ": " << lines;
  }
}

}  // namespace

void addProbe(CLI::App& program, Session& session) {
  addCommand<Probe>(program, session, "probe", "Print value, bounds and gradient at one pixel");
}

}  // namespace preview
