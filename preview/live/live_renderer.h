// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "preview/live/event_board.h"
#include "preview/live/look.h"
#include "preview/render/frame_files.h"
#include "preview/render/inspection.h"

namespace preview {

/// Renders the frames that are asked for of the newest look, on a thread of its own: what changed
/// since they were rendered, first at a few points, then as the scene says. Says on the board:
///   scene    what the page shows of the look
///   picture  that there is a new rendition, with its numbers if it is final
///   errors   what kept it from rendering
///   done     that a frame has all its pictures, and what `check` would warn of there
/// [any thread]
class LiveRenderer {
 public:
  /// `log` may be null. All that is referred to outlives the object.
  LiveRenderer(std::shared_ptr<Look> look, EventBoard& board, RenderLog* log);
  ~LiveRenderer();
  LiveRenderer(const LiveRenderer&) = delete;
  LiveRenderer& operator=(const LiveRenderer&) = delete;

  /// Renders this one from now on.
  void show(std::shared_ptr<Look> look);

  // These wait for what they give, but not for long; without a frame they mean the one that was
  // asked for last. Null if there is no such thing.

  nlohmann::ordered_json scene();
  /// A PNG file, in the best rendition that there is.
  std::shared_ptr<const std::string> picture(const std::string& name, std::optional<int> number);
  /// As `probe` answers, of all textures.
  nlohmann::ordered_json probe(int x, int y, std::optional<int> number);

 private:
  struct Rendition {
    std::size_t key = 0;  ///< of the look that it is of
    bool isFinal = false;
    std::shared_ptr<const std::string> png;
  };
  struct FramePictures {
    int number;
    std::map<std::string, Rendition> renditions = {};
    bool isDone = false;
  };
  struct Superseded {};

  void work();
  void open(const std::shared_ptr<Look>& look, int number);
  void close();
  void render(int number, bool isFinal);
  void keep(int number, const Picture& picture, bool isFinal, std::string png,
            const PictureNumbers& numbers);
  void inspect(int number);
  void throwIfSuperseded();

  // With `mutex_` locked:
  bool ask(std::optional<int>& number);
  FramePictures* find(int number);
  FramePictures* nextToRender();
  void forget(const FramePictures& frame, const std::string& name);

  EventBoard& board_;
  RenderLog* log_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::shared_ptr<Look> look_;       ///< the newest
  std::list<FramePictures> frames_;  ///< the one that was asked for last comes first
  std::optional<int> openNumber_;    ///< the frame that can be probed, if it is of the newest look
  nlohmann::ordered_json scene_;
  std::uint64_t versions_;   ///< of pictures and scenes; none comes again after a restart
  bool isToSwitch_ = false;  ///< another frame than the one that is open was asked for
  bool hasEnded_ = false;

  // What is open: only the thread changes it, with `opening_` locked for that; who shares the lock
  // may probe it.
  std::shared_mutex opening_;
  std::shared_ptr<Look> openLook_;
  std::optional<Frame> frame_;
  std::vector<Expectation> textures_;

  std::thread thread_;
};

}  // namespace preview
