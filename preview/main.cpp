#include <oneapi/tbb/global_control.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <optional>
#include <utility>

#include "preview/interruption.h"
#include "preview/messages/errors.h"
#include "preview/progress_bar.h"
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

class ErrorStreamLog final : public RenderLog {
 public:
  void print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
  }
};

// Pairs of whole numbers on the command line; CLI11 finds the `lexical_cast` for each.

struct Size {
  int width, height;
};
struct Pixel {
  int x, y;
};
struct FrameRange {
  int first, last;
};

bool readPair(const std::string& text, char separator, int& first, int& second) {
  const char* end = text.data() + text.size();
  const auto [middle, error] = std::from_chars(text.data(), end, first);
  if (error != std::errc() || middle == end || *middle != separator) return false;
  const auto [rest, secondError] = std::from_chars(middle + 1, end, second);
  return secondError == std::errc() && rest == end;
}

bool lexical_cast(const std::string& text, Size& size) {
  return readPair(text, 'x', size.width, size.height);
}
bool lexical_cast(const std::string& text, Pixel& pixel) {
  return readPair(text, ',', pixel.x, pixel.y);
}
bool lexical_cast(const std::string& text, FrameRange& frames) {
  const bool isOne = text.find('-') == std::string::npos;
  return readPair(isOne ? text + "-" + text : text, '-', frames.first, frames.last);
}

/// Refuses what cannot be read as a `T`.
template <class T>
void expect(CLI::Option* option, const std::string& form) {
  option->type_name("TEXT")->check([form](const std::string& text) {
    T value;
    return lexical_cast(text, value) ? "" : "expected " + form;
  });
}

struct Options {
  std::filesystem::path plugin, scene, output;
  std::optional<Size> size;
  std::optional<FrameRange> frames;
  Pixel pixel = {};
  std::optional<int> frame;
  int samples = 0;  // the scene's
  int threads = 0;  // as many as the machine has
  bool log = false;
  bool markdown = false;
};

/// The scene, in the size that is asked for.
Scene sceneOf(const Options& options) {
  Scene scene = readScene(options.scene);
  if (!options.size) return scene;
  const auto [width, height] = *options.size;
  if (std::min(width, height) < 1 || std::max(width, height) > kMaxImageSide) {
    throw InputError("--size: width and height lie from 1 to " + std::to_string(kMaxImageSide));
  }
  scene.image.width = width;
  scene.image.height = height;
  return scene;
}

/// Refuses frames, asked for by `option`, that the scene does not have.
void checkFrames(const char* option, int first, int last, const Frames& all) {
  if (first >= all.first && first <= last && last <= all.last) return;
  throw InputError(std::string(option) + ": the scene has the frames " + std::to_string(all.first) +
                   " to " + std::to_string(all.last));
}

void runRender(const Options& options) {
  const PluginLibrary library(options.plugin);
  Scene scene = sceneOf(options);
  if (options.samples != 0) scene.image.samples = options.samples;
  const auto [first, last] =
      options.frames.value_or(FrameRange{scene.frames.first, scene.frames.last});
  checkFrames("--frames", first, last, scene.frames);

  std::optional<tbb::global_control> threads;
  if (options.threads != 0) {
    threads.emplace(tbb::global_control::max_allowed_parallelism,
                    static_cast<std::size_t>(options.threads));
  }
  ErrorStreamLog log;
  ProgressBar bar(!options.log && isatty(STDERR_FILENO) != 0);
  noteInterruptions();
  renderScene(std::move(scene), {first, last}, library, options.log ? &log : nullptr,
              options.output, [&](double part) {
                if (interruption != 0) throw std::runtime_error("interrupted");
                bar.show(part);
              });
}

void runProbe(const Options& options) {
  const PluginLibrary library(options.plugin);
  const Scene scene = sceneOf(options);
  const auto [x, y] = options.pixel;
  const Image& image = scene.image;
  if (x < 0 || y < 0 || x >= image.width || y >= image.height) {
    throw InputError("--pixel: the image has " + std::to_string(image.width) + " x " +
                     std::to_string(image.height) + " pixels, counted from 0,0");
  }
  const int frame = options.frame.value_or(scene.frames.first);
  checkFrames("--frame", frame, frame, scene.frames);
  ErrorStreamLog log;
  probe(scene, makeMeshes(scene), Network(scene.nodes, library), frame, x, y,
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
    expect<Size>(command->add_option("--size", options.size,
                                     "WIDTHxHEIGHT instead of the scene's, in pixels"),
                 "WIDTHxHEIGHT, as in 640x480");
    command->add_flag("--log", options.log, "Print the log of the render on the error stream");
  };
  CLI::App* render = app.add_subcommand("render", "Render the pictures of a scene");
  addCommon(render);
  render->add_option("-o,--output", options.output, "The folder for the pictures")->required();
  render->add_option("--samples", options.samples, "Samples per pixel instead of the scene's")
      ->check(CLI::Range(1, kMaxSamples));
  expect<FrameRange>(
      render->add_option("--frames", options.frames, "Render only FIRST-LAST, or one frame"),
      "FIRST-LAST or one frame, as in 1-3 or 2");
  render->add_option("--threads", options.threads, "How many threads to use")
      ->check(CLI::Range(1, kMaxThreads));

  CLI::App* list = app.add_subcommand("list", "List every plugin with its parameters");
  list->add_flag("--markdown", options.markdown, "As tables in Markdown");

  CLI::App* probe = app.add_subcommand("probe", "Print value, bounds and gradient at one pixel");
  addCommon(probe);
  expect<Pixel>(
      probe->add_option("--pixel", options.pixel, "X,Y from the top left corner")->required(),
      "X,Y, as in 160,120");
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
    return fail(kProgram, e, interruption != 0 ? kExitOfSignals + interruption : 1);
  }
}
