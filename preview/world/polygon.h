// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "preview/world/vectors.h"

namespace preview {

/// Three indices, counter-clockwise as seen from the front.
using Triangle = std::array<std::uint32_t, 3>;

/// Cuts a simple polygon into triangles, which turn as it does. It may be concave, and bent: what
/// counts is how it looks along its normal (Newell's, the sum over its edges). Where it is bent so
/// much that it crosses itself as seen from there, some triangles face backward. Takes the square
/// of the number of corners. Throws `std::invalid_argument` for one that lies in a line, or that is
/// flat and crosses or touches itself.
std::vector<Triangle> triangulate(std::span<const V3d> corners);

}  // namespace preview
