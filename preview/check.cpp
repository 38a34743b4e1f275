// SPDX-License-Identifier: MIT
#include "preview/check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "math/vector.h"
#include "preview/messages/problems.h"
#include "preview/render_command.h"
#include "preview/scene/flaws.h"
#include "preview/scene/network.h"
#include "preview/scene/promises.h"
#include "preview/scene/scene_file.h"
#include "preview/world/frame.h"

namespace preview {

namespace {

/// What follows from the connections of nodes that are connected without a cycle.
class Connections {
 public:
  struct Kept {
    bool bounds = true, gradient = true;
  };

  explicit Connections(const std::vector<Node>& nodes) {
    for (const Node& node : nodes) nodes_[node.name] = &node;
  }
  const Node& nodeOf(const Reference& reference) const { return *nodes_.at(reference.node); }

  /// Marks what an image of a texture needs.
  void need(const Reference& reference) {
    neededTextures_.insert(reference.text());
    if (!neededNodes_.insert(reference.node).second) return;
    for (const Reference* input : inputsOf(nodeOf(reference))) need(*input);
  }
  bool isNeeded(const Reference& reference) const {
    return neededTextures_.contains(reference.text());
  }
  bool isNeeded(const Node& node) const { return neededNodes_.contains(node.name); }

  /// Whether all that a node stands on keeps within bounds and has exact gradients.
  Kept keptByInputs(const Node& node) {
    const auto known = kept_.find(&node);
    if (known != kept_.end()) return known->second;
    Kept kept;
    for (const Reference* input : inputsOf(node)) {
      const Node& from = nodeOf(*input);
      const Kept before = keptByInputs(from);
      const Promise promise = promiseOf(from.plugin, input->output);
      kept.bounds &= before.bounds && promise.boundsEnclose;
      kept.gradient &= before.gradient && promise.gradient == GradientIs::Exact;
    }
    return kept_[&node] = kept;
  }

 private:
  static std::vector<const Reference*> inputsOf(const Node& node) {
    std::vector<const Reference*> inputs;
    for (const Parameter& parameter : node.parameters) {
      if (const auto* input = std::get_if<Reference>(&parameter.value)) inputs.push_back(input);
    }
    return inputs;
  }

  std::unordered_map<std::string, const Node*> nodes_;
  std::unordered_set<std::string> neededNodes_, neededTextures_;
  std::unordered_map<const Node*, Kept> kept_;
};

/// A texture, what may be expected of it, and what is found.
struct Watched {
  struct Found {
    int points = 0;
    std::string first;
  };

  const Node* node;
  std::string output;
  const PluginInterface* texture;
  bool keepsBounds, hasExactGradient, hasGradient;
  int points = 0, differences = 0;  // looked at
  std::array<Found, std::size(kFlawNames)> found = {};

