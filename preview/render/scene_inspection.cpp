// SPDX-License-Identifier: MIT
#include "preview/render/scene_inspection.h"

#include <algorithm>

namespace preview {

SceneInspection::SceneInspection(const LoadedScene& loaded) : scene_(loaded.scene) {
  Connections connections(scene_.nodes), ofAll(scene_.nodes);
  for (const Picture& picture : loaded.plan.pictures) connections.need(picture.from);
  for (const Picture& picture : scene_.pictures) ofAll.need(picture.from);  // with `--only`, more
  for (const Node& node : scene_.nodes) {
    if (ofAll.isNeeded(node)) continue;
    unneeded_.push_back({{node.place, "no picture needs it"}, false});
  }
  for (const Network::NamedTexture& texture : loaded.network.textures()) {
    if (!connections.isNeeded(texture.name)) continue;
    textures_.push_back(expectationOf(texture, connections));
  }
  tallies_.resize(textures_.size());
}

void SceneInspection::inspectFrame(const Frame& frame, std::int32_t number,
                                   const std::function<void()>& progress) {
  const auto& [first, last] = scene_.frames;
  const std::string name = first == last ? "" : " of frame " + std::to_string(number);
  constexpr int kMaxColumns = 32, kMaxRows = 24;
  const int columns = std::min(scene_.image.width, kMaxColumns);
  const int rows = std::min(scene_.image.height, kMaxRows);
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      progress();
      const int x = (2 * column + 1) * scene_.image.width / (2 * columns);
      const int y = (2 * row + 1) * scene_.image.height / (2 * rows);
      const std::string where = "pixel " + std::to_string(x) + "," + std::to_string(y) + name;
      inspect(frame, x + 0.5, y + 0.5, scene_.shutter.middle(), textures_,
              [&](const ShadingContext& /*seen*/, std::size_t /*object*/,
                  const std::vector<Findings>& findings) {
                for (std::size_t i = 0; i < tallies_.size(); ++i) {
                  tallies_[i].add(findings[i], where);
                }
              });
    }
  }
}

void SceneInspection::Tally::add(const Findings& findings, const std::string& where) {
  ++points;
  if (findings.gradientWasCompared) ++comparisons;
  for (std::size_t flaw = 0; flaw < found.size(); ++flaw) {
    if (findings.flaws[flaw] && found[flaw].points++ == 0) found[flaw].first = where;
  }
}

void SceneInspection::Tally::report(const Expectation& texture,
                                    std::vector<Remark>& remarks) const {
  const std::string& output = texture.name.output;
  for (std::size_t i = 0; i < found.size(); ++i) {
    const auto flaw = static_cast<Flaw>(i);
    const auto& [times, first] = found[i];
    const bool ofGradient = flaw == Flaw::GradientDiffers;
    const int all = ofGradient ? comparisons : points;
    // At edges and at the ends of ramps the change between two points says nothing of the gradient.
    constexpr int kOneIn = 4;
    if (times == 0 || (ofGradient && times < all / kOneIn)) continue;
    const std::string what = (output.empty() ? "" : shortened(output) + ": ") + kFlawNames[i] +
                             " at " + std::to_string(times) + " of " + std::to_string(all) +
                             " points, first at " + first;
    const bool isNote = !texture.excludes(flaw);
    const char* reason = isNote ? "; nothing better is guaranteed" : "";
    remarks.push_back({{texture.node->place, what + reason}, isNote});
  }
}

std::vector<Remark> SceneInspection::remarks() const {
  std::vector<Remark> remarks = unneeded_;
  if (std::ranges::all_of(tallies_, [](const Tally& tally) { return tally.points == 0; })) {
    remarks.push_back({{"camera", "no object is seen at any point"}, false});
  }
  for (std::size_t i = 0; i < textures_.size(); ++i) tallies_[i].report(textures_[i], remarks);
  return remarks;
}

}  // namespace preview
