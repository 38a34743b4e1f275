// SPDX-License-Identifier: MIT
#pragma once

#include "host/types.h"

namespace QUtils {

class QuorPluginDesc;
class PluginDesc;

/// The host as a plugin kind sees it while it is registered. The table begins with these two
/// operations: there is no virtual destructor. [set-up thread]
class QuorPluginHost {
 public:
  virtual void registerPluginDesc(QuorPluginDesc* desc) = 0;
  virtual void unregisterPluginDesc(QuorPluginDesc* desc) = 0;

 protected:
  ~QuorPluginHost() = default;
};

/// Receives the descriptors of a library, one call each, on the thread that enumerates them.
class PluginDescVisitor {
 public:
  /// Returns non-zero to be given the next descriptor, 0 to stop.
  virtual std::int32_t visitPluginDesc(PluginDesc* desc) = 0;

 protected:
  ~PluginDescVisitor() = default;
};

}  // namespace QUtils
