// SPDX-License-Identifier: MIT
#include "preview/live/open_frame.h"

#include <iostream>
#include <utility>

#include "preview/render/answers.h"

namespace preview {

void OpenFrame::open(const std::shared_ptr<Look>& look, int number) {
  LoadedScene& loaded = look->loaded;
  if (look_ == look) {
    endFrame();
  } else {
    close();
    look_ = look;
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
    (look_->loaded.network.*event)();
  } catch (...) {
    std::cerr << shownPath(look_->loaded.scene.file) + ": error: " + textOfThrown() + "\n";
  }
}

}  // namespace preview
