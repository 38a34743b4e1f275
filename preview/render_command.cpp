#include "preview/render_command.h"

#include <algorithm>
#include <unordered_set>

#include "preview/messages/errors.h"
#include "preview/messages/number_text.h"
#include "preview/pictures/color_map.h"
#include "preview/pictures/contact_sheet.h"
#include "preview/pictures/image_files.h"
#include "preview/pictures/output_folder.h"
#include "preview/render.h"
#include "preview/world/frame.h"

namespace preview {

namespace {

/// Float numbers in the layers of one frame; a scene that wants more is a mistake.
constexpr std::size_t kMaxNumbers = std::size_t{1} << 28;

std::string layerName(const Picture& picture) {
  const std::string name = picture.from.text();
  return picture.show == Show::Value ? name : name + "." + nameOf(picture.show);
}

/// The pictures of a scene. One from "node.*" becomes a picture of each output of the node that no
/// other is from, as far as the output has what is to be shown.
std::vector<Picture> picturesOf(const Scene& scene, const Network& network, Problems& problems) {
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
    problems.attempt(
        [&] { picture.from.output == kEveryOutput ? addEvery(picture) : add(picture); });
  }
  return pictures;
}

/// The pictures of a scene and the layers that they show; a layer may serve several pictures.
struct Plan {
  std::vector<LayerSource> sources;
  std::vector<std::size_t> sourceOfPicture;
};

Plan planOf(const Scene& scene, const Network& network, Problems& problems) {
  Plan plan;
  std::size_t channels = 1;  // the coverage
  const auto add = [&](const Picture& picture) {
    if (picture.from.node.empty()) return;  // has been told to be wrong
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
      plan.sources.push_back({name, texture, picture.show});
      channels += static_cast<std::size_t>(channelCount(*texture, picture.show));
    }
  };
  for (const Picture& picture : scene.pictures) problems.attempt([&] { add(picture); });
  const auto width = static_cast<std::size_t>(scene.image.width);
  const auto height = static_cast<std::size_t>(scene.image.height);
  if (width * height > kMaxNumbers / channels) {
    problems.add({"image", "too large for " + std::to_string(scene.pictures.size()) +
                               " pictures: they would take " +
                               std::to_string((width * height * channels * 4) >> 30) + " GiB"});
  }
  return plan;
}

/// ".0001" and so on, if the scene has several frames.
std::string frameSuffix(const Scene& scene, std::int32_t frame) {
  constexpr std::size_t kDigits = 4;
  if (scene.frames.count() == 1) return "";
  const std::string number = std::to_string(frame);
  const std::size_t digits = std::max(kDigits, std::to_string(scene.frames.last).size());
  return "." + std::string(digits - number.size(), '0') + number;
}

std::string captionOf(const Picture& picture, const SpecialPixels& specials) {
  std::string caption = picture.name + ": ";
  caption += picture.caption.empty() ? layerName(picture) : picture.caption;
  if (picture.low != 0 || picture.high != 1) {
    constexpr const char* kNoBreak = "\u00A0";
    caption += " [" + text(picture.low) + "," + kNoBreak + text(picture.high) + "]";
  }
  const std::string special = describe(specials);
  if (!special.empty()) caption += " " + special;
  return caption;
}

void writeFrame(const Scene& scene, const Plan& plan, const Film& film, const std::string& suffix,
                const OutputFolder& folder) {
  std::vector<Thumbnail> thumbnails;
  for (std::size_t i = 0; i < scene.pictures.size(); ++i) {
    const Picture& picture = scene.pictures[i];
    const auto [colors, specials] =
        mapToColors(film.layers[plan.sourceOfPicture[i]], film.coverage, picture.low, picture.high);
    writePng(folder.pathFor(picture.name + suffix + ".png"), colors);
    thumbnails.push_back({scaledDown(colors), captionOf(picture, specials)});
  }
  writePng(folder.pathFor("contact_sheet" + suffix + ".png"), contactSheet(thumbnails));

  std::vector<ExrLayer> layers = {{kCoverageLayer, &film.coverage}};
  for (std::size_t i = 0; i < plan.sources.size(); ++i) {
    layers.push_back({plan.sources[i].name, &film.layers[i]});
  }
  writeExr(folder.pathFor(scene.file.stem().string() + suffix + ".exr"), layers);
}

}  // namespace

std::vector<Picture> checkPictures(Scene scene, const Network& network, Problems& problems) {
  scene.pictures = picturesOf(scene, network, problems);
  planOf(scene, network, problems);
  return scene.pictures;
}

void renderScene(Scene scene, const Frames& frames, const PluginLibrary& library, RenderLog* log,
                 const std::filesystem::path& output, const std::function<void(double)>& progress,
                 Problems& problems) {
  const Network network(scene.nodes, library, problems);
  scene.pictures = picturesOf(scene, network, problems);
  const Plan plan = planOf(scene, network, problems);
  problems.throwFirst();
  const std::vector<Mesh> meshes = makeMeshes(scene);
  OutputFolder folder(output);

  network.renderBegin();
  for (std::int32_t number = frames.first; number <= frames.last; ++number) {
    const Frame frame(scene, meshes, number, log);
    network.frameBegin();
    const Film film = renderFrame(scene, frame, plan.sources, [&](double part) {
      progress((number - frames.first + part) / frames.count());
    });
    network.frameEnd();
    writeFrame(scene, plan, film, frameSuffix(scene, number), folder);
  }
  network.renderEnd();
  folder.commit();
}

}  // namespace preview
