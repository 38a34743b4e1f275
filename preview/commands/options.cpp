// SPDX-License-Identifier: MIT
#include "preview/commands/options.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

#include "preview/render/answers.h"
#include "preview/scene/scene_file.h"

namespace preview {

namespace {

class ErrorStreamLog final : public RenderLog {
 public:
  void print(const char* format, ...) override {
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stderr, format, arguments);
    va_end(arguments);
  }
};

bool readPair(const std::string& text, char separator, int& first, int& second) {
  const char* end = text.data() + text.size();
  const auto [middle, error] = std::from_chars(text.data(), end, first);
  if (error != std::errc() || middle == end || *middle != separator) return false;
  const auto [rest, secondError] = std::from_chars(middle + 1, end, second);
  return secondError == std::errc() && rest == end;
}

/// Takes one value each time that it is given.
CLI::Option* repeatable(CLI::Option* option) {
  return option->expected(1)->allow_extra_args(false)->multi_option_policy(
      CLI::MultiOptionPolicy::TakeAll);
}

}  // namespace

bool lexical_cast(const std::string& text, Size& size) {
  return readPair(text, 'x', size.width, size.height);
}
bool lexical_cast(const std::string& text, Pixel& pixel) {
  return readPair(text, ',', pixel.x, pixel.y);
}
bool lexical_cast(const std::string& text, Frames& frames) {
  const bool isOne = text.find('-') == std::string::npos;
  return readPair(isOne ? text + "-" + text : text, '-', frames.first, frames.last);
}
bool lexical_cast(const std::string& text, Setting& setting) {
  const std::size_t dot = text.find('.'), equals = text.find('=');
  if (dot == 0 || dot >= equals || equals - dot == 1 || equals == std::string::npos) return false;
  setting = {text.substr(0, dot), text.substr(dot + 1, equals - dot - 1), text.substr(equals + 1)};
  return true;
}

void addPlugins(CLI::App& app, Session& session) {
  // In front of the command and behind it are two options.
  const auto add = [&session](const std::vector<std::filesystem::path>& files) {
    session.plugins.insert(session.plugins.end(), files.begin(), files.end());
  };
  repeatable(
      app.add_option_function<std::vector<std::filesystem::path>>(
          "--plugin", add, "A module of plugins beside the installed ones; may be given again"))
      ->check(CLI::ExistingFile);
  app.add_flag("--no-default-plugin", session.withoutDefaultPlugin, "Leave SamplerInfo out");
}

PluginLibrary loadPlugins(const Session& session, LoadFrom from) {
  return {session.plugins, !session.withoutDefaultPlugin,
          [](const std::string& what) { std::cerr << kProgram << ": warning: " << what << "\n"; },
          from};
}

void addScene(CLI::App& command, Session& session) {
  command.add_option("SCENE", session.scene, "The scene file")
      ->required()
      ->check(CLI::ExistingFile);
  expect<Setting>(
      repeatable(command.add_option("--set", session.settings,
                                    "NODE.PARAM=VALUE instead of the scene's; may be given again")),
      "NODE.PARAM=VALUE, as in tint.mode=3");
}

void ViewOptions::addTo(CLI::App& command, Session& session) {
  addScene(command, session);
  expect<Size>(command.add_option("--size", size, "WIDTHxHEIGHT instead of the scene's, in pixels"),
               "WIDTHxHEIGHT, as in 640x480");
  command.add_flag("--log", isLogged, "Print the log of the render on the error stream");
}

void ViewOptions::addRenderingTo(CLI::App& command) {
  constexpr int kMaxThreads = 1024;
  command.add_option("--samples", samples, "Samples per pixel instead of the scene's")
      ->check(CLI::Range(1, kMaxSamples));
  repeatable(command.add_option(
                 "--only", only,
                 "Only these pictures; * and ? stand for any letters, commas between several"))
      ->type_name("NAME")
      ->delimiter(',');
  command.add_option("--threads", threads, "How many threads to use")
      ->check(CLI::Range(1, kMaxThreads));
}

Scene ViewOptions::read(Session& session) const {
  Scene scene = readScene(session.scene, session.settings, session.diagnostics);
  session.diagnostics.throwFirst();
  applyTo(scene);
  return scene;
}

void ViewOptions::applyTo(Scene& scene) const {
  if (samples != 0) scene.image.samples = samples;
  if (!size) return;
  const auto [width, height] = *size;
  if (std::min(width, height) < 1 || std::max(width, height) > kMaxImageSide) {
    throw InputError("--size: width and height lie from 1 to " + std::to_string(kMaxImageSide));
  }
  scene.image.width = width;
  scene.image.height = height;
}

std::unique_ptr<tbb::global_control> ViewOptions::limitThreads() const {
  if (threads == 0) return nullptr;
  return std::make_unique<tbb::global_control>(tbb::global_control::max_allowed_parallelism,
                                               static_cast<std::size_t>(threads));
}

RenderLog* ViewOptions::log() const {
  static ErrorStreamLog log;
  return isLogged ? &log : nullptr;
}

void writeJson(const nlohmann::ordered_json& json) { std::cout << jsonText(json); }

void checkFrames(const char* option, const Frames& asked, const Frames& all) {
  if (asked.first > asked.last) {
    throw InputError(std::string(option) + ": the last frame comes before the first");
  }
  if (asked.first >= all.first && asked.last <= all.last) return;
  throw InputError(std::string(option) + ": the scene has the frames " + std::to_string(all.first) +
                   " to " + std::to_string(all.last));
}

}  // namespace preview
