#include "colorops/shader_source_export.h"

#include <cstring>

namespace samplerinfo {

std::int32_t ShaderSourceExport::serve(const char* valueKind, QUtils::PluginInterface* texture,
                                       const Request& request) {
  if (std::strcmp(request.outputName, valueKind) != 0) return 0;
  if (std::strcmp(request.descriptorKind, "MaterialDescriptor") != 0) return 0;
  getRTTexInterfaceSource(texture, request.outputName, request.secondName, request.descriptorKind,
                          request.source, request.oclData);
  return 1;
}

}  // namespace samplerinfo
