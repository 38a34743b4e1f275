// SPDX-License-Identifier: MIT
#include <oneapi/tbb/global_control.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

#include "preview/commands/check.h"
#include "preview/commands/list.h"
#include "preview/commands/probe.h"
#include "preview/commands/progress_bar.h"
#include "preview/commands/render.h"
#include "preview/diagnostics/diagnostics.h"
#include "preview/diagnostics/suggestion.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene_file.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"
#include "preview/world/frame.h"

namespace {

using namespace preview;

constexpr const char* kProgram = "samplerinfo-preview";
constexpr int kExitBadInput = 2;
constexpr int kExitWarnings = 3;
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
  std::vector<std::string> names;
  bool half = false;
  bool quiet = false;
  bool log = false;
  bool markdown = false;
  bool json = false;
  bool strict = false;
  bool notes = false;
};

/// The scene, in the size that is asked for.
Scene sceneOf(const Options& options, Diagnostics& diagnostics) {
  Scene scene = readScene(options.scene, diagnostics);
  diagnostics.throwFirst();
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

void runRender(const Options& options, Diagnostics& diagnostics) {
  const PluginLibrary library(options.plugin);
  Scene scene = sceneOf(options, diagnostics);
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
  ProgressBar bar(!options.log && !options.quiet && isatty(STDERR_FILENO) != 0);
  renderScene(
      std::move(scene), library,
      {.output = options.output,
       .frames = {first, last},
       .only = options.names,
       .half = options.half,
       .log = options.log ? &log : nullptr},
      [&](const char* doing, double fraction) { bar.show(doing, fraction); }, diagnostics);
}

void runProbe(const Options& options, Diagnostics& diagnostics) {
  const PluginLibrary library(options.plugin);
  const Scene scene = sceneOf(options, diagnostics);
  const auto [x, y] = options.pixel;
  const Image& image = scene.image;
  if (x < 0 || y < 0 || x >= image.width || y >= image.height) {
    throw InputError("--pixel: the image has " + std::to_string(image.width) + " x " +
                     std::to_string(image.height) + " pixels, counted from 0,0");
  }
  const int frame = options.frame.value_or(scene.frames.first);
  checkFrames("--frame", frame, frame, scene.frames);
  const Network network(scene.nodes, library, diagnostics);
  diagnostics.throwFirst();
  ErrorStreamLog log;
  Geometry geometry(scene, diagnostics);
  diagnostics.throwFirst();
  const Frame seen(scene, geometry, frame, options.log ? &log : nullptr);
  probe(scene, network, seen, {frame, x, y, options.names, options.json}, std::cout);
}

int runCheck(const Options& options) {
  const PluginLibrary library(options.plugin);
  const CheckSummary summary = check(options.scene, library, options.notes, std::cout);
  if (summary.errors != 0) return kExitBadInput;
  return options.strict && summary.warnings != 0 ? kExitWarnings : 0;
}

int fail(const std::string& prefix, const char* what, int exitCode) {
  constexpr std::size_t kWithItsPlace = 300;
  std::cerr << prefix << ": " << oneLine(what, kWithItsPlace) << "\n";
  return exitCode;
}

/// Refuses a command line that has something else in the place of the command.
void checkCommand(const std::vector<std::string>& words, const std::vector<std::string>& commands) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    const bool isPlugin = word == "--plugin";
    if (isPlugin) ++i;
    if (isPlugin || word.starts_with("--plugin=")) continue;
    if (std::ranges::find(commands, word) != commands.end()) return;
    if (!word.starts_with("-")) throw InputError(unknown("no command", word, commands));
    throw InputError(unexpected("\"" + shortened(word) + "\"", "a command"));
  }
}

void flushOutput() {
  if (!std::cout.flush()) throw std::runtime_error("the output cannot be written");
}

