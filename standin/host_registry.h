#pragma once

#include <algorithm>
#include <vector>

#include "frame/plugin_desc.h"
#include "host/plugin_host.h"

namespace standin {

/// A host that keeps the descriptors registered with it, in that order. Owns none of them.
class HostRegistry final : public QUtils::QuorPluginHost {
 public:
  void registerPluginDesc(QUtils::QuorPluginDesc* desc) override { descs.push_back(desc); }
  void unregisterPluginDesc(QUtils::QuorPluginDesc* desc) override { std::erase(descs, desc); }

  std::vector<QUtils::QuorPluginDesc*> descs;
};

}  // namespace standin
