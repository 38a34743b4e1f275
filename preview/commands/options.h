// SPDX-License-Identifier: MIT
#pragma once

#include <oneapi/tbb/global_control.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "host/records.h"
#include "preview/commands/commands.h"
#include "preview/scene/plugin_library.h"
#include "preview/scene/scene.h"

/// Options that several commands have.
namespace preview {

// Values of options; CLI11 finds the `lexical_cast` for each.

struct Size {
  int width, height;
};
struct Pixel {
  int x, y;
};
bool lexical_cast(const std::string& text, Size& size);
bool lexical_cast(const std::string& text, Pixel& pixel);
bool lexical_cast(const std::string& text, Frames& frames);
bool lexical_cast(const std::string& text, Setting& setting);

/// Refuses what cannot be read as a `T`.
template <class T>
void expect(CLI::Option* option, const std::string& form) {
  option->type_name("TEXT")->check([form](const std::string& text) {
    T value;
    return lexical_cast(text, value) ? "" : "expected " + form;
  });
}

void addPlugins(CLI::App& app, Session& session);

/// Those that the options ask for; what is wrong with installed ones is a line each on the error
/// stream.
PluginLibrary loadPlugins(const Session& session, LoadFrom from = LoadFrom::File);

/// Adds a command whose `Options` have `addTo`, for their own, and `run`, for its work.
template <class Options>
void addCommand(CLI::App& program, Session& session, const char* name, const char* what) {
  CLI::App* command = program.add_subcommand(name, what);
  addPlugins(*command, session);
  const auto options = std::make_shared<Options>();
  options->addTo(*command, session);
  command->callback([options, &session] { options->run(session); });
}

void addScene(CLI::App& command, Session& session);

/// How a scene is seen, and rendered.
struct ViewOptions {
  std::optional<Size> size;
  bool isLogged = false;
  std::vector<std::string> only;
  int samples = 0;  // the scene's
  int threads = 0;  // as many as the machine has

  void addTo(CLI::App& command, Session& session);
  void addRenderingTo(CLI::App& command);

  /// The scene, as it is asked for.
  Scene read(Session& session) const;
  void applyTo(Scene& scene) const;

  /// Limits oneTBB to the threads that are asked for while the object lives.
  std::unique_ptr<tbb::global_control> limitThreads() const;

  /// Null if nothing is to be logged.
  RenderLog* log() const;
};

/// Writes on the output what is valid UTF-8 or becomes so.
void writeJson(const nlohmann::ordered_json& json);

/// Refuses frames, asked for by `option`, that the scene does not have.
void checkFrames(const char* option, const Frames& asked, const Frames& all);

}  // namespace preview
