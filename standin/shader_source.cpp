// SPDX-License-Identifier: MIT
#include "standin/shader_source.h"

namespace QUtils {

std::int32_t RTTexInterface::getRTTexInterfaceSource(PluginInterface* texture,
                                                     const char* outputName, const char* secondName,
                                                     const char* descriptorKind,
                                                     ShaderSource& source, OCLData& oclData) {
  source.requests.push_back({this, texture, outputName, secondName, descriptorKind});
  ++oclData.requests;
  return source.answer;
}

}  // namespace QUtils
