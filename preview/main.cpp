#include <oneapi/tbb/global_control.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <optional>

#include "preview/messages/errors.h"
#include "preview/render_command.h"
#include "preview/reports.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene_file.h"
#include "preview/world/frame.h"

namespace {

using namespace preview;

constexpr const char* kProgram = "samplerinfo-preview";
constexpr int kExitBadInput = 2;
constexpr int kMaxThreads = 1024;

class ErrorStreamLog final : public QUtils::RenderLog {
 public:
  void print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
  }
};

volatile std::sig_atomic_t interrupted = 0;

/// Shows how much is done, and ends the render when the user interrupts it.
class Progress {
 public:
  explicit Progress(bool visible) : visible_(visible) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      std::signal(signal, [](int again) {
        interrupted = again;
        std::signal(again, SIG_DFL);  // the second one ends the program at once
      });
    }
  }
  ~Progress() {
    if (visible_) std::fputs("\r\033[K", stderr);
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void show(double part) {
    if (interrupted != 0) throw std::runtime_error("interrupted");
    const int percent = static_cast<int>(part * 100);
    if (!visible_ || percent == shown_) return;
    shown_ = percent;
    constexpr int kPercentPerMark = 2;
    const std::string done(static_cast<std::size_t>(percent / kPercentPerMark), '#');
    std::fprintf(stderr, "\r[%-50s] %3d %%", done.c_str(), percent);
  }

 private:
  bool visible_;
  int shown_ = -1;
};

/// Two whole numbers with a separator between them, as in "640x480".
std::optional<std::pair<int, int>> parsePair(const std::string& text, char separator) {
  std::pair<int, int> pair;
  const char* end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, pair.first);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != separator) return std::nullopt;
  const auto second = std::from_chars(first.ptr + 1, end, pair.second);
  if (second.ec != std::errc() || second.ptr != end) return std::nullopt;
  return pair;
}

struct Options {
  std::filesystem::path plugin, scene, output;
  std::optional<std::string> size, frames;
  std::string pixel;
  std::optional<int> frame;
  int samples = 0;  // the scene's
  int threads = 0;  // as many as the machine has
  bool log = false;
  bool markdown = false;
};

void applySize(const std::string& text, Image& image) {
  const auto size = parsePair(text, 'x');
  if (!size) throw InputError("--size: expected WIDTHxHEIGHT, as in 640x480");
  if (std::min(size->first, size->second) < 1 ||
      std::max(size->first, size->second) > kMaxImageSide) {
    throw InputError("--size: width and height lie from 1 to " + std::to_string(kMaxImageSide));
  }
  image.width = size->first;
  image.height = size->second;
}

std::string framesText(const Frames& all) {
  return "the scene has the frames " + std::to_string(all.first) + " to " +
         std::to_string(all.last);
}

/// The frames of the scene to render.
Frames chosenFrames(const std::string& text, const Frames& all) {
  const auto range = parsePair(text.find('-') == std::string::npos ? text + "-" + text : text, '-');
  if (!range) throw InputError("--frames: expected FIRST-LAST or one frame, as in 1-3 or 2");
  const Frames chosen{range->first, range->second};
  if (chosen.first < all.first || chosen.last > all.last || chosen.last < chosen.first) {
    throw InputError("--frames: " + framesText(all));
  }
  return chosen;
}

void runRender(const Options& options) {
  const PluginLibrary library(options.plugin);
  Scene scene = readScene(options.scene);
  if (options.size) applySize(*options.size, scene.image);
  if (options.samples != 0) scene.image.samples = options.samples;
  const Frames frames = options.frames ? chosenFrames(*options.frames, scene.frames) : scene.frames;

  std::optional<tbb::global_control> threads;
  if (options.threads != 0) {
    threads.emplace(tbb::global_control::max_allowed_parallelism,
                    static_cast<std::size_t>(options.threads));
  }
  ErrorStreamLog log;
  Progress progress(!options.log && isatty(STDERR_FILENO) != 0);
  renderScene(scene, frames, library, options.log ? &log : nullptr, options.output,
              [&](double part) { progress.show(part); });
}

