// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "preview/world/vectors.h"

namespace preview {

/// The faces of a Wavefront OBJ file, cut into triangles, its groups and materials put together.
struct ObjTriangles {
  /// Indices, from 0, of a position, of texture coordinates and of a normal.
  using Corner = std::array<std::uint32_t, 3>;
  /// Of the latter two; of texture coordinates it goes for all corners of a face.
  static constexpr std::uint32_t kNotGiven = 0xFFFF'FFFF;

  std::vector<V3d> positions, uvw, normals;
  std::vector<Corner> corners;  ///< three for each triangle
};

/// Throws InputError, with one line that names the file, if it cannot be used. No other file is
/// opened.
ObjTriangles readObj(const std::filesystem::path& path);

}  // namespace preview
