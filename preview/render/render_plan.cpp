// SPDX-License-Identifier: MIT
#include "preview/render/render_plan.h"

#include <algorithm>
#include <unordered_set>

#include "preview/diagnostics/selection.h"
#include "preview/pictures/contact_sheet.h"
#include "preview/pictures/image_files.h"
#include "preview/render/band.h"

namespace preview {

namespace {

/// The pictures of a scene. One from "node.*" becomes a picture of each output of the node that no
/// other is from, as far as the output has what is to be shown.
std::vector<Picture> picturesOf(const Scene& scene, const Network& network,
                                Diagnostics& diagnostics) {
  std::vector<Picture> pictures;
  std::unordered_set<std::string> names, shown;
  for (const Picture& picture : scene.pictures) shown.insert(picture.from.text());
  const auto add = [&](const Picture& picture) {
    if (!names.insert(picture.name).second) {
      throw SceneError(picture.place, "another picture is named \"" + picture.name + "\"");
    }
    pictures.push_back(picture);
  };
  const auto addEvery = [&](const Picture& picture) {
    const std::string place = picture.place + ".from";
    for (const std::string& output : network.outputs(picture.from.node, place)) {
      Picture one = picture;
      one.name += "_" + output;
      one.from.output = output;
      if (shown.contains(one.from.text())) continue;
      if (channelCount(*network.find(one.from, place), one.show) != 0) add(one);
    }
  };
  for (const Picture& picture : scene.pictures) {
    diagnostics.attempt(
        [&] { picture.from.output == kEveryOutput ? addEvery(picture) : add(picture); });
  }
  if (pictures.empty() && !scene.pictures.empty() && diagnostics.errors().empty()) {
    diagnostics.add({"pictures", "no output has what they show"});
  }
  return pictures;
}

void keepOnly(const std::vector<std::string>& patterns, std::vector<Picture>& pictures) {
  std::vector<std::string> names;
  names.reserve(pictures.size());
  for (const Picture& picture : pictures) names.push_back(picture.name);
  const Selection selection(patterns, "--only: no picture", names);
  std::erase_if(pictures, [&](const Picture& picture) { return !selection.has(picture.name); });
}

void addLayer(const Picture& picture, const Network& network, RenderPlan& plan) {
  if (picture.from.node.empty()) return;  // has been reported as wrong
  const PluginInterface* texture = network.find(picture.from, picture.place + ".from");
  if (texture == nullptr) return;
  std::string name = picture.from.text();
  if (channelCount(*texture, picture.show) == 0) {
    throw SceneError(picture.place + ".show", "\"" + name + "\" is of kind " + kindName(*texture) +
                                                  ", which has no " + nameOf(picture.show));
  }
  if (picture.show != Show::Value) name.append(".").append(nameOf(picture.show));
  const auto known = std::ranges::find(plan.layers, name, &Layer::name);
  plan.layerOfPicture.push_back(static_cast<std::size_t>(known - plan.layers.begin()));
  if (known != plan.layers.end()) return;
  plan.layers.push_back(
      {name, texture, picture.show, texture->getInterfaceId() == EXT_TEXTURE_INT});
}

}  // namespace

RenderPlan::RenderPlan(const Scene& scene, const Network& network,
                       const std::vector<std::string>& only, Diagnostics& diagnostics)
    : pictures(picturesOf(scene, network, diagnostics)) {
  if (diagnostics.errors().empty()) keepOnly(only, pictures);
  for (const Picture& picture : pictures) {
    diagnostics.attempt([&] { addLayer(picture, network, *this); });
  }
  if (scene.frames.count() > 1) {
    constexpr std::size_t kDigits = 4;
    digits = std::max(kDigits, std::to_string(scene.frames.last).size());
  }

  std::size_t numbersOfPixel = 1;  // the coverage
  for (const Layer& layer : layers) numbersOfPixel += static_cast<std::size_t>(layer.channels());
  const std::size_t numbersOfRow = numbersOfPixel * static_cast<std::size_t>(scene.image.width);
  constexpr std::size_t kNumbersAtATime = std::size_t{1} << 24;
  const int rows = static_cast<int>(std::max<std::size_t>(kNumbersAtATime / numbersOfRow, 1));
  rowsAtATime =
      std::min(rows < kTileSize ? rows : rows / kTileSize * kTileSize, scene.image.height);

  constexpr double kOfPngFile = 300'000;
  constexpr double kCopies = 2;  // of a thumbnail; one is on the contact sheet
  const Downsampler thumbnail(scene.image.width, scene.image.height);
  const double ofThumbnail = static_cast<double>(thumbnail.image().values().size_bytes());
  bytes = static_cast<double>(pictures.size()) * (kOfPngFile + kCopies * ofThumbnail) +
          static_cast<double>(numbersOfRow * sizeof(float)) * rowsAtATime +
          ExrFile::bytesFor(numbersOfRow);
}

std::string RenderPlan::suffixOf(std::int32_t frame) const {
  if (digits == 0) return "";
  const std::string number = std::to_string(frame);
  return "." + std::string(digits - number.size(), '0') + number;
}

}  // namespace preview
