// SPDX-License-Identifier: MIT
#include <algorithm>
#include <iostream>
#include <nlohmann/json.hpp>

#include "preview/commands/options.h"
#include "preview/diagnostics/number_text.h"
#include "preview/diagnostics/selection.h"
#include "preview/render/answers.h"

namespace preview {

namespace {

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
  std::string linesOf(const Scene& scene, const Frame& seen,
                      const std::vector<Expectation>& textures) const;
};

void Probe::run(Session& session) const {
  const PluginLibrary plugins = loadPlugins(session);
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

  std::vector<Expectation> textures = expectationsOf(network, scene.nodes);
  std::vector<std::string> names;
  names.reserve(textures.size());
  for (const Expectation& texture : textures) names.push_back(texture.name.text());
  const Selection selection(patterns, "no texture", names);
  std::erase_if(textures,
                [&](const Expectation& texture) { return !selection.has(texture.name.text()); });

  const Frame seen(scene, *loaded.geometry, number, view.log());
  network.renderBegin();
  network.frameBegin();
  if (asJson) {
    writeJson(answersAt(scene, seen, number, pixel.x, pixel.y, textures));
  } else {
    std::cout << "frame " << number << ", pixel " << pixel.x << "," << pixel.y << ": "
              << linesOf(scene, seen, textures);
  }
  network.frameEnd();
  network.renderEnd();
}

std::string Probe::linesOf(const Scene& scene, const Frame& seen,
                           const std::vector<Expectation>& textures) const {
  std::size_t width = 0;
  for (const Expectation& texture : textures) width = std::max(width, texture.name.text().size());
  std::string lines = "nothing is seen there\n";
  const auto report = [&](const ShadingContext& sc, std::size_t object,
                          const std::vector<Findings>& findings) {
    const DVector& p = sc.shadingPoint;
    lines = "object " + scene.objects[object].name + ", render space (" + numberText(p.x) + ", " +
            numberText(p.y) + ", " + numberText(p.z) + "), ray time " + numberText(sc.rayTime) +
            "\n";
    for (std::size_t i = 0; i < textures.size(); ++i) {
      std::string line = textures[i].name.text();
      line.resize(width + 2, ' ');
      lines += line + answersAsText(textures[i], findings[i], sc) + "\n";
    }
  };
  inspect(seen, pixel.x + 0.5, pixel.y + 0.5, scene.shutter.middle(), textures, report);
  return lines;
}

}  // namespace

void addProbe(CLI::App& program, Session& session) {
  addCommand<Probe>(program, session, "probe", "Print value, bounds and gradient at one pixel");
}

}  // namespace preview
