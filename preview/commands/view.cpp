// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "preview/commands/options.h"
#include "preview/live/event_board.h"
#include "preview/live/live_renderer.h"
#include "preview/live/live_server.h"
#include "preview/live/picture_keys.h"
#include "preview/live/watched_files.h"
#include "preview/scene/scene_file.h"
#include "preview/system/interruption.h"
#include "preview/system/memory.h"

namespace preview {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct View {
  ViewOptions view;
  int port = 8231;

  void addTo(CLI::App& command, Session& session) {
    view.addTo(command, session);
    view.addRenderingTo(command);
    constexpr int kMaxPort = 65535;
    command.add_option("--port", port, "Where to serve the page; 0 takes any free port")
        ->capture_default_str()
        ->check(CLI::Range(0, kMaxPort));
  }

  void run(Session& session) const;
};

/// Makes a look of the files as they are, and knows when they change.
class Loader {
 public:
  Loader(const View& options, const Session& session)
      : options_(options), session_(session), scene_(session.scene), modules_(installedModules()) {
    modules_.insert(modules_.end(), session.plugins.begin(), session.plugins.end());
    watch({});
  }

  bool haveChanged() { return statesOf(files_) != states_; }
  bool areReadable() { return areSettled(statesOf(files_)); }

  /// Reports what is wrong with the scene, and throws what else is; then there is no look.
  std::shared_ptr<Look> load(Diagnostics& diagnostics);

 private:
  /// The scene, the modules and these files.
  void watch(std::set<std::filesystem::path> files) {
    files.insert(scene_);
    files.insert(modules_.begin(), modules_.end());
    files_.swap(files);
  }

  const View& options_;
  const Session& session_;
  const std::filesystem::path& scene_;
  std::vector<std::filesystem::path> modules_;
  std::set<std::filesystem::path> files_;
  FileStates states_;
  std::shared_ptr<const PluginLibrary> library_;
  std::vector<FileState> libraryStates_;
  int count_ = 0;
};

std::shared_ptr<Look> Loader::load(Diagnostics& diagnostics) {
  states_ = statesOf(files_);
  ++count_;
  if (states_[scene_] == FileState()) throw InputError(shownPath(scene_) + ": there is no file");
  std::vector<FileState> moduleStates;
  for (const auto& module : modules_) moduleStates.push_back(states_[module]);
  if (library_ == nullptr || libraryStates_ != moduleStates) {
    library_.reset();
    library_ = std::make_shared<const PluginLibrary>(loadPlugins(session_, LoadFrom::Copy));
    libraryStates_ = moduleStates;
  }
  std::shared_ptr<Look> look;
  diagnostics.attempt([&] {
    const JsonValue source = readSource(scene_, session_.settings, diagnostics);
    watch(filesNamedIn(source, scene_.parent_path()));
    for (const auto& [file, state] : statesOf(files_)) states_.try_emplace(file, state);
    std::erase_if(states_, [&](const auto& state) { return !files_.contains(state.first); });
    Scene scene = sceneOf(source, scene_, session_.settings, diagnostics);
    if (scene.nodes.empty() && !diagnostics.errors().empty()) return;  // what else is wrong follows
    options_.view.applyTo(scene);
    look = std::make_shared<Look>(library_, std::move(scene), options_.view.only, diagnostics);
    if (!diagnostics.errors().empty()) return;
    checkMemory("the pictures", look->loaded.plan.bytes);
    std::string rest;
    for (const auto& module : modules_) rest += states_[module].text();
    // What was read while it changed must not be taken for what it became.
    if (statesOf(files_) != states_) rest += " " + std::to_string(count_);
    look->keys = keysOf(source, look->loaded.scene, look->loaded.plan.pictures, states_, rest);
    look->diagnostics = diagnostics;
  });
  return diagnostics.errors().empty() ? look : nullptr;
}

/// What is wrong, for the page and the terminal; empty as long as nothing is, or not for long.
class Mistakes {
 public:
  /// A page that was open before may still show some.
  explicit Mistakes(EventBoard& board) : board_(board) { publish(); }

  void found(std::vector<std::string> lines) {
    lines_ = std::move(lines);
    since_ = Clock::now();
  }
  /// An editor may empty a file for a moment before it writes.
  void showIfTheyStand() {
    if (lines_ == shown_ || (!lines_.empty() && Clock::now() - since_ < 150ms)) return;
    shown_ = lines_;
    publish();
    for (const std::string& line : shown_) std::cerr << line << "\n";
    if (shown_.empty()) std::cerr << kProgram << ": no errors any more\n";
  }

 private:
  void publish() { board_.publish("errors", "files", {{"of", "files"}, {"lines", shown_}}); }

  EventBoard& board_;
  std::vector<std::string> lines_, shown_;
  Clock::time_point since_;
};

void View::run(Session& session) const {
  // With a heap for each thread, what is loaded anew would leave holes in all of them.
  mallopt(M_ARENA_MAX, 1);
  const auto limit = view.limitThreads();
  Loader loader(*this, session);
  std::shared_ptr<Look> look = loader.load(session.diagnostics);
  session.diagnostics.throwFirst();
  noteInterruptions();
  EventBoard board;
  LiveRenderer renderer(std::move(look), board, view.log());
  const LiveServer server(port, renderer, board);
  std::cout << "http://127.0.0.1:" << server.port() << "/ (Ctrl+C ends it)" << std::endl;

  Mistakes mistakes(board);
  while (interruption == 0) {
    std::this_thread::sleep_for(50ms);
    if (!loader.haveChanged()) {
      mistakes.showIfTheyStand();
    } else if (loader.areReadable()) {
      std::vector<std::string> lines;
      Diagnostics diagnostics;
      try {
        look = loader.load(diagnostics);
        if (look != nullptr) renderer.show(std::move(look));
        for (const SceneError& error : diagnostics.errors()) {
          lines.push_back(diagnostics.lineOf(session.scene, "error", error));
        }
      } catch (const std::exception& e) {
        lines = {e.what()};
      } catch (...) {  // the library's own, whose text is gone with it
        lines = {"the plugin library threw an exception"};
      }
      mistakes.found(std::move(lines));
    }
  }
  // A tile may take long, and so may a browser: they end with the program.
  std::thread([] {
    std::this_thread::sleep_for(200ms);
    std::_Exit(0);
  }).detach();
}

}  // namespace

void addView(CLI::App& program, Session& session) {
  addCommand<View>(program, session, "view",
                   "Show the pictures of a scene in a browser while it is edited");
}

}  // namespace preview
