// SPDX-License-Identifier: MIT
#include <iostream>
#include <set>

#include "preview/commands/options.h"
#include "preview/render/loaded_scene.h"
#include "preview/render/scene_inspection.h"
#include "preview/scene/scene_file.h"

namespace preview {

namespace {

std::string counted(std::size_t count, const char* what) {
  return (count == 0 ? "no" : std::to_string(count)) + " " + what + (count == 1 ? "" : "s");
}

/// Writes a line for everything that is wrong in a scene file. Where nothing is, inspects what its
/// pictures need, on a coarse grid over the first, the middle and the last frame, and writes a line
/// for what seems wrong there, and one for each note if they are asked for.
struct Check {
  bool strict = false, showNotes = false;

  void addTo(CLI::App& command, Session& session) {
    addScene(command, session);
    command.footer(
        "Warnings are looked for where there are no errors. Gradients of vectors are not\n"
        "compared: it is not defined of which number of a vector they are.\n\n" +
        command.get_footer());
    command.add_flag("--strict", strict, "End with exit code 3 if there are warnings");
    command.add_flag("--notes", showNotes, "Show what outputs need not guarantee, too");
  }

  void run(Session& session) const;
};

/// The lines of a report, each for a place in the file.
class Report {
 public:
  explicit Report(const Session& session)
      : file_(session.scene), diagnostics_(session.diagnostics) {}

  void error(const SceneError& what) { line("error", what); }
  void warning(const SceneError& what) {
    ++warnings_;
    line("warning", what);
  }
  void note(const SceneError& what, bool isShown) {
    ++notes_;
    if (isShown) line("note", what);
  }
  /// The last line; returns the exit code.
  int end(bool strict) const {
    const std::size_t errors = diagnostics_.errors().size();
    std::cout << shownPath(file_) << ": " << counted(errors, "error");
    if (errors != 0) {
      std::cout << "; warnings were not looked for\n";
      return kExitBadInput;
    }
    std::cout << ", " << counted(warnings_, "warning") << ", " << counted(notes_, "note") << "\n";
    return strict && warnings_ != 0 ? kExitWarnings : 0;
  }

 private:
  void line(const char* severity, const SceneError& what) const {
    std::cout << diagnostics_.lineOf(file_, severity, what) << "\n";
  }

  const std::filesystem::path& file_;
  const Diagnostics& diagnostics_;
  std::size_t warnings_ = 0, notes_ = 0;
};

void inspectScene(LoadedScene& loaded, bool showNotes, Report& report) {
  SceneInspection inspection(loaded);
  const auto& [first, last] = loaded.scene.frames;
  loaded.network.renderBegin();
  for (const std::int32_t number : std::set{first, first + (last - first) / 2, last}) {
    const Frame frame(loaded.scene, *loaded.geometry, number, nullptr);
    loaded.network.frameBegin();
    inspection.inspectFrame(frame, number, [] {});
    loaded.network.frameEnd();
  }
  loaded.network.renderEnd();
  for (const auto& [what, isNote] : inspection.remarks()) {
    isNote ? report.note(what, showNotes) : report.warning(what);
  }
}

void Check::run(Session& session) const {
  const PluginLibrary library = loadPlugins(session);
  Diagnostics& diagnostics = session.diagnostics;
  Report report(session);
  diagnostics.attempt([&] {
    Scene scene = readScene(session.scene, session.settings, diagnostics);
    if (scene.nodes.empty() && !diagnostics.errors().empty()) return;  // the rest follows from them
    LoadedScene loaded(std::move(scene), library, {}, diagnostics);
    if (diagnostics.errors().empty()) inspectScene(loaded, showNotes, report);
  });
  for (const SceneError& error : diagnostics.errors()) report.error(error);
  session.exitCode = report.end(strict);
}

}  // namespace

void addCheck(CLI::App& program, Session& session) {
  addCommand<Check>(program, session, "check", "Report everything that is wrong with a scene");
}

}  // namespace preview
