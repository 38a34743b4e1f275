// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

/// The host's value types and identifiers. All are plain records whose layout is part of the
/// contract with the host.
namespace QUtils {

/// Three 32-bit floats: a position, a direction or a gradient.
struct Vector {
  float x, y, z;
};

/// Three 64-bit floats: a position that the host keeps in double precision.
struct DVector {
  double x, y, z;
};

/// A linear colour with alpha. Not premultiplied: no colour channel is scaled by the alpha.
struct AColor {
  float r, g, b, a;
};

/// Maps p to c0·p.x + c1·p.y + c2·p.z + offset: a 3x3 matrix held as its three columns, and an
/// offset.
struct Transform {
  Vector c0, c1, c2;
  Vector offset;
};

/// A `Transform` whose offset is kept in double precision.
struct PreciseTransform {
  Vector c0, c1, c2;
  DVector offset;
};

static_assert(sizeof(Vector) == 12 && sizeof(DVector) == 24 && sizeof(AColor) == 16);
static_assert(sizeof(Transform) == 48 && sizeof(PreciseTransform) == 64);

/// Names an interface; all 64 bits are compared.
using InterfaceId = std::uint64_t;

inline constexpr InterfaceId EXT_QUOR_PLUGIN = 0x7776FFFF;
inline constexpr InterfaceId EXT_TEXTURE = 0x77780002;
inline constexpr InterfaceId EXT_TEXTURE_FLOAT = 0x7782F8E5;
inline constexpr InterfaceId EXT_TEXTURE_VECTOR = 0x7782F8E6;
inline constexpr InterfaceId EXT_TEXTURE_TRANSFORM = 0x7782F8E9;
inline constexpr InterfaceId EXT_TEXTURE_INT = 0x7782F8EA;
inline constexpr InterfaceId EXT_RTTEX = 0x77CFFFA6;

/// Interfaces of the host's own objects, which this library asks for.
inline constexpr InterfaceId EXT_UVW_SOURCE = 0x77780010;
inline constexpr InterfaceId EXT_MATERIAL_ID_SOURCE = 0x77790010;
inline constexpr InterfaceId EXT_OBJECT_SPACE_MAPPING = 0x77915061;

// Host types that this library only passes on.
class QuorRenderer;
class ShaderSource;
class OCLData;

}  // namespace QUtils
