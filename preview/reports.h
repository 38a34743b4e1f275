// SPDX-License-Identifier: MIT
#pragma once

#include <ostream>

#include "preview/scene/network.h"
#include "preview/world/frame.h"

/// What the program says in words.
namespace preview {

enum class Listing { Text, Markdown, Json };

/// The plugins of the library with their parameters, as registered: those whose names fit one of
/// `patterns`, all if there are none. In Markdown with what outputs promise.
void listPlugins(const PluginLibrary& library, const std::vector<std::string>& patterns, Listing as,
                 std::ostream& out);

struct Probe {
  std::int32_t frame;
  int x, y;  ///< pixels
  std::vector<std::string> patterns;
  bool json;
};

/// Value, bounds and gradient of the textures of the network whose names fit one of the patterns,
/// all if there are none, for the middle of a pixel and of the shutter interval; where they fall
/// short of what they promise is marked.
void probe(const Scene& scene, const Network& network, const Frame& frame, const Probe& what,
           std::ostream& out);

}  // namespace preview
