#include "preview/scene_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <initializer_list>
#include <limits>
#include <nlohmann/json.hpp>
#include <numbers>
#include <set>
#include <system_error>

#include "math/vector.h"
#include "preview/errors.h"
#include "preview/suggestion.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kMaxLength = 1e6;        // of world space
constexpr double kMaxPosition = 1e9;      // of world space
constexpr std::size_t kMaxName = 64;      // letters
constexpr std::size_t kMaxCaption = 400;  // bytes
constexpr std::size_t kMaxNodes = 1000;   // an evaluation may go through all of them
constexpr double kLargestFloat = std::numeric_limits<float>::max();

std::string shortened(const std::string& text) {
  constexpr std::size_t kMax = 40;
  return text.size() <= kMax ? text : text.substr(0, kMax) + "...";
}

/// A value in the file, and where it stands there.
class Item {
 public:
  Item(const Json& value, std::string place) : value_(&value), place_(std::move(place)) {}

  const std::string& place() const { return place_; }

  [[noreturn]] void fail(const std::string& text) const { throw SceneError(place_, text); }

  [[noreturn]] void failExpecting(const std::string& what) const {
    std::string found = "a list";
    if (value_->is_object()) found = "an object";
    if (value_->is_primitive()) {
      found = shortened(value_->dump(-1, ' ', true));
    }
    fail("expected " + what + ", found " + found);
  }

  /// The members of an object. Without `keys`, any names may occur.
  std::vector<std::pair<std::string, Item>> members(
      std::initializer_list<const char*> keys = {}) const {
    if (!value_->is_object()) failExpecting("an object");
    std::vector<std::pair<std::string, Item>> result;
    for (const auto& [key, value] : value_->items()) {
      const Item member(value, place_.empty() ? key : place_ + "." + key);
      if (keys.size() != 0 && std::find(keys.begin(), keys.end(), key) == keys.end()) {
        member.fail("unknown key" + suggestion(key, {keys.begin(), keys.end()}));
      }
      result.emplace_back(key, member);
    }
    return result;
  }

  std::vector<Item> elements() const {
    if (!value_->is_array()) failExpecting("a list");
    std::vector<Item> result;
    for (std::size_t i = 0; i < value_->size(); ++i) {
      result.emplace_back((*value_)[i], place_ + "[" + std::to_string(i) + "]");
    }
    return result;
  }

  bool isList() const { return value_->is_array(); }
  bool isText() const { return value_->is_string(); }
  bool isBoolean() const { return value_->is_boolean(); }
  bool isNumber() const { return value_->is_number(); }

  bool boolean() const {
    if (!value_->is_boolean()) failExpecting("true or false");
    return value_->get<bool>();
  }

  std::string text() const {
    if (!value_->is_string()) failExpecting("a text");
    return value_->get<std::string>();
  }

  double number(double min, double max) const {
    if (!value_->is_number()) failExpecting("a number");
    const double number = value_->get<double>();
    if (!(number >= min && number <= max)) {
      failExpecting("a number from " + Json(min).dump() + " to " + Json(max).dump());
    }
    return number;
  }

