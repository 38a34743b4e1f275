// SPDX-License-Identifier: MIT
#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "host/types.h"

/// What a scene file says, checked and with the defaults filled in. Lengths and positions are in
/// world space unless said otherwise; world space is right-handed with y up.
namespace preview {

using namespace QUtils;  // the host's types, for all of the preview

struct Image {
  std::int32_t width = 320, height = 240;  ///< pixels
  std::int32_t samples = 4;                ///< per pixel
};

/// The frames of the scene, both included. Frame times are these numbers.
struct Frames {
  std::int32_t first = 1, last = 1;

  std::int32_t count() const { return last - first + 1; }
};

/// The ray times between which the samples of a frame lie, within [0, 1].
struct Shutter {
  double open = 0, close = 1;

  double middle() const { return (open + close) / 2; }
};

struct CameraKey {
  DVector position = {0, 0, 5};
  DVector target = {0, 0, 0};
  Vector up = {0, 1, 0};
};

/// A camera that looks down its negative z axis. It stands at the first key at ray time 0 of the
/// first frame and at the second key at ray time 1 of the last; with one key it stands still.
struct Camera {
  double fov = 40;  ///< vertical angle of view, degrees
  std::vector<CameraKey> keys = {CameraKey{}};
};

// Shapes, in object space and around its origin. The uv coordinates run over [0, 1].
// NOLINTBEGIN(modernize-use-nullptr): the check takes the 0 of `<=>` for a pointer

struct Sphere {
  double radius = 1;  ///< u around the y axis, v from the south pole to the north
  auto operator<=>(const Sphere&) const = default;
};
struct Plane {
  double width = 1, depth = 1;  ///< along x and z, facing +y; u along x, v along -z
  auto operator<=>(const Plane&) const = default;
};
struct Box {
  double width = 1, height = 1, depth = 1;  ///< along x, y and z; each face has the whole uv square
  auto operator<=>(const Box&) const = default;
};
struct Torus {
  double radius = 1, tube = 0.25;  ///< around the y axis; u around the axis, v around the tube
  auto operator<=>(const Torus&) const = default;
};
struct ObjFile {
  std::filesystem::path path;  ///< an existing file; its vt coordinates are the uv coordinates
  auto operator<=>(const ObjFile&) const = default;
};
// NOLINTEND(modernize-use-nullptr)
using Shape = std::variant<Sphere, Plane, Box, Torus, ObjFile>;

struct Object {
  std::string name;
  std::string place;  ///< in the file, as in "objects.ball"
  Shape shape;
  PreciseTransform toWorld = {
      {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {}};  ///< of object space, invertible
  std::int32_t materialId = 0;

  // What the object and its surface offer to textures.
  bool hasObjectSpace = true;
  bool hasUvw = true;
  bool hasMaterialId = true;
};

/// An output of a node, or the node itself where `output` is empty.
struct Reference {
  std::string node, output;

  std::string text() const { return output.empty() ? node : node + "." + output; }
};

/// A text is a word or the path of a file, for textures of the host alone.
using ParameterValue = std::variant<bool, double, Vector, AColor, Reference, std::string>;

struct Parameter {
  std::string name;
  std::string place;  ///< in the file, as in "nodes.tint.params.mode"
  ParameterValue value;
  std::string written;  ///< the value as messages show it
};

struct Node {
  std::string name;
  std::string place;   ///< in the file, as in "nodes.tint"
  std::string plugin;  ///< a kind of plugin, or a texture of the host
  std::vector<Parameter> parameters;
  bool complete = true;  ///< false if something of it was wrong and is left out
};

/// A value that the command line gives a parameter, in the place of what the file says: as in the
/// file, or a text without its quotes.
struct Setting {
  std::string node, parameter, value;

  std::string text() const { return node + "." + parameter + "=" + value; }
};

/// What a picture shows of a texture; the last four are for transforms alone.
enum class Show { Value, Lower, Upper, Gradient, Column0, Column1, Column2, Offset };
inline constexpr const char* kShowNames[] = {"value",   "lower",   "upper",   "gradient",
                                             "column0", "column1", "column2", "offset"};

inline const char* nameOf(Show show) { return kShowNames[static_cast<std::size_t>(show)]; }

/// In the place of an output's name in a picture: those that the other pictures leave out.
inline constexpr const char* kEveryOutput = "*";

struct Picture {
  std::string name;   ///< the name of its file; of every output: what the names begin with
  std::string place;  ///< in the file, as in "pictures.facing"
  Reference from;
  Show show = Show::Value;
  double low = 0, high = 1;  ///< the values that become black and white
  bool isLinear = false;     ///< the codes of its PNG file; otherwise they are those of sRGB
  std::string caption;
};

struct Scene {
  std::filesystem::path file;
  std::vector<Setting> settings;  ///< what the rest has from the command line
  Image image;
  Frames frames;
  Shutter shutter;
  Camera camera;
  DVector worldOffset = {};  ///< world position of the origin of render space
  std::vector<Object> objects;
  std::vector<Node> nodes;
  std::vector<Picture> pictures;
};

}  // namespace preview
