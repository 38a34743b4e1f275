// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <shared_mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "preview/live/event_board.h"
#include "preview/live/open_frame.h"
#include "preview/live/snapshot.h"
#include "preview/render/frame_files.h"

namespace preview {

/// Renders the frames that are asked for of the newest snapshot, on a thread of its own: what
/// changed since they were rendered, first at a few points, then as the scene says. Frames for
/// which requests wait come first, in turn; then those that were asked for, the last one first.
/// Says on the board:
///   scene    what the page shows of the snapshot
///   picture  that there is a new rendition, with its numbers if it is final
///   errors   what kept it from rendering, which the error stream is told too
///   done     that a frame has all its pictures, and what `check` would warn of there
/// [any thread]
class LiveRenderer {
 public:
  /// So many requests wait at most: one more ends the wait of the first.
  static constexpr std::size_t kMostWaiting = 12;

  /// What is asked for is not there in time, or others wait for too much.
  struct NotYet : std::runtime_error {
    using runtime_error::runtime_error;
  };

  /// `log` may be null. All that is referred to outlives the object.
  LiveRenderer(std::shared_ptr<Snapshot> snapshot, EventBoard& board, RenderLog* log);
  ~LiveRenderer();
  LiveRenderer(const LiveRenderer&) = delete;
  LiveRenderer& operator=(const LiveRenderer&) = delete;

  /// Renders this one from now on.
  void show(std::shared_ptr<Snapshot> snapshot);

  // These wait for what they give, but not for long: then they throw `NotYet`. Without a frame they
  // mean the one that was asked for last. Null if the snapshot has no such thing.

  nlohmann::ordered_json scene();
  /// A PNG file, in the best rendition that there is.
  std::shared_ptr<const std::string> picture(const std::string& name, std::optional<int> asked);
  /// As `probe` answers, of all textures.
  nlohmann::ordered_json probe(int x, int y, std::optional<int> asked);

 private:
  using Clock = std::chrono::steady_clock;

  struct Rendition {
    std::size_t key = 0;  ///< of the snapshot that it is of
    bool isFinal = false;
    std::shared_ptr<const std::string> png;
  };
  struct FramePictures {
    int number;
    std::map<std::string, Rendition> renditions = {};
    bool isWanted = true;  ///< was asked for since the snapshot is shown
    bool isDone = false;
    std::string mistake = {};   ///< why it has not all its pictures
    Clock::duration turn = {};  ///< for which probes of others wait until it is final
  };
  /// Of a request, for a frame.
  struct Wait {
    int frame;
    bool isForPictures;
  };

  /// Of a picture, on the board.
  static std::string nameOf(const FramePictures& frame, const std::string& picture);

  void work();
  void open(const std::shared_ptr<Snapshot>& snapshot, int number);
  void render(int number, bool isFinal);
  void keep(int number, const Picture& picture, bool isFinal, std::string png,
            const PictureNumbers& numbers);
  void inspect(int number);
  void throwIfSuperseded(int number);

  // With `mutex_` locked:
  /// Makes it the one that was asked for last; false if the snapshot has no such frame.
  bool want(int number);
  /// Waits for what the request for a frame needs.
  void await(std::unique_lock<std::mutex>& lock, Wait wait, const std::function<bool()>& isThere);
  FramePictures* find(int number);
  FramePictures* nextToRender();
  void finish(int number, const std::string& mistake);
  void evict();

  EventBoard& board_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::shared_ptr<Snapshot> snapshot_;  ///< the newest
  std::list<FramePictures> frames_;     ///< the one that was asked for last comes first
  std::optional<int> openNumber_;       ///< the frame that can be probed, of the newest snapshot
  std::list<Wait> waiting_;             ///< the first in front
  nlohmann::ordered_json scene_;
  std::set<std::string> mistakes_;  ///< as pages show them
  std::uint64_t versions_;          ///< of pictures and scenes; none comes again after a restart
  Clock::time_point begun_;         ///< when the frame that is rendered had its turn
  bool hasEnded_ = false;

  // Only the thread opens another, with `opening_` locked for that; who shares the lock may probe.
  std::shared_mutex opening_;
  OpenFrame open_;
  bool isAnnounced_ = false;  ///< its snapshot is on the board

  std::thread thread_;
};

}  // namespace preview