  std::int32_t integer(std::int32_t min, std::int32_t max) const {
    // A number beyond 64 bits is held as a floating-point number.
    const bool fits = value_->is_number_integer() &&
                      (!value_->is_number_unsigned() || value_->get<std::uint64_t>() <= INT32_MAX);
    if (!fits || value_->get<std::int64_t>() < min || value_->get<std::int64_t>() > max) {
      failExpecting("a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return value_->get<std::int32_t>();
  }

  /// A list of that many numbers, each within ±`limit`.
  std::vector<double> numbers(std::size_t count, double limit) const {
    if (!value_->is_array() || value_->size() != count) {
      failExpecting("a list of " + std::to_string(count) + " numbers");
    }
    std::vector<double> result;
    for (const Item& element : elements()) result.push_back(element.number(-limit, limit));
    return result;
  }

  QUtils::DVector dvector(double limit) const {
    const std::vector<double> v = numbers(kVectorSize, limit);
    return {v[0], v[1], v[2]};
  }

 private:
  const Json* value_;
  std::string place_;
};

/// Refuses the second of two members of the same name, which the parser alone would let win.
class DuplicateCheck {
 public:
  bool operator()(int /*depth*/, Json::parse_event_t event, const Json& parsed) {
    switch (event) {
      case Json::parse_event_t::object_start:
        open_.emplace_back();
        break;
      case Json::parse_event_t::object_end:
        open_.pop_back();
        break;
      case Json::parse_event_t::key: {
        open_.back().current = parsed.get<std::string>();
        if (!open_.back().seen.insert(open_.back().current).second) fail();
        break;
      }
      default:
        break;
    }
    return true;
  }

 private:
  struct Level {
    std::set<std::string> seen;
    std::string current;
  };

  [[noreturn]] void fail() const {
    std::string place;
    for (const Level& level : open_) place += (place.empty() ? "" : ".") + level.current;
    throw SceneError(place, "occurs twice");
  }

  std::vector<Level> open_;
};

Json parse(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream || std::filesystem::is_directory(file)) throw SceneError("", "cannot be read");
  try {
    return Json::parse(stream, DuplicateCheck(), true, true);
  } catch (const Json::exception& e) {
    // "[json.exception.parse_error.101] parse error at line 1, column 2: ..."
    const std::string text = e.what();
    const std::size_t prefix = text.find("] ");
    throw SceneError("", prefix == std::string::npos ? text : text.substr(prefix + 2));
  }
}

/// Names of nodes, objects and pictures go into references, files and layers.
void checkName(const std::string& name, const Item& item) {
  const auto allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
  };
  if (name.empty() || name.size() > kMaxName || !std::all_of(name.begin(), name.end(), allowed)) {
    item.fail("a name is up to " + std::to_string(kMaxName) +
              R"( letters, digits, "_" and "-" long)");
  }
}

Image readImage(const Item& item) {
  Image image;
  for (const auto& [key, value] : item.members({"width", "height", "samples"})) {
    if (key == "width") image.width = value.integer(1, kMaxImageSide);
    if (key == "height") image.height = value.integer(1, kMaxImageSide);
    if (key == "samples") image.samples = value.integer(1, kMaxSamples);
  }
  return image;
}

Frames readFrames(const Item& item) {
  Frames frames;
  for (const auto& [key, value] : item.members({"first", "last"})) {
    if (key == "first") frames.first = value.integer(0, kMaxFrame);
    if (key == "last") frames.last = value.integer(0, kMaxFrame);
  }
  if (frames.last < frames.first) item.fail("the last frame comes before the first");
  return frames;
}

Shutter readShutter(const Item& item) {
  Shutter shutter;
  for (const auto& [key, value] : item.members({"open", "close"})) {
    if (key == "open") shutter.open = value.number(0, 1);
    if (key == "close") shutter.close = value.number(0, 1);
  }
  if (shutter.close < shutter.open) item.fail("closes before it opens");
  return shutter;
}

CameraKey readCameraKey(const Item& item) {
  CameraKey key;
  for (const auto& [name, value] : item.members({"position", "target", "up"})) {
    if (name == "position") key.position = value.dvector(kMaxPosition);
    if (name == "target") key.target = value.dvector(kMaxPosition);
    if (name == "up") {
      const QUtils::DVector up = value.dvector(kMaxLength);
      key.up = {static_cast<float>(up.x), static_cast<float>(up.y), static_cast<float>(up.z)};
    }
  }
  const QUtils::DVector& p = key.position;
  const QUtils::DVector& t = key.target;
  const QUtils::DVector view = {t.x - p.x, t.y - p.y, t.z - p.z};
  const QUtils::Vector& up = key.up;
  const double length = std::hypot(view.x, view.y, view.z);
  const double across = std::hypot(view.y * up.z - view.z * up.y, view.z * up.x - view.x * up.z,
                                   view.x * up.y - view.y * up.x);
  if (length < 1e-6) item.fail("the camera stands at its target");
  if (across < 1e-6 * length * std::hypot(up.x, up.y, up.z) || across == 0) {
    item.fail(R"("up" is zero or along the view)");
  }
  return key;
}

Camera readCamera(const Item& item) {
  Camera camera;
  for (const auto& [key, value] : item.members({"fov", "keys"})) {
    if (key == "fov") camera.fov = value.number(0.1, 170);
    if (key == "keys") {
      camera.keys.clear();
      for (const Item& element : value.elements()) camera.keys.push_back(readCameraKey(element));
      if (camera.keys.empty() || camera.keys.size() > 2) value.fail("expected one or two keys");
    }
  }
  return camera;
}