void runProbe(const Options& options) {
  const PluginLibrary library(options.plugin);
  Scene scene = readScene(options.scene);
  if (options.size) applySize(*options.size, scene.image);
  const auto pixel = parsePair(options.pixel, ',');
  if (!pixel) throw InputError("--pixel: expected X,Y, as in 160,120");
  if (std::min(pixel->first, pixel->second) < 0 || pixel->first >= scene.image.width ||
      pixel->second >= scene.image.height) {
    throw InputError("--pixel: the image has " + std::to_string(scene.image.width) + " x " +
                     std::to_string(scene.image.height) + " pixels, counted from 0,0");
  }
  const int frame = options.frame.value_or(scene.frames.first);
  if (frame < scene.frames.first || frame > scene.frames.last) {
    throw InputError("--frame: " + framesText(scene.frames));
  }
  ErrorStreamLog log;
  Network network(scene.nodes, library);
  probe(scene, makeMeshes(scene), network, frame, pixel->first, pixel->second,
        options.log ? &log : nullptr, std::cout);
}

/// Control characters of a file or a command line would break the one line of an error.
std::string oneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  return text;
}

int fail(const std::string& prefix, const std::exception& error, int exitCode) {
  std::cerr << oneLine(prefix + ": " + error.what()) << "\n";
  return exitCode;
}

int run(int argc, char** argv, Options& options) {
  CLI::App app("Renders, lists and probes the textures of a plugin library.", kProgram);
  app.require_subcommand(1);
  app.fallthrough();
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return oneLine(failed->get_name() + ": " + error.what()) + "\n";
  });
  options.plugin = defaultPluginLibrary();
  app.add_option("--plugin", options.plugin, "The plugin library to load")
      ->capture_default_str()
      ->check(CLI::ExistingFile);

  const auto addCommon = [&](CLI::App* command) {
    command->add_option("SCENE", options.scene, "The scene file")
        ->required()
        ->check(CLI::ExistingFile);
    command->add_option("--size", options.size, "WIDTHxHEIGHT instead of the scene's, in pixels");
    command->add_flag("--log", options.log, "Print the log of the render on the error stream");
  };
  CLI::App* render = app.add_subcommand("render", "Render the pictures of a scene");
  addCommon(render);
  render->add_option("-o,--output", options.output, "The folder for the pictures")->required();
  render->add_option("--samples", options.samples, "Samples per pixel instead of the scene's")
      ->check(CLI::Range(1, kMaxSamples));
  render->add_option("--frames", options.frames, "Render only FIRST-LAST, or one frame");
  render->add_option("--threads", options.threads, "How many threads to use")
      ->check(CLI::Range(1, kMaxThreads));

  CLI::App* list = app.add_subcommand("list", "List every plugin with its parameters");
  list->add_flag("--markdown", options.markdown, "As tables in Markdown");

  CLI::App* probe = app.add_subcommand("probe", "Print value, bounds and gradient at one pixel");
  addCommon(probe);
  probe->add_option("--pixel", options.pixel, "X,Y from the top left corner")->required();
  probe->add_option("--frame", options.frame, "Which frame instead of the first");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e) == 0 ? 0 : kExitBadInput;
  }
  if (render->parsed()) runRender(options);
  if (probe->parsed()) runProbe(options);
  if (list->parsed()) listPlugins(PluginLibrary(options.plugin), options.markdown, std::cout);
  if (!std::cout.flush()) throw std::runtime_error("the output cannot be written");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  try {
    return run(argc, argv, options);
  } catch (const SceneError& e) {
    return fail(options.scene.string(), e, kExitBadInput);
  } catch (const InputError& e) {
    return fail(kProgram, e, kExitBadInput);
  } catch (const std::exception& e) {
    constexpr int kExitOfSignals = 128;
    return fail(kProgram, e, interrupted != 0 ? kExitOfSignals + interrupted : 1);
  }
}
