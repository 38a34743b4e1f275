// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/twins/tex_sampler.h"

namespace twins {

/// An output of the library beside its twin.
struct Pair {
  std::string plugin;
  std::string output;        ///< empty: the texture that the plugin itself is
  std::string setting = {};  ///< a number of the plugin that is set for this pair, or empty
  std::int32_t setTo = 0;    ///< what it is set to
  std::vector<std::string> inputs = {};
  std::shared_ptr<PluginInterface> twin = nullptr;
  std::function<void(std::size_t input, PluginInterface* texture)> connect =
      nullptr;  ///< the twin's

  std::string name() const;
};

/// A plugin's outputs stand in the order in which they lie in its memory.
std::vector<Pair> pairs();

/// The planes of this frame that the twins share; 0 in `computed` begins the next one.
ClipPlanes& clipPlanes();

}  // namespace twins
