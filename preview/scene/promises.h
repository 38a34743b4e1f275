// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string_view>

/// What outputs promise beyond a value. Scenes rely on them as they are, so the exceptions are
/// known rather than mended.
namespace preview {

enum class GradientIs {
  Exact,    ///< the change of the value per unit of length
  Differs,  ///< another formula than the value's
  Zero,     ///< whatever the value does
};

inline const char* nameOf(GradientIs gradient) {
  constexpr const char* kNames[] = {"exact", "differs", "zero"};
  return kNames[static_cast<std::size_t>(gradient)];
}

struct Promise {
  bool boundsEnclose = true;
  GradientIs gradient = GradientIs::Exact;
};

/// The promise of an output, or of a plugin that is itself a texture where `output` is empty. That
/// of textures of the host is kept in full.
Promise promiseOf(std::string_view plugin, std::string_view output);

}  // namespace preview
