// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <iostream>
#include <set>

#include "preview/commands/options.h"
#include "preview/render/inspection.h"
#include "preview/render/loaded_scene.h"
#include "preview/scene/scene_file.h"

namespace preview {

namespace {

/// What is found of a texture.
struct Tally {
  struct Found {
    int points = 0;
    std::string first;
  };

  int points = 0, comparisons = 0;
  std::array<Found, std::size(kFlawNames)> found = {};

  void add(const Findings& findings, const std::string& where) {
    ++points;
    if (findings.gradientWasCompared) ++comparisons;
    for (std::size_t flaw = 0; flaw < found.size(); ++flaw) {
      if (findings.flaws[flaw] && found[flaw].points++ == 0) found[flaw].first = where;
    }
  }
};

/// `name` is that of the frame in a report.
void inspectGrid(const Scene& scene, const Frame& frame, const std::string& name,
                 const std::vector<Expectation>& textures, std::vector<Tally>& tallies) {
  constexpr int kMaxColumns = 32, kMaxRows = 24;
  const int columns = std::min(scene.image.width, kMaxColumns);
  const int rows = std::min(scene.image.height, kMaxRows);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int x = (2 * column + 1) * scene.image.width / (2 * columns);
      const int y = (2 * row + 1) * scene.image.height / (2 * rows);
      const std::string where = "pixel " + std::to_string(x) + "," + std::to_string(y) + name;
      inspect(frame, x + 0.5, y + 0.5, scene.shutter.middle(), textures,
              [&](const ShadingContext& /*seen*/, std::size_t /*object*/,
                  const std::vector<Findings>& findings) {
                for (std::size_t i = 0; i < tallies.size(); ++i) tallies[i].add(findings[i], where);
              });
    }
  }
}

std::string counted(std::size_t count, const char* what) {
  return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count == 1 ? "" : "s");
}

/// Writes a line for everything that is wrong in a scene file. Where nothing is, inspects what its
/// pictures need, on a coarse grid over the first, the middle and the last frame, and writes a line
/// for what seems wrong there, and one for each note if they are asked for.
struct Check {
  bool strict = false, showNotes = false;

  void addTo(CLI::App& command, Session& session) {
    addScene(command, session);
    command.footer(
        "Warnings are looked for where there are no errors. Gradients of vectors are not\n"
        "compared: it is not defined of which number of a vector they are.\n\n" +
        command.get_footer());
    command.add_flag("--strict", strict, "End with exit code 3 if there are warnings");
    command.add_flag("--notes", showNotes, "Show what outputs need not guarantee, too");
  }

  void run(Session& session) const;
};

/// The lines of a report, each for a place in the file.
class Report {
 public:
  explicit Report(const Session& session)
      : file_(shownPath(session.scene)), diagnostics_(session.diagnostics) {}

  void error(const SceneError& what) { line("error", what); }
  void warning(const SceneError& what) {
    ++warnings_;
    line("warning", what);
  }
  void note(const SceneError& what, bool isShown) {
    ++notes_;
    if (isShown) line("note", what);
  }
  /// The last line; returns the exit code.
  int end(bool strict) const {
    const std::size_t errors = diagnostics_.errors().size();
    std::cout << file_ << ": " << counted(errors, "error");
    if (errors != 0) {
      std::cout << "; warnings were not looked for\n";
      return kExitBadInput;
    }
    std::cout << ", " << counted(warnings_, "warning") << ", " << counted(notes_, "note") << "\n";
    return strict && warnings_ != 0 ? kExitWarnings : 0;
  }

 private:
  void line(const char* severity, const SceneError& what) const {
    std::cout << file_ << positionText(diagnostics_.positionOf(what)) << ": " << severity << ": "
              << what.what() << "\n";
  }

  std::string file_;
  const Diagnostics& diagnostics_;
  std::size_t warnings_ = 0, notes_ = 0;
};

void reportFlaws(const Expectation& texture, const Tally& tally, bool showNotes, Report& report) {
  const std::string& output = texture.name.output;
  for (std::size_t i = 0; i < tally.found.size(); ++i) {
    const auto flaw = static_cast<Flaw>(i);
    const auto& [points, first] = tally.found[i];
    const bool ofGradient = flaw == Flaw::GradientDiffers;
    const int all = ofGradient ? tally.comparisons : tally.points;
    // At edges and at the ends of ramps the change between two points says nothing of the gradient.
    constexpr int kOneIn = 4;
    if (points == 0 || (ofGradient && points < all / kOneIn)) continue;
    const std::string what = (output.empty() ? "" : shortened(output) + ": ") + kFlawNames[i] +
                             " at " + std::to_string(points) + " of " + std::to_string(all) +
                             " points, first at " + first;
    if (texture.excludes(flaw)) {
      report.warning({texture.node->place, what});
    } else {
      report.note({texture.node->place, what + "; nothing better is guaranteed"}, showNotes);
    }
  }
}

void inspectScene(LoadedScene& loaded, bool showNotes, Report& report) {
  auto& [library, scene, network, plan, geometry] = loaded;
  Connections connections(scene.nodes);
  for (const Picture& picture : plan.pictures) connections.need(picture.from);
  for (const Node& node : scene.nodes) {
    if (!connections.isNeeded(node)) report.warning({node.place, "no picture needs it"});
  }

  std::vector<Expectation> textures;
  for (const Network::NamedTexture& texture : network.textures()) {
    if (!connections.isNeeded(texture.name)) continue;
    textures.push_back(expectationOf(texture, connections));
  }
  std::vector<Tally> tallies(textures.size());
  const auto& [first, last] = scene.frames;
  network.renderBegin();
  for (const std::int32_t number : std::set{first, first + (last - first) / 2, last}) {
    const Frame frame(scene, geometry, number, nullptr);
    network.frameBegin();
    const std::string name = first == last ? "" : " of frame " + std::to_string(number);
    inspectGrid(scene, frame, name, textures, tallies);
    network.frameEnd();
  }
  network.renderEnd();
  if (std::ranges::all_of(tallies, [](const Tally& tally) { return tally.points == 0; })) {
    report.warning({"camera", "no object is seen at any point"});
  }
  for (std::size_t i = 0; i < textures.size(); ++i) {
    reportFlaws(textures[i], tallies[i], showNotes, report);
  }
}

void Check::run(Session& session) const {
  const PluginLibrary library(session.plugin);
  Diagnostics& diagnostics = session.diagnostics;
  Report report(session);
  diagnostics.attempt([&] {
    Scene scene = readScene(session.scene, diagnostics);
    if (scene.nodes.empty() && !diagnostics.errors().empty()) return;  // what else is wrong follows
    LoadedScene loaded(std::move(scene), library, {}, diagnostics);
    if (diagnostics.errors().empty()) inspectScene(loaded, showNotes, report);
  });
  for (const SceneError& error : diagnostics.errors()) report.error(error);
  session.exitCode = report.end(strict);
}

}  // namespace

void addCheck(CLI::App& program, Session& session) {
  addCommand<Check>(program, session, "check", "Report everything that is wrong with a scene");
}

}  // namespace preview
