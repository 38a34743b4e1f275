#pragma once

#include <cstring>

namespace samplerinfo {

/// Whether the host, asking for `outputName` in a descriptor of kind `descriptorKind`, wants values
/// of kind `valueKind` for a material: the only shader source that this library hands out.
inline bool asksMaterialFor(const char* valueKind, const char* outputName,
                            const char* descriptorKind) {
  return std::strcmp(outputName, valueKind) == 0 &&
         std::strcmp(descriptorKind, "MaterialDescriptor") == 0;
}

}  // namespace samplerinfo
