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
  std::string output;   ///< empty: the texture that the plugin itself is
  std::string setting;  ///< a number of the plugin that is set for this pair, or empty
  std::int32_t setTo;   ///< what it is set to
  std::vector<std::string> inputs;
  std::shared_ptr<PluginInterface> twin;
  std::function<void(std::size_t input, PluginInterface* texture)> connect;  ///< the twin's

  std::string name() const;
};

std::vector<Pair> pairs();

/// Those of the clip planes' twins.
ClipPlanes& clipPlanes();

}  // namespace twins