  void add(Flaw flaw, const std::string& where) {
    Found& one = found[static_cast<std::size_t>(flaw)];
    if (one.points++ == 0) one.first = where;
  }
};

std::vector<Watched> watchedOf(const Network& network, Connections& connections) {
  std::vector<Watched> result;
  for (const auto& [name, texture] : network.textures()) {
    const std::size_t dot = std::min(name.find('.'), name.size());
    const Reference reference{name.substr(0, dot), name.substr(std::min(dot + 1, name.size()))};
    if (!connections.isNeeded(reference)) continue;
    const Node& node = connections.nodeOf(reference);
    const Connections::Kept kept = connections.keptByInputs(node);
    const Promise promise = promiseOf(node.plugin, reference.output);
    const InterfaceId kind = texture->getInterfaceId();
    const bool isNumber = kind == EXT_TEXTURE || kind == EXT_TEXTURE_FLOAT;
    result.push_back({&node, reference.output, texture, kept.bounds && promise.boundsEnclose,
                      promise.gradient == GradientIs::Exact,
                      isNumber && kept.gradient && promise.gradient != GradientIs::Zero});
  }
  return result;
}

/// The number of which a texture's gradient is that.
double scalarOf(const PluginInterface& texture, const ShadingContext& sc) {
  const Channels v = evaluate(texture, Show::Value, sc);
  if (texture.getInterfaceId() != EXT_TEXTURE) return v[0];
  return (static_cast<double>(v[0]) + v[1] + v[2]) / 3;
}

double cosine(Vector a, Vector b) { return dot(toDouble(a), toDouble(b)); }  // of unit length

/// A frame with the ray time at which it is looked at.
struct Look {
  const Frame& frame;
  double rayTime;
  std::string name;
};

/// Compares gradients in the middle between two near points of a smooth surface with what changes
/// from the one to the other.
void compareGradients(const Look& look, double x, double y, std::vector<Watched>& textures,
                      const std::string& where) {
  constexpr double kHalf = 0.5;  // pixels
  const auto at = [&](double offset, auto use) {
    look.frame.shade(x + offset, y, look.rayTime, use);
  };
  at(-kHalf, [&](const ShadingContext& a, std::size_t objectA) {
    at(0, [&](const ShadingContext& middle, std::size_t objectMiddle) {
      at(kHalf, [&](const ShadingContext& b, std::size_t objectB) {
        constexpr double kSmooth = 0.99;
        if (objectA != objectMiddle || objectB != objectMiddle ||
            cosine(a.geometricNormal, b.geometricNormal) < kSmooth) {
          return;
        }
        const DVector step = {b.shadingPoint.x - a.shadingPoint.x,
                              b.shadingPoint.y - a.shadingPoint.y,
                              b.shadingPoint.z - a.shadingPoint.z};
        for (Watched& watched : textures) {
          if (!watched.hasGradient) continue;
          const double before = scalarOf(*watched.texture, a);
          const double after = scalarOf(*watched.texture, b);
          const Channels g = evaluate(*watched.texture, Show::Gradient, middle);
          const double expected = g[0] * step.x + g[1] * step.y + g[2] * step.z;
          if (!std::isfinite(before + after + expected)) continue;
          constexpr double kTolerance = 0.1, kRounding = 1e-5;
    std::set<Shape> tried;
          const double change = after - before;
          const double tolerated = kTolerance * std::max(std::abs(change), std::abs(expected)) +
                                   kRounding * std::max(std::abs(before), std::abs(after));
          ++watched.differences;
          if (std::abs(change - expected) > tolerated) watched.add(Flaw::GradientDiffers, where);
        }
      });
    });
  });
}

void lookAtGrid(const Scene& scene, const Look& look, std::vector<Watched>& textures) {
  constexpr int kMaxColumns = 32, kMaxRows = 24;
  } else {
    out << "; warnings were not looked for";
  const int columns = std::min(scene.image.width, kMaxColumns);
  const int rows = std::min(scene.image.height, kMaxRows);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      const int x = (2 * column + 1) * scene.image.width / (2 * columns);
      const int y = (2 * row + 1) * scene.image.height / (2 * rows);
      const std::string where = "pixel " + std::to_string(x) + "," + std::to_string(y) + look.name;
      const auto judge = [&](const ShadingContext& sc, std::size_t /*object*/) {
        for (Watched& watched : textures) {
          ++watched.points;
          const Flaws flaws = flawsOf(*watched.texture, sc);
          for (std::size_t flaw = 0; flaw < flaws.size(); ++flaw) {
            if (flaws[flaw]) watched.add(static_cast<Flaw>(flaw), where);
          }
        }
      };
      if (look.frame.shade(x + 0.5, y + 0.5, look.rayTime, judge)) {
        compareGradients(look, x + 0.5, y + 0.5, textures, where);
      }
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

void tell(const Watched& watched, bool showNotes, Report& report, Findings& findings) {
  for (std::size_t i = 0; i < watched.found.size(); ++i) {
    const auto flaw = static_cast<Flaw>(i);
    const auto& [points, first] = watched.found[i];
    const bool ofGradient = flaw == Flaw::GradientDiffers;
    const int all = ofGradient ? watched.differences : watched.points;
    // At edges and at the ends of ramps the change between two points says nothing of the gradient.
    constexpr int kPart = 4;
    if (points == 0 || (ofGradient && points < all / kPart)) continue;
    const bool isNote = (flaw == Flaw::OutsideBounds && !watched.keepsBounds) ||
                        (ofGradient && !watched.hasExactGradient);
    ++(isNote ? findings.notes : findings.warnings);
    if (isNote && !showNotes) continue;
    report.line(isNote ? "note: " : "warning: ",
                {watched.node->place, (watched.output.empty() ? "" : watched.output + ": ") +
                                          kFlawNames[i] + " at " + std::to_string(points) + " of " +
                                          std::to_string(all) + " points, first at " + first +
                                          (isNote ? "; nothing better is promised" : "")});
  }
}

void lookAt(const Scene& scene, const Network& network, const std::vector<Picture>& pictures,
            bool showNotes, Report& report, Findings& findings) {
  Connections connections(scene.nodes);
  for (const Picture& picture : pictures) connections.need(picture.from);
  const auto warn = [&](const std::string& place, const char* what) {
    ++findings.warnings;
    report.line("warning: ", {place, what});
  };
  for (const Node& node : scene.nodes) {
    if (!connections.isNeeded(node)) warn(node.place, "no picture needs it");
  }

  std::vector<Watched> textures = watchedOf(network, connections);
  World world(scene);
  const auto& [first, last] = scene.frames;
  network.renderBegin();
  for (const std::int32_t number : std::set{first, first + (last - first) / 2, last}) {
    const Frame frame(scene, world, number, nullptr);
    network.frameBegin();
    const std::string name = first == last ? "" : " of frame " + std::to_string(number);
    lookAtGrid(scene, {frame, (scene.shutter.open + scene.shutter.close) / 2, name}, textures);
    network.frameEnd();
  }
  network.renderEnd();
  if (std::ranges::all_of(textures, [](const Watched& watched) { return watched.points == 0; })) {
    warn("camera", "no object is seen at any point");
  }
  for (const Watched& watched : textures) tell(watched, showNotes, report, findings);
}

void tryMesh(const Object& object) {
  Scene alone;
  alone.objects = {object};
  const World world(alone);
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
    for (const Object& object : scene.objects) {
      const bool isFile = std::holds_alternative<ObjFile>(object.shape);
      if (isFile && tried.insert(object.shape).second) problems.attempt([&] { tryMesh(object); });
    }
    if (problems.errors().empty()) {
      lookAt(scene, network, pictures, showNotes, report, findings);
    }
  });
  for (const SceneError& error : problems.errors()) report.line("error: ", error);
  findings.errors = problems.errors().size();
  out << shownPath(file) << ": " << counted(findings.errors, "error");
  if (findings.errors == 0) {
    out << ", " << counted(findings.warnings, "warning") << ", " << counted(findings.notes, "note");
  }
  out << "\n";
  return findings;
}

}  // namespace preview
