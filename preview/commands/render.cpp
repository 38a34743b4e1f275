// SPDX-License-Identifier: MIT
#include <oneapi/tbb/global_control.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "preview/commands/options.h"
#include "preview/commands/progress_bar.h"
#include "preview/pictures/output_folder.h"
#include "preview/render/band.h"
#include "preview/render/frame_files.h"
#include "preview/render/page_data.h"
#include "preview/scene/scene_file.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"

namespace preview {

namespace {

struct Render {
  ViewOptions view;
  std::filesystem::path output;
  std::optional<FrameRange> frames;
  std::vector<std::string> only;
  int samples = 0;  // the scene's
  int threads = 0;  // as many as the machine has
  bool half = false;
  bool quiet = false;

  void addTo(CLI::App& command, Session& session);
  void run(Session& session) const;
  std::string renderFrames(LoadedScene& loaded, FrameRange range, const OutputFolder& folder,
                           ProgressBar& bar) const;
};

void Render::addTo(CLI::App& command, Session& session) {
  constexpr int kMaxThreads = 1024;
  view.addTo(command, session);
  command.add_option("-o,--output", output, "The folder for the pictures")
      ->required()
      ->check([](const std::string& text) {
        return text.starts_with("-") ? unexpected("\"" + shortened(text) + "\"", "a folder") : "";
      });
  command.add_option("--samples", samples, "Samples per pixel instead of the scene's")
      ->check(CLI::Range(1, kMaxSamples));
  expect<FrameRange>(command.add_option("--frames", frames, "Render only FIRST-LAST, or one frame"),
                     "FIRST-LAST or one frame, as in 1-3 or 2");
  command
      .add_option("--only", only,
                  "Only these pictures; * and ? stand for any letters, commas between several")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->delimiter(',');
  command.add_flag("-q,--quiet", quiet, "Show no progress");
  command.add_flag("--half", half, "Half floats in the EXR file");
  command.add_option("--threads", threads, "How many threads to use")
      ->check(CLI::Range(1, kMaxThreads));
}

/// Renders into a folder: a PNG for each picture, `contact_sheet.png`, the page `index.html`, and
/// all raw values in one EXR per frame. Where the scene has several frames, the names of all except
/// the page end in their numbers. Everything is checked before rendering starts, and files appear
/// only when all are done.
void Render::run(Session& session) const {
  const PluginLibrary library(session.plugin);
  Scene scene = view.read(session);
  if (samples != 0) scene.image.samples = samples;
  const FrameRange range = frames.value_or(FrameRange{scene.frames.first, scene.frames.last});
  checkFrames("--frames", range, scene.frames);
  std::optional<tbb::global_control> control;
  if (threads != 0) {
    control.emplace(tbb::global_control::max_allowed_parallelism,
                    static_cast<std::size_t>(threads));
  }
  ProgressBar bar(!view.isLogged && !quiet && isatty(STDERR_FILENO) != 0);
  bar.show("reading", 0);
  LoadedScene loaded(std::move(scene), library, only, session.diagnostics);
  session.diagnostics.throwFirst();
  const double bytes = loaded.plan.bytes;
  const std::string pictures = std::to_string(loaded.plan.pictures.size()) + " pictures";
  checkMemory(pictures, bytes);
  // While nothing is written, an interruption ends the program at once.
  noteInterruptions();
  OutputFolder folder(output);
  try {
    append(folder.pathFor("index.html"), renderFrames(loaded, range, folder, bar));
  } catch (const WriteError& e) {
    folder.fail(e.what());
  } catch (const std::bad_alloc&) {
    throw std::runtime_error("out of memory for " + pictures + ", which take about " +
                             memoryText(bytes) + "; the peak was " + memoryText(peakMemory()));
  }
  ignoreInterruptions();
  folder.commit();
}

/// Returns the page, whose bounds can be asked for within a frame alone.
std::string Render::renderFrames(LoadedScene& loaded, FrameRange range, const OutputFolder& folder,
                                 ProgressBar& bar) const {
  const Scene& scene = loaded.scene;
  const Network& network = loaded.network;
  const RenderPlan& plan = loaded.plan;
  // To write a pixel takes about as long as to evaluate it that often.
  constexpr double kSamplesOfWriting = 4;
  const double rendering = scene.image.samples / (scene.image.samples + kSamplesOfWriting);
  std::string page;
  network.renderBegin();
  for (int number = range.first; number <= range.last; ++number) {
    const auto show = [&](const char* doing, double fraction) {
      throwIfInterrupted();
      bar.show(doing, (number - range.first + fraction) / (range.last - range.first + 1));
    };
    show("building", 0);
    const Frame frame(scene, loaded.geometry, number, view.log());
    network.frameBegin();
    if (number == range.first) page = pageText(pageData(loaded));
    FrameFiles files(scene, plan, frame, number, folder, half);
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
    network.frameEnd();
  }
  network.renderEnd();
  return page;
}

}  // namespace

void addRender(CLI::App& program, Session& session) {
  addCommand<Render>(program, session, "render", "Render the pictures of a scene");
}

}  // namespace preview
