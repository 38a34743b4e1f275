// SPDX-License-Identifier: MIT
#include "preview/check.h"

#include <algorithm>
#include <array>
#include <set>

#include "preview/judge.h"
#include "preview/render_command.h"
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

  void add(const Judgement& judgement, const std::string& where) {
    ++points;
    if (judgement.gradientWasCompared) ++comparisons;
    for (std::size_t flaw = 0; flaw < found.size(); ++flaw) {
      if (judgement.flaws[flaw] && found[flaw].points++ == 0) found[flaw].first = where;
    }
  }
};

/// A frame with the ray time at which it is looked at.
struct Look {
  const Frame& frame;
  double rayTime;
  std::string name;
};

void lookAtGrid(const Scene& scene, const Look& look, const std::vector<Expectation>& textures,
                std::vector<Tally>& tallies) {
  constexpr int kMaxColumns = 32, kMaxRows = 24;
  const int columns = std::min(scene.image.width, kMaxColumns);
  const int rows = std::min(scene.image.height, kMaxRows);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int x = (2 * column + 1) * scene.image.width / (2 * columns);
      const int y = (2 * row + 1) * scene.image.height / (2 * rows);
      const std::string where = "pixel " + std::to_string(x) + "," + std::to_string(y) + look.name;
      judge(look.frame, x + 0.5, y + 0.5, look.rayTime, textures,
            [&](const ShadingContext& /*seen*/, std::size_t /*object*/,
                const std::vector<Judgement>& judgements) {
              for (std::size_t i = 0; i < tallies.size(); ++i) tallies[i].add(judgements[i], where);
            });
    }
  }
}

/// Lines of a report, each for a place in the file.
class Report {
 public:
  Report(std::ostream& out, const std::filesystem::path& file, const Problems& problems)
      : out_(out), file_(shownPath(file)), problems_(problems) {}

  void line(const char* severity, const SceneError& what) {
    out_ << file_ << positionText(problems_.positionOf(what)) << ": " << severity << what.what()
         << "\n";
  }

 private:
  std::ostream& out_;
  std::string file_;
  const Problems& problems_;
};

void tell(const Expectation& texture, const Tally& tally, bool showNotes, Report& report,
          Findings& findings) {
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
    ++(isNote ? findings.notes : findings.warnings);
    if (isNote && !showNotes) continue;
    report.line(isNote ? "note: " : "warning: ",
                {texture.node->place, (output.empty() ? "" : shortened(output) + ": ") +
                                          kFlawNames[i] + " at " + std::to_string(points) + " of " +
                                          std::to_string(all) + " points, first at " + first +
                                          (isNote ? "; nothing better is promised" : "")});
  }
}

void lookAt(const Scene& scene, World& world, const Network& network,
            const std::vector<Picture>& pictures, bool showNotes, Report& report,
            Findings& findings) {
  Connections connections(scene.nodes);
  for (const Picture& picture : pictures) connections.need(picture.from);
  const auto warn = [&](const std::string& place, const char* what) {
    ++findings.warnings;
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
    const Frame frame(scene, world, number, nullptr);
    network.frameBegin();
    const std::string name = first == last ? "" : " of frame " + std::to_string(number);
    lookAtGrid(scene, {frame, scene.shutter.middle(), name}, textures, tallies);
    network.frameEnd();
  }
  network.renderEnd();
  if (std::ranges::all_of(tallies, [](const Tally& tally) { return tally.points == 0; })) {
    warn("camera", "no object is seen at any point");
  }
  for (std::size_t i = 0; i < textures.size(); ++i) {
    tell(textures[i], tallies[i], showNotes, report, findings);
  }
}

std::string counted(std::size_t count, const char* what) {
  return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

Findings check(const std::filesystem::path& file, const PluginLibrary& library, bool showNotes,
               std::ostream& out) {
  Problems problems;
  Findings findings;
  Report report(out, file, problems);
  problems.attempt([&] {
    const Scene scene = readScene(file, problems);
    if (scene.nodes.empty() && !problems.errors().empty()) return;  // what else is wrong follows
    const Network network(scene.nodes, library, problems);
    const std::vector<Picture> pictures = checkPictures(scene, network, problems);
    World world(scene, problems);
    if (problems.errors().empty()) {
      lookAt(scene, world, network, pictures, showNotes, report, findings);
    }
  });
  for (const SceneError& error : problems.errors()) report.line("error: ", error);
  findings.errors = problems.errors().size();
  out << shownPath(file) << ": " << counted(findings.errors, "error");
  if (findings.errors == 0) {
    out << ", " << counted(findings.warnings, "warning") << ", " << counted(findings.notes, "note");
  } else {
    out << "; warnings were not looked for";
  }
  out << "\n";
  return findings;
}

}  // namespace preview
