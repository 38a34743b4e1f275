// SPDX-License-Identifier: MIT
#include "preview/commands/check.h"

#include <algorithm>
#include <array>
#include <set>

#include "preview/commands/render.h"
#include "preview/render/inspection.h"
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

/// A frame with the ray time at which it is inspected.
struct View {
  const Frame& frame;
  double rayTime;
  std::string name;
};

void inspectGrid(const Scene& scene, const View& view, const std::vector<Expectation>& textures,
                 std::vector<Tally>& tallies) {
  constexpr int kMaxColumns = 32, kMaxRows = 24;
  const int columns = std::min(scene.image.width, kMaxColumns);
  const int rows = std::min(scene.image.height, kMaxRows);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int x = (2 * column + 1) * scene.image.width / (2 * columns);
      const int y = (2 * row + 1) * scene.image.height / (2 * rows);
      const std::string where = "pixel " + std::to_string(x) + "," + std::to_string(y) + view.name;
      inspect(view.frame, x + 0.5, y + 0.5, view.rayTime, textures,
              [&](const ShadingContext& /*seen*/, std::size_t /*object*/,
                  const std::vector<Findings>& findings) {
                for (std::size_t i = 0; i < tallies.size(); ++i) tallies[i].add(findings[i], where);
              });
    }
  }
}

/// Lines of a report, each for a place in the file.
class Report {
 public:
  Report(std::ostream& out, const std::filesystem::path& file, const Diagnostics& diagnostics)
      : out_(out), file_(shownPath(file)), diagnostics_(diagnostics) {}

  void line(const char* severity, const SceneError& what) {
    out_ << file_ << positionText(diagnostics_.positionOf(what)) << ": " << severity << what.what()
         << "\n";
  }

 private:
  std::ostream& out_;
  std::string file_;
  const Diagnostics& diagnostics_;
};

void reportFlaws(const Expectation& texture, const Tally& tally, bool showNotes, Report& report,
                 CheckSummary& summary) {
  const std::string& output = texture.name.output;
  for (std::size_t i = 0; i < tally.found.size(); ++i) {
    const auto flaw = static_cast<Flaw>(i);
    const auto& [points, first] = tally.found[i];
    const bool ofGradient = flaw == Flaw::GradientDiffers;
    const int all = ofGradient ? tally.comparisons : tally.points;
    // At edges and at the ends of ramps the change between two points says nothing of the gradient.
    constexpr int kPart = 4;
    if (points == 0 || (ofGradient && points < all / kPart)) continue;
    const bool isNote = !texture.excludes(flaw);
    ++(isNote ? summary.notes : summary.warnings);
    if (isNote && !showNotes) continue;
    report.line(isNote ? "note: " : "warning: ",
                {texture.node->place, (output.empty() ? "" : shortened(output) + ": ") +
                                          kFlawNames[i] + " at " + std::to_string(points) + " of " +
                                          std::to_string(all) + " points, first at " + first +
                                          (isNote ? "; nothing better is guaranteed" : "")});
  }
}

void inspectScene(const Scene& scene, Geometry& geometry, const Network& network,
                  const std::vector<Picture>& pictures, bool showNotes, Report& report,
                  CheckSummary& summary) {
  Connections connections(scene.nodes);
  for (const Picture& picture : pictures) connections.need(picture.from);
  const auto warn = [&](const std::string& place, const char* what) {
    ++summary.warnings;
    report.line("warning: ", {place, what});
  };
  for (const Node& node : scene.nodes) {
    if (!connections.isNeeded(node)) warn(node.place, "no picture needs it");
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
    inspectGrid(scene, {frame, scene.shutter.middle(), name}, textures, tallies);
    network.frameEnd();
  }
  network.renderEnd();
  if (std::ranges::all_of(tallies, [](const Tally& tally) { return tally.points == 0; })) {
    warn("camera", "no object is seen at any point");
  }
  for (std::size_t i = 0; i < textures.size(); ++i) {
    reportFlaws(textures[i], tallies[i], showNotes, report, summary);
  }
}

std::string counted(std::size_t count, const char* what) {
  return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

CheckSummary check(const std::filesystem::path& file, const PluginLibrary& library, bool showNotes,
                   std::ostream& out) {
  Diagnostics diagnostics;
  CheckSummary summary;
  Report report(out, file, diagnostics);
  diagnostics.attempt([&] {
    const Scene scene = readScene(file, diagnostics);
    if (scene.nodes.empty() && !diagnostics.errors().empty()) return;  // what else is wrong follows
    const Network network(scene.nodes, library, diagnostics);
    const std::vector<Picture> pictures = checkPictures(scene, network, diagnostics);
    Geometry geometry(scene, diagnostics);
    if (diagnostics.errors().empty()) {
      inspectScene(scene, geometry, network, pictures, showNotes, report, summary);
    }
  });
  for (const SceneError& error : diagnostics.errors()) report.line("error: ", error);
  summary.errors = diagnostics.errors().size();
  out << shownPath(file) << ": " << counted(summary.errors, "error");
  if (summary.errors == 0) {
    out << ", " << counted(summary.warnings, "warning") << ", " << counted(summary.notes, "note");
  } else {
    out << "; warnings were not looked for";
  }
  out << "\n";
  return summary;
}

}  // namespace preview
