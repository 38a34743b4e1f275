// SPDX-License-Identifier: MIT
#include "preview/commands/render.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/selection.h"
#include "preview/pictures/output_folder.h"
#include "preview/render/band.h"
#include "preview/render/frame_files.h"
#include "preview/render/page_data.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"
#include "preview/world/frame.h"

namespace preview {

namespace {

/// Float numbers of the layers that are in memory at a time.
constexpr std::size_t kNumbersAtATime = std::size_t{1} << 24;

std::string layerName(const Picture& picture) {
  const std::string name = picture.from.text();
  return picture.show == Show::Value ? name : name + "." + nameOf(picture.show);
}

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
  if (pictures.empty() && diagnostics.errors().empty()) {
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

Plan planOf(const std::vector<Picture>& pictures, const Network& network,
            Diagnostics& diagnostics) {
  Plan plan;
  const auto add = [&](const Picture& picture) {
    if (picture.from.node.empty()) return;  // has been reported as wrong
    const PluginInterface* texture = network.find(picture.from, picture.place + ".from");
    if (texture == nullptr) return;
    if (channelCount(*texture, picture.show) == 0) {
      throw SceneError(picture.place + ".show", "\"" + picture.from.text() + "\" is of kind " +
                                                    kindName(*texture) + ", which has no " +
                                                    nameOf(picture.show));
    }
    const std::string name = layerName(picture);
    const auto known = std::ranges::find(plan.sources, name, &LayerSource::name);
    plan.sourceOfPicture.push_back(static_cast<std::size_t>(known - plan.sources.begin()));
    if (known == plan.sources.end()) {
      plan.sources.push_back(
          {name, texture, picture.show, texture->getInterfaceId() == EXT_TEXTURE_INT});
    }
  };
  for (const Picture& picture : pictures) diagnostics.attempt([&] { add(picture); });
  return plan;
}

/// Float numbers of a row of a frame.
std::size_t numbersOfRow(const Scene& scene, const Plan& plan) {
  std::size_t numbers = 1;  // of a pixel: the coverage
  for (const LayerSource& source : plan.sources) {
    numbers += static_cast<std::size_t>(source.channels());
  }
  return numbers * static_cast<std::size_t>(scene.image.width);
}

/// How many rows of a frame are rendered, and then written, at a time.
int rowsAtATime(const Scene& scene, std::size_t rowSize) {
  const int rows = static_cast<int>(std::max<std::size_t>(kNumbersAtATime / rowSize, 1));
  return std::min(rows < kTileSize ? rows : rows / kTileSize * kTileSize, scene.image.height);
}

/// The memory that the pictures take while some rows of so many numbers are rendered, about.
double bytesOf(const Scene& scene, std::size_t rowSize, int rows) {
  constexpr double kOfPngFile = 300'000;
  constexpr double kCopies = 2;  // of a thumbnail; one is on the contact sheet
  const Downsampler thumbnail(scene.image.width, scene.image.height);
  const double ofThumbnail = static_cast<double>(thumbnail.image().values().size_bytes());
  return static_cast<double>(scene.pictures.size()) * (kOfPngFile + kCopies * ofThumbnail) +
         static_cast<double>(rowSize * sizeof(float)) * rows + ExrFile::bytesFor(rowSize);
}

/// Of the frame numbers in file names, which only have them if the scene has several frames.
std::size_t frameDigits(const Scene& scene) {
  constexpr std::size_t kDigits = 4;
  if (scene.frames.count() == 1) return 0;
  return std::max(kDigits, std::to_string(scene.frames.last).size());
}

/// ".0001" and so on.
std::string frameSuffix(const Scene& scene, std::int32_t frame) {
  const std::size_t digits = frameDigits(scene);
  if (digits == 0) return "";
  const std::string number = std::to_string(frame);
  return "." + std::string(digits - number.size(), '0') + number;
}

}  // namespace

std::vector<Picture> checkPictures(const Scene& scene, const Network& network,
                                   Diagnostics& diagnostics) {
  std::vector<Picture> pictures = picturesOf(scene, network, diagnostics);
  planOf(pictures, network, diagnostics);
  return pictures;
}

void renderScene(Scene scene, const PluginLibrary& library, const RenderOptions& options,
                 const Progress& progress, Diagnostics& diagnostics) {
  const Network network(scene.nodes, library, diagnostics);
  scene.pictures = picturesOf(scene, network, diagnostics);
  diagnostics.throwFirst();
  keepOnly(options.only, scene.pictures);
  const Plan plan = planOf(scene.pictures, network, diagnostics);
  diagnostics.throwFirst();
  const std::size_t rowSize = numbersOfRow(scene, plan);
  const int rowsAtOnce = rowsAtATime(scene, rowSize);
  const std::string pictures = std::to_string(scene.pictures.size()) + " pictures";
  const double bytes = bytesOf(scene, rowSize, rowsAtOnce);
  checkMemory(pictures, bytes);
  progress("reading", 0);
  Geometry geometry(scene, diagnostics);
  diagnostics.throwFirst();
  // While nothing is written, an interruption ends the program at once.
  noteInterruptions();
  OutputFolder folder(options.output);

  // To write a pixel takes about as long as to evaluate it that often.
  constexpr double kSamplesOfWriting = 4;
  const double rendering = scene.image.samples / (scene.image.samples + kSamplesOfWriting);

  try {
    network.renderBegin();
    std::string page;
    const Frames& frames = options.frames;
    for (std::int32_t number = frames.first; number <= frames.last; ++number) {
      const auto ofAll = [&](double fraction) {
        return (number - frames.first + fraction) / frames.count();
      };
      progress("building", ofAll(0));
      const Frame frame(scene, geometry, number, options.log);
      network.frameBegin();
      if (page.empty()) {
        page = pageText(pageData(scene, plan, network, library, frameDigits(scene)));
      }
      FrameFiles files(scene, plan, frame, number, frameSuffix(scene, number), folder,
                       options.half);
      for (int row = 0; row < scene.image.height; row += rowsAtOnce) {
        const int rows = std::min(rowsAtOnce, scene.image.height - row);
        const auto report = [&](const char* doing, double fraction) {
          throwIfInterrupted();
          progress(doing, ofAll((row + fraction * rows) / scene.image.height));
        };
        const Band band = renderRows(scene, frame, plan.sources, row, rows, [&](double fraction) {
          report("rendering", fraction * rendering);
        });
        files.write(band, [&](double fraction) {
          report("writing", rendering + fraction * (1 - rendering));
        });
      }
      network.frameEnd();
    }
    network.renderEnd();
    writeText(folder.pathFor("index.html"), page);
  } catch (const WriteError& e) {
    folder.fail(e.what());
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("out of memory for " + pictures + ", which take about " +
                             memoryText(bytes) + "; the peak was " + memoryText(peakMemory()));
  }
  ignoreInterruptions();
  folder.commit();
}

}  // namespace preview