Shape readShape(const Item& item, const std::filesystem::path& folder) {
  const auto length = [](const Item& value) { return value.number(1e-6, kMaxLength); };
  const std::array kinds = {"sphere", "plane", "box", "torus", "obj"};
  const auto members = item.members();
  if (members.size() != 1) item.fail("expected one shape");
  const auto& [kind, shape] = members.front();
  if (kind == "sphere") {
    Sphere sphere;
    for (const auto& [key, value] : shape.members({"radius"})) sphere.radius = length(value);
    return sphere;
  }
  if (kind == "plane") {
    Plane plane;
    for (const auto& [key, value] : shape.members({"width", "depth"})) {
      (key == "width" ? plane.width : plane.depth) = length(value);
    }
    return plane;
  }
  if (kind == "box") {
    Box box;
    for (const auto& [key, value] : shape.members({"width", "height", "depth"})) {
      (key == "width" ? box.width : key == "height" ? box.height : box.depth) = length(value);
    }
    return box;
  }
  if (kind == "torus") {
    Torus torus;
    for (const auto& [key, value] : shape.members({"radius", "tube"})) {
      (key == "radius" ? torus.radius : torus.tube) = length(value);
    }
    return torus;
  }
  if (kind == "obj") {
    ObjFile file{folder / shape.text()};
    std::error_code unusable;
    if (!std::filesystem::is_regular_file(file.path, unusable)) {
      shape.fail("no file \"" + file.path.string() + "\"");
    }
    return file;
  }
  item.fail("no shape \"" + shortened(kind) + "\"" +
            suggestion(kind, {kinds.begin(), kinds.end()}));
}

/// Scales, then turns around the x, the y and the z axis, then moves.
struct Placement {
  QUtils::DVector scale = {1, 1, 1};
  QUtils::DVector degrees = {};
  QUtils::DVector translation = {};

  QUtils::PreciseTransform toTransform() const {
    const auto radians = [](double angle) { return angle * std::numbers::pi / 180; };
    const double sx = std::sin(radians(degrees.x)), cx = std::cos(radians(degrees.x));
    const double sy = std::sin(radians(degrees.y)), cy = std::cos(radians(degrees.y));
    const double sz = std::sin(radians(degrees.z)), cz = std::cos(radians(degrees.z));
    const auto column = [](double x, double y, double z, double factor) {
      return QUtils::toFloat({x * factor, y * factor, z * factor});
    };
    return {column(cz * cy, sz * cy, -sy, scale.x),
            column(cz * sy * sx - sz * cx, sz * sy * sx + cz * cx, cy * sx, scale.y),
            column(cz * sy * cx + sz * sx, sz * sy * cx - cz * sx, cy * cx, scale.z), translation};
  }
};

QUtils::PreciseTransform readTransform(const Item& item) {
  constexpr double kSmallest = 1e-6;
  Placement placement;
  for (const auto& [key, value] : item.members({"scale", "rotate", "translate"})) {
    if (key == "rotate") placement.degrees = value.dvector(kMaxLength);
    if (key == "translate") placement.translation = value.dvector(kMaxPosition);
    if (key == "scale" && !value.isList()) {
      const double factor = value.number(kSmallest, kMaxLength);
      placement.scale = {factor, factor, factor};
    }
    if (key == "scale" && value.isList()) {
      placement.scale = value.dvector(kMaxLength);
      if (std::min({placement.scale.x, placement.scale.y, placement.scale.z}) < kSmallest) {
        value.fail("expected positive numbers");
      }
    }
  }
  return placement.toTransform();
}

Object readObject(const std::string& name, const Item& item, const std::filesystem::path& folder) {
  checkName(name, item);
  Object object{
      .name = name, .place = item.place(), .shape = {}, .toWorld = Placement().toTransform()};
  bool hasShape = false;
  for (const auto& [key, value] :
       item.members({"shape", "transform", "material_id", "object_space", "uvw"})) {
    if (key == "shape") {
      object.shape = readShape(value, folder);
      hasShape = true;
    }
    if (key == "transform") object.toWorld = readTransform(value);
    if (key == "material_id" && value.isBoolean()) {
      if (value.boolean()) value.failExpecting("a whole number or false");
      object.hasMaterialId = false;
    } else if (key == "material_id") {
      object.materialId = value.integer(INT32_MIN, INT32_MAX);
    }
    if (key == "object_space") object.hasObjectSpace = value.boolean();
    if (key == "uvw") object.hasUvw = value.boolean();
  }
  if (!hasShape) item.fail(R"("shape" is missing)");
  return object;
}

Reference readReference(const Item& item) {
  const std::string text = item.text();
  const std::size_t dot = text.find('.');
  Reference reference{text.substr(0, dot), dot == std::string::npos ? "" : text.substr(dot + 1)};
  if (reference.node.empty() || reference.text() != text) {
    item.failExpecting(R"("node" or "node.output")");
  }
  return reference;
}

