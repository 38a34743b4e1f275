// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "preview/live/snapshot.h"
#include "preview/render/inspection.h"

namespace preview {

/// A frame of a snapshot, begun for its plugins, that can be rendered and probed. What they throw
/// when it ends goes to the error stream: it must not keep the next from being opened.
/// [one thread opens and closes; in between any may read it]
class OpenFrame {
 public:
  /// `log` may be null and is not owned.
  explicit OpenFrame(RenderLog* log) : log_(log) {}
  ~OpenFrame() { close(); }
  OpenFrame(const OpenFrame&) = delete;
  OpenFrame& operator=(const OpenFrame&) = delete;

  /// Opens one in the place of the former; if it throws, none is open.
  void open(const std::shared_ptr<Snapshot>& snapshot, int number);
  void close();

  /// That of the frame that was opened last; null at first.
  const std::shared_ptr<Snapshot>& snapshot() const { return snapshot_; }

  // Of the one that is open:
  const Frame& frame() const { return *frame_; }
  const std::vector<Expectation>& textures() const { return textures_; }

 private:
  void endFrame();
  void end(bool& hasBegun, void (Network::*event)() const);

  RenderLog* log_;
  std::shared_ptr<Snapshot> snapshot_;
  std::optional<Frame> frame_;
  std::vector<Expectation> textures_;
  bool renderHasBegun_ = false, frameHasBegun_ = false;
};

}  // namespace preview
