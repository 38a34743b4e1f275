// SPDX-License-Identifier: MIT
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "preview/commands/options.h"
#include "preview/commands/progress_bar.h"
#include "preview/pictures/output_folder.h"
#include "preview/render/band.h"
#include "preview/render/frame_files.h"
#include "preview/render/page_data.h"
#include "preview/render/render_key.h"
#include "preview/scene/scene_file.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"

namespace preview {

namespace {

struct Render {
  ViewOptions view;
  std::filesystem::path output;
  std::optional<Frames> frames;
  bool half = false;
  bool quiet = false;
  bool resume = false;

  void addTo(CLI::App& command, Session& session);
  void run(Session& session) const;
  void renderFrames(LoadedScene& loaded, Frames range, const std::string& key, OutputFolder& folder,
                    ProgressBar& bar) const;
};

void Render::addTo(CLI::App& command, Session& session) {
  view.addTo(command, session);
  view.addRenderingTo(command);
  command.add_option("-o,--output", output, "The folder for the pictures")
      ->required()
      ->check([](const std::string& text) {
        return text.starts_with("-") ? unexpected("\"" + shortened(text) + "\"", "a folder") : "";
      });
  expect<Frames>(command.add_option("--frames", frames, "Render only FIRST-LAST, or one frame"),
                 "FIRST-LAST or one frame, as in 1-3 or 2");
  command.add_flag("--resume", resume,
                   "Render only the frames that are missing in the folder, or of another render");
  command.add_flag("-q,--quiet", quiet, "Show no progress");
  command.add_flag("--half", half, "Half floats in the EXR file; beyond 65504 they are infinite");
}

/// The frames that are there, as pairs of the first and the last one of each range.
nlohmann::ordered_json rangesOf(const Frames& frames, const std::function<bool(int)>& isThere) {
  auto ranges = nlohmann::ordered_json::array();
  for (int number = frames.first; number <= frames.last; ++number) {
    if (!isThere(number)) continue;
    if (ranges.empty() || ranges.back()[1] != number - 1) ranges.push_back({number, number});
    ranges.back()[1] = number;
  }
  return ranges;
}

/// `show` is told what is done, and which fraction of the frame is finished.
void renderFrame(const Scene& scene, const RenderPlan& plan, const Frame& frame, FrameFiles& files,
                 const std::function<void(const char*, double)>& show) {
  // To write a pixel takes about as long as to evaluate it that often.
  constexpr double kSamplesOfWriting = 4;
  const double rendering = scene.image.samples / (scene.image.samples + kSamplesOfWriting);
  for (int row = 0; row < scene.image.height; row += plan.rowsAtATime) {
    const int rows = std::min(plan.rowsAtATime, scene.image.height - row);
    const auto showRows = [&](const char* doing, double fraction) {
      show(doing, (row + fraction * rows) / scene.image.height);
    };
    const Band band = renderRows(scene, frame, plan.layers, row, rows, [&](double fraction) {
      showRows("rendering", fraction * rendering);
    });
    files.write(band, [&](double fraction) {
      showRows("writing", rendering + fraction * (1 - rendering));
    });
  }
}

/// Renders into a folder: a PNG for each picture, `contact_sheet.png`, the page `index.html`, and
/// all raw values in one EXR per frame. Where the scene has several frames, the names of all except
/// the page end in their numbers. Everything is checked before rendering starts, and the files of a
/// frame appear when all are done, the page at the end.
void Render::run(Session& session) const {
  const PluginLibrary library = loadPlugins(session);
  if (resume && !is_regular_file(session.scene)) {
    throw InputError("--resume: the scene must be a regular file");
  }
  Scene scene = view.read(session);
  const Frames range = frames.value_or(scene.frames);
  checkFrames("--frames", range, scene.frames);
  const auto limit = view.limitThreads();
  ProgressBar bar(!view.isLogged && !quiet && isatty(STDERR_FILENO) != 0);
  bar.show("reading", 0);
  const std::string key = renderKey(scene, view.only, half);
  LoadedScene loaded(std::move(scene), library, view.only, session.diagnostics);
  session.diagnostics.throwFirst();
  const double bytes = loaded.plan.bytes;
  const std::string pictures = std::to_string(loaded.plan.pictures.size()) + " pictures";
  checkMemory(pictures, bytes);
  // While nothing is written, an interruption ends the program at once.
  noteInterruptions();
  OutputFolder folder(output);
  try {
    renderFrames(loaded, range, key, folder, bar);
  } catch (const WriteError& e) {
    folder.fail(e.what());
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("out of memory for " + pictures + ", which take about " +
                             memoryText(bytes) + "; the peak was " + memoryText(peakMemory()));
  }
}

void Render::renderFrames(LoadedScene& loaded, Frames range, const std::string& key,
                          OutputFolder& folder, ProgressBar& bar) const {
  const Scene& scene = loaded.scene;
  const Network& network = loaded.network;
  const RenderPlan& plan = loaded.plan;
  const bool isSequence = plan.digits != 0;
  const auto isThere = [&](int number) { return isRendered(scene, plan, number, folder, key); };
  std::string last = "index.html";
  nlohmann::ordered_json page;
  network.renderBegin();
  for (int number = range.first; number <= range.last; ++number) {
    const bool isDone = resume && isThere(number);
    if (isDone) bar.skip(1.0 / range.count());
    if (isDone && !page.empty()) continue;
    const auto show = [&](const char* doing, double fraction) {
      throwIfInterrupted();
      bar.show(doing, (number - range.first + fraction) / range.count());
    };
    show("building", 0);
    const Frame frame(scene, *loaded.geometry, number, view.log());
    network.frameBegin();
    if (page.empty()) {
      page = pageData(loaded);  // asks for bounds, which a frame alone has
      page["render"] = key;
    }
    if (!isDone) {
      FrameFiles files(scene, plan, frame, number, folder, half, key);
      renderFrame(scene, plan, frame, files, show);
    }
    network.frameEnd();
    if (isDone) continue;
    if (isSequence) {
      folder.commit(lastFileOf(plan, number));
    } else {
      last = lastFileOf(plan, number);  // behind the page
    }
  }
  network.renderEnd();
  ignoreInterruptions();
  folder.commit(last, [&] {
    if (isSequence) page["frames"] = rangesOf(scene.frames, isThere);
    append(folder.pathFor("index.html"), pageText(page));
  });
}

}  // namespace

void addRender(CLI::App& program, Session& session) {
  addCommand<Render>(program, session, "render", "Render the pictures of a scene");
}

}  // namespace preview
