// SPDX-License-Identifier: MIT
#include "preview/live/open_frame.h"

#include <iostream>
#include <utility>

#include "preview/render/answers.h"

namespace preview {

void OpenFrame::open(const std::shared_ptr<Snapshot>& snapshot, int number) {
  LoadedScene& loaded = snapshot->loaded;
  if (snapshot_ == snapshot) {
    endFrame();
  } else {
    close();
    snapshot_ = snapshot;
    textures_ = expectationsOf(loaded.network, loaded.scene.nodes);
    renderHasBegun_ = true;
    loaded.network.renderBegin();
  }
  frame_.emplace(loaded.scene, *loaded.geometry, number, log_);
  frameHasBegun_ = true;
  loaded.network.frameBegin();
}

void OpenFrame::close() {
  endFrame();
  end(renderHasBegun_, &Network::renderEnd);
}

void OpenFrame::endFrame() {
  end(frameHasBegun_, &Network::frameEnd);
  frame_.reset();
}

void OpenFrame::end(bool& hasBegun, void (Network::*event)() const) {
  if (!std::exchange(hasBegun, false)) return;
  try {
    (snapshot_->loaded.network.*event)();
  } catch (...) {
    std::cerr << shownPath(snapshot_->loaded.scene.file) + ": error: " + textOfThrown() + "\n";
  }
}

}  // namespace preview