Parameter readParameter(const std::string& name, const Item& item) {
  if (item.isBoolean()) return {name, item.boolean()};
  if (item.isNumber()) return {name, item.number(-kLargestFloat, kLargestFloat)};
  if (item.isText()) return {name, readReference(item)};
  if (!item.isList()) {
    item.failExpecting(R"(a number, true or false, a list of numbers, "node" or "node.output")");
  }
  const std::size_t count = item.elements().size();
  return {name, item.numbers(count == kColorSize ? kColorSize : kVectorSize, kLargestFloat)};
}

Node readNode(const std::string& name, const Item& item) {
  checkName(name, item);
  if (name == kCoverageLayer) item.fail("the coverage of the pixels has this name");
  Node node{.name = name, .place = item.place(), .plugin = {}, .parameters = {}};
  for (const auto& [key, value] : item.members({"plugin", "params"})) {
    if (key == "plugin") {
      node.plugin = value.text();
      if (node.plugin.empty()) value.failExpecting("the name of a plugin");
    }
    if (key == "params") {
      for (const auto& [parameter, content] : value.members()) {
        node.parameters.push_back(readParameter(parameter, content));
      }
    }
  }
  if (node.plugin.empty()) item.fail(R"("plugin" is missing)");
  return node;
}

Show readShow(const Item& item) {
  const std::string text = item.text();
  const auto name = std::find(std::begin(kShowNames), std::end(kShowNames), text);
  if (name == std::end(kShowNames)) {
    item.fail("cannot show \"" + shortened(text) + "\"" +
              suggestion(text, {std::begin(kShowNames), std::end(kShowNames)}));
  }
  return static_cast<Show>(name - std::begin(kShowNames));
}

Picture readPicture(const std::string& name, const Item& item) {
  checkName(name, item);
  if (name == "contact_sheet") item.fail("the contact sheet has this name");
  Picture picture{.name = name, .place = item.place(), .from = {}, .caption = {}};
  for (const auto& [key, value] : item.members({"from", "show", "range", "caption"})) {
    if (key == "from") picture.from = readReference(value);
    if (key == "show") picture.show = readShow(value);
    if (key == "caption") {
      picture.caption = value.text();
      if (picture.caption.size() > kMaxCaption) {
        value.fail("a caption is up to " + std::to_string(kMaxCaption) + " bytes long");
      }
    }
    if (key == "range") {
      const std::vector<double> range = value.numbers(2, kLargestFloat);
      if (range[0] == range[1]) value.fail("the range is empty");
      picture.low = range[0];
      picture.high = range[1];
    }
  }
  if (picture.from.node.empty()) item.fail(R"("from" is missing)");
  return picture;
}

}  // namespace

Scene readScene(const std::filesystem::path& file) {
  const Json json = parse(file);
  Scene scene;
  scene.file = file;
  bool hasWorldOffset = false;
  for (const auto& [key, value] :
       Item(json, "").members({"image", "frames", "shutter", "camera", "world_offset", "objects",
                               "nodes", "pictures"})) {
    if (key == "image") scene.image = readImage(value);
    if (key == "frames") scene.frames = readFrames(value);
    if (key == "shutter") scene.shutter = readShutter(value);
    if (key == "camera") scene.camera = readCamera(value);
    if (key == "world_offset") {
      scene.worldOffset = value.dvector(kMaxPosition);
      hasWorldOffset = true;
    }
    if (key == "objects") {
      for (const auto& [name, object] : value.members()) {
        scene.objects.push_back(readObject(name, object, file.parent_path()));
      }
    }
    if (key == "nodes") {
      const auto members = value.members();
      if (members.size() > kMaxNodes)
        value.fail("expected at most " + std::to_string(kMaxNodes) + " nodes");
      for (const auto& [name, node] : members) scene.nodes.push_back(readNode(name, node));
    }
    if (key == "pictures") {
      for (const auto& [name, picture] : value.members()) {
        scene.pictures.push_back(readPicture(name, picture));
      }
    }
  }
  if (hasWorldOffset && scene.camera.keys.size() == 2) {
    throw SceneError("world_offset", "with a moving camera render space begins at the camera");
  }
  if (scene.objects.empty()) throw SceneError("objects", "expected at least one object");
  if (scene.pictures.empty()) throw SceneError("pictures", "expected at least one picture");
  return scene;
}

}  // namespace preview
