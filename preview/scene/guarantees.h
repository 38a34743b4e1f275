// SPDX-License-Identifier: MIT
#pragma once

#include <string>

/// What outputs guarantee beyond a value, and what absent inputs count as. Scenes rely on them as
/// they are, so the exceptions are known rather than mended: `preview/data/outputs.txt` lists them.
namespace preview {

struct Guarantee {
  bool boundsEnclose = true;
  std::string gradient = "exact";  ///< or "differs", or "zero"
};

/// The guarantee of an output, or of a plugin that is itself a texture where `output` is empty.
/// Textures of the host guarantee everything.
Guarantee guaranteeOf(const std::string& plugin, const std::string& output);

/// Whether the outputs of a plugin are known; those of others are held to everything.
bool hasGuarantees(const std::string& plugin);

/// What an input that is not connected counts as, in words; empty if nothing is known of it.
std::string absentInput(const std::string& plugin, const std::string& input);

}  // namespace preview
