#pragma once

#include "frame/plugin_desc.h"

namespace samplerinfo {

/// The descriptor of this library. Its destruction empties the registry.
class LibDesc final : public QUtils::PluginLibDesc {
 public:
  ~LibDesc() override;

  const char* getLibraryName() const override;
  const char* getLibraryDescription() const override;
  std::int32_t enumPluginDescs(QUtils::PluginDescVisitor* visitor) const override;
};

}  // namespace samplerinfo
