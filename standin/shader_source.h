// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

#include "frame/texture_interfaces.h"

/// The accumulators of the stand-in's shader source generator: it writes no source, it records what
/// it was asked for. Texts are the caller's.
namespace QUtils {

class OCLData {
 public:
  std::int32_t requests = 0;
};

class ShaderSource {
 public:
  struct Request {
    const RTTexInterface* asker;
    const PluginInterface* texture;
    const char* outputName;
    const char* secondName;
    const char* descriptorKind;
  };
  std::vector<Request> requests;
  std::int32_t answer = 1;  ///< what the generator answers
};

}  // namespace QUtils