int run(int argc, char** argv, Options& options, Diagnostics& diagnostics) {
  CLI::App app("Renders, checks, probes and lists the textures of a plugin library.", kProgram);
  app.require_subcommand(1);
  app.fallthrough();
  app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
    return oneLine(failed->get_name() + ": " + error.what()) + "\n";
  });
  app.set_version_flag("--version", std::string(kProgram) + " " PREVIEW_VERSION);
  app.footer(
      "Exit codes: 0 all is well; 1 the machine failed, or the plugin library did; 2 a command\n"
      "line, scene, plugin library or folder that cannot be used; 3 warnings, with check "
      "--strict;\n"
      "128 and the number of a signal that interrupted a render.");
  options.plugin = defaultPluginLibrary();
  app.add_option("--plugin", options.plugin, "The plugin library instead of SamplerInfo.so")
      ->check(CLI::ExistingFile);

  const auto addScene = [&](CLI::App* command) {
    command->add_option("SCENE", options.scene, "The scene file")
        ->required()
        ->check(CLI::ExistingFile);
  };
  const auto addCommon = [&](CLI::App* command) {
    addScene(command);
    expect<Size>(command->add_option("--size", options.size,
                                     "WIDTHxHEIGHT instead of the scene's, in pixels"),
                 "WIDTHxHEIGHT, as in 640x480");
    command->add_flag("--log", options.log, "Print the log of the render on the error stream");
  };
  CLI::App* render = app.add_subcommand("render", "Render the pictures of a scene");
  addCommon(render);
  render->add_option("-o,--output", options.output, "The folder for the pictures")
      ->required()
      ->check([](const std::string& text) {
        return text.starts_with("-") ? unexpected("\"" + shortened(text) + "\"", "a folder") : "";
      });
  render->add_option("--samples", options.samples, "Samples per pixel instead of the scene's")
      ->check(CLI::Range(1, kMaxSamples));
  expect<FrameRange>(
      render->add_option("--frames", options.frames, "Render only FIRST-LAST, or one frame"),
      "FIRST-LAST or one frame, as in 1-3 or 2");
  render
      ->add_option("--only", options.names,
                   "Only these pictures; * and ? stand for any letters, commas between several")
      ->type_name("NAME")
      ->allow_extra_args(false)
      ->delimiter(',');
  render->add_flag("-q,--quiet", options.quiet, "Show no progress");
  render->add_flag("--half", options.half, "Half floats in the EXR file");
  render->add_option("--threads", options.threads, "How many threads to use")
      ->check(CLI::Range(1, kMaxThreads));

  CLI::App* check = app.add_subcommand("check", "Tell everything that is wrong with a scene");
  addScene(check);
  check->footer(
      "Warnings are looked for where there are no errors. Gradients of vectors are not\n"
      "compared: it is not defined of which number of a vector they are.\n\n" +
      app.get_footer());
  check->add_flag("--strict", options.strict, "End with exit code 3 if there are warnings");
  check->add_flag("--notes", options.notes, "Show what outputs need not guarantee, too");

  CLI::App* list = app.add_subcommand("list", "List plugins with their parameters");
  list->add_option("NAME", options.names, "Only these; * and ? stand for any letters");
  list->add_flag("--markdown", options.markdown, "As tables in Markdown")
      ->excludes(list->add_flag("--json", options.json, "As JSON"));

  CLI::App* probe = app.add_subcommand("probe", "Print value, bounds and gradient at one pixel");
  addCommon(probe);
  expect<Pixel>(
      probe->add_option("--pixel", options.pixel, "X,Y from the top left corner")->required(),
      "X,Y, as in 160,120");
  probe->add_option("--frame", options.frame, "Which frame instead of the first");
  probe->add_option("NAME", options.names, "Only these textures; * and ? stand for any letters");
  probe->add_flag("--json", options.json, "As JSON");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    std::vector<std::string> commands;
    for (const CLI::App* command : {render, check, probe, list}) {
      commands.push_back(command->get_name());
    }
    if (e.get_exit_code() != 0) checkCommand({argv + 1, argv + argc}, commands);
    if (app.exit(e) != 0) return kExitBadInput;
    flushOutput();
    return 0;
  }
  int exitCode = 0;
  if (render->parsed()) runRender(options, diagnostics);
  if (check->parsed()) exitCode = runCheck(options);
  if (probe->parsed()) runProbe(options, diagnostics);
  if (list->parsed()) {
    const Listing as = options.markdown ? Listing::Markdown
                       : options.json   ? Listing::Json
                                        : Listing::Text;
    listPlugins(PluginLibrary(options.plugin), options.names, as, std::cout);
  }
  flushOutput();
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGXFSZ, SIG_IGN);  // a file that grows beyond the limit fails as on a full disk
  Options options;
  Diagnostics diagnostics;
  try {
    return run(argc, argv, options, diagnostics);
  } catch (const SceneError& e) {
    const std::string position = positionText(diagnostics.positionOf(e));
    return fail(shownPath(options.scene) + position, e.what(), kExitBadInput);
  } catch (const InputError& e) {
    return fail(kProgram, e.what(), kExitBadInput);
  } catch (const std::bad_alloc&) {
    return fail(kProgram, ("out of memory; the peak was " + memoryText(peakMemory())).c_str(), 1);
  } catch (const std::exception& e) {
    constexpr int kExitOfSignals = 128;
    return fail(kProgram, e.what(), interruption != 0 ? kExitOfSignals + interruption : 1);
  } catch (...) {  // the library's own, whose text is gone with it
    return fail(kProgram, "the plugin library threw an exception", 1);
  }
}
