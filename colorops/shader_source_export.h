#pragma once

#include "frame/texture_interfaces.h"

namespace samplerinfo {

/// The side of an object that the host's GPU renderer talks to. This library writes no shader
/// source: for values of one kind, in a material, it has the host's own generator make that of a
/// texture.
class ShaderSourceExport : public QUtils::RTTexInterface {
 public:
  void* getShaderInfo() override { return nullptr; }
  void setShaderInfo(void* /*info*/) override {}

 protected:
  /// What the host asks for.
  struct Request {
    const char* outputName;
    const char* secondName;
    const char* descriptorKind;
    QUtils::ShaderSource& source;
    QUtils::OCLData& oclData;
  };

  /// Hands `request` on for `texture`, which may be null, if it is for values of kind `valueKind`.
  /// Returns 1 then, whatever the generator answers, else 0.
  std::int32_t serve(const char* valueKind, QUtils::PluginInterface* texture,
                     const Request& request);
};

}  // namespace samplerinfo
