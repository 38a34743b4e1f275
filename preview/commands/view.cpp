// SPDX-License-Identifier: MIT
#include <malloc.h>

#include <chrono>
#include <iostream>
#include <nlohmann/json.hpp>
#include <thread>

#include "preview/commands/options.h"
#include "preview/live/event_board.h"
#include "preview/live/live_renderer.h"
#include "preview/live/live_server.h"
#include "preview/live/snapshot_loader.h"
#include "preview/system/interruption.h"

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
    command.footer(
        "Plugin libraries are loaded from copies in the folder that TMPDIR names, or /tmp, since "
        "a\n"
        "linker may write into the file itself: one finds by $ORIGIN what stands in its own "
        "folder,\n"
        "not what $ORIGIN/.. leads to.\n\n" +
        command.get_footer());
    constexpr int kMaxPort = 65535;
    command.add_option("--port", port, "Where to serve the page; 0 takes any free port")
        ->capture_default_str()
        ->check(CLI::Range(0, kMaxPort));
  }

  void run(Session& session) const;
};

/// What is wrong, for the page and the terminal; empty as long as nothing is, or not for long.
class Mistakes {
 public:
  /// A page that was open before may still show some.
  explicit Mistakes(EventBoard& board) : board_(board) { publish(); }

  void found(std::vector<std::string> lines) {
    if (lines == lines_) return;  // they stand although the file was saved again
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
  noteInterruptions();
  // A mesh may take long, and so may a tile or a browser: they end with the program.
  std::thread([] {
    while (interruption == 0) std::this_thread::sleep_for(50ms);
    std::this_thread::sleep_for(200ms);
    std::_Exit(0);
  }).detach();
  // What is loaded anew would leave holes in the heap of each thread; and larger blocks go back to
  // the system when they are freed only if this limit, glibc's own, does not rise.
  constexpr int kLargeBlock = 128 * 1024;
  mallopt(M_ARENA_MAX, 1);
  mallopt(M_MMAP_THRESHOLD, kLargeBlock);
  const auto limit = view.limitThreads();
  std::vector<std::filesystem::path> modules = installedModules();
  modules.insert(modules.end(), session.plugins.begin(), session.plugins.end());
  SnapshotLoader loader({.scene = session.scene,
                         .settings = session.settings,
                         .only = view.only,
                         .modules = modules,
                         .loadPlugins = [&] { return loadPlugins(session, LoadFrom::Copy); },
                         .adjust = [&](Scene& scene) { view.applyTo(scene); }});
  std::shared_ptr<Snapshot> snapshot = loader.load(session.diagnostics);
  session.diagnostics.throwFirst();
  EventBoard board;
  LiveRenderer renderer(std::move(snapshot), board, view.log());
  const LiveServer server(port, renderer, board);
  std::cout << "http://127.0.0.1:" << server.port() << "/ (Ctrl+C ends it)" << std::endl;

  Mistakes mistakes(board);
  while (interruption == 0) {
    std::this_thread::sleep_for(50ms);
    if (loader.haveChanged()) {
      if (!loader.areReadable()) continue;
      std::vector<std::string> lines;
      Diagnostics diagnostics;
      try {
        snapshot = loader.load(diagnostics);
        if (snapshot != nullptr) renderer.show(std::move(snapshot));
        for (const SceneError& error : diagnostics.errors()) {
          lines.push_back(diagnostics.lineOf(session.scene, "error", error));
        }
      } catch (...) {
        lines = {textOfThrown()};
      }
      mistakes.found(std::move(lines));
    }
    mistakes.showIfTheyStand();
  }
}

}  // namespace

void addView(CLI::App& program, Session& session) {
  addCommand<View>(program, session, "view",
                   "Show the pictures of a scene in a browser while it is edited");
}

}  // namespace preview
