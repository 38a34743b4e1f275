// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>

#include "preview/scene/network.h"
#include "preview/world/frame.h"

namespace preview {

struct Probe {
  std::int32_t frame;
  int x, y;  ///< pixels
  std::vector<std::string> patterns;
  bool json;
};

/// Value, bounds and gradient of the textures of the network whose names fit one of the patterns,
/// all if there are none, for the middle of a pixel and of the shutter interval; where they fall
/// short of what they guarantee is marked.
void probe(const Scene& scene, const Network& network, const Frame& frame, const Probe& what,
           std::ostream& out);

}  // namespace preview
