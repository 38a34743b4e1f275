// SPDX-License-Identifier: MIT
#include "preview/scene/scene_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <numbers>
#include <system_error>

#include "math/vector.h"
#include "preview/diagnostics/number_text.h"
#include "preview/diagnostics/suggestion.h"
#include "preview/scene/host_textures.h"

namespace preview {

namespace {

constexpr double kMinLength = 1e-6;             // of world space: shapes, the camera and its target
constexpr double kMaxLength = 1e6;              // of world space
constexpr double kMaxPosition = 1e9;            // of world space
constexpr double kMinScale = 1e-6;              // of objects
constexpr double kMaxFactor = 1e6;              // of scales, degrees and "up"
constexpr double kMinSine = 1e-6;               // of the angle between a camera's view and "up"
constexpr double kMinFov = 0.1, kMaxFov = 170;  // degrees
constexpr std::size_t kMaxName = 64;            // letters
constexpr std::size_t kMaxCaption = 400;        // bytes
constexpr std::size_t kMaxNodes = 1000;         // an evaluation may go through all of them
constexpr std::size_t kMaxObjects = 10'000;
constexpr std::size_t kMaxPictures = 1000;  // all of them are on the contact sheet
constexpr double kLargestFloat = std::numeric_limits<float>::max();

/// A value in the file, where it stands there, and where to report what is wrong with it.
class Item {
 public:
  Item(const JsonValue& value, std::string place, Diagnostics& diagnostics)
      : value_(&value), place_(std::move(place)), diagnostics_(&diagnostics) {}

  const std::string& place() const { return place_; }

  [[noreturn]] void fail(const std::string& text) const { throw SceneError(place_, text); }

  [[noreturn]] void failExpecting(const std::string& what) const {
    fail(unexpected(written(), what));
  }

  /// The value as messages show it.
  std::string written() const {
    if (isList()) return "a list of " + std::to_string(size());
    return value_->kind == JsonValue::Kind::Object ? "an object" : value_->written;
  }

  /// Runs a step; what is wrong there does not keep the next one from being tried. False if there
  /// was anything.
  template <class Step>
  bool attempt(Step step) const {
    return diagnostics_->attempt(step);
  }

  /// Calls `use` with the name and the value of each member of an object, of any names.
  template <class Use>
  void forMembers(Use use) const {
    if (value_->kind != JsonValue::Kind::Object) failExpecting("an object");
    for (const JsonValue& member : value_->members) {
      const std::string place = !member.option.empty() ? member.option
                                : place_.empty()       ? member.name
                                                       : place_ + "." + member.name;
      diagnostics_->setPosition(place, member.position);
      attempt([&] { use(member.name, Item(member, place, *diagnostics_)); });
    }
  }
  std::size_t size() const { return value_->members.size(); }

  /// What to do with the members of an object, by their names.
  using Readers = std::vector<std::pair<std::string, std::function<void(const Item&)>>>;

  /// Reads the members of an object, all of them optional.
  void read(const Readers& readers) const {
    forMembers([&](const std::string& name, const Item& item) {
      const auto reader = std::ranges::find(readers, name, &Readers::value_type::first);
      if (reader == readers.end()) {
        std::vector<std::string> names;
        for (const auto& known : readers) names.push_back(known.first);
        item.fail("unknown key" + suggestion(name, names));
      }
      reader->second(item);
    });
  }

  /// Refuses an object without this member.
  void require(const std::string& name) const {
    if (!has(name)) fail("\"" + name + "\" is missing");
  }
  bool has(const std::string& name) const { return value_->find(name) != nullptr; }

  /// That of a member; empty if there is none.
  std::string textOf(const std::string& name) const {
    return has(name) ? value_->find(name)->text : "";
  }

  std::vector<Item> elements() const {
    if (!isList()) failExpecting("a list");
    std::vector<Item> result;
    for (const JsonValue& element : value_->members) {
      const std::string place = place_ + "[" + std::to_string(result.size()) + "]";
      diagnostics_->setPosition(place, element.position);
      result.emplace_back(element, place, *diagnostics_);
    }
    return result;
  }

  bool isList() const { return value_->kind == JsonValue::Kind::List; }
  bool isText() const { return value_->kind == JsonValue::Kind::Text; }
  bool isBoolean() const { return value_->kind == JsonValue::Kind::Boolean; }
  bool isNumber() const { return value_->kind == JsonValue::Kind::Number; }

  bool boolean() const {
    if (!isBoolean()) failExpecting("true or false");
    return value_->boolean;
  }

  const std::string& text(const std::string& what) const {
    if (!isText()) failExpecting(what);
    return value_->text;
  }

  double number(double min, double max) const {
    if (!isNumber()) failExpecting("a number");
    if (!(value_->number >= min && value_->number <= max)) {
      failExpecting("a number from " + numberText(min) + " to " + numberText(max));
    }
    return value_->number;
  }

  std::int32_t integer(std::int32_t min, std::int32_t max) const {
    const double number = isNumber() ? value_->number : std::nan("");
    if (!(number >= min && number <= max && number == std::floor(number))) {
      failExpecting("a whole number from " + std::to_string(min) + " to " + std::to_string(max));
    }
    return static_cast<std::int32_t>(number);
  }

  /// A list of that many numbers.
  std::vector<double> numbers(std::size_t count, double min, double max) const {
    if (!isList() || size() != count) {
      failExpecting("a list of " + std::to_string(count) + " numbers");
    }
    std::vector<double> result;
    for (const Item& element : elements()) result.push_back(element.number(min, max));
    return result;
  }

  DVector dvector(double min, double max) const {
    const std::vector<double> v = numbers(3, min, max);
    return {v[0], v[1], v[2]};
  }
  DVector dvector(double limit) const { return dvector(-limit, limit); }

 private:
  const JsonValue* value_;
  std::string place_;
  Diagnostics* diagnostics_;
};

/// Names of nodes, objects and pictures go into references, files and layers.
void checkName(const std::string& name, const Item& item) {
  const auto allowed = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-';
  };
  if (name.empty() || name.size() > kMaxName || !std::all_of(name.begin(), name.end(), allowed)) {
    item.fail("a name has 1 to " + std::to_string(kMaxName) + R"( letters, digits, "_" and "-")");
  }
}

Image readImage(const Item& item) {
  Image image;
  item.read({{"width", [&](const Item& v) { image.width = v.integer(1, kMaxImageSide); }},
             {"height", [&](const Item& v) { image.height = v.integer(1, kMaxImageSide); }},
             {"samples", [&](const Item& v) { image.samples = v.integer(1, kMaxSamples); }}});
  return image;
}

Frames readFrames(const Item& item) {
  Frames frames;
  const bool good = item.attempt([&] {
    item.read({{"first", [&](const Item& v) { frames.first = v.integer(0, kMaxFrame); }},
               {"last", [&](const Item& v) { frames.last = v.integer(0, kMaxFrame); }}});
  });
  if (!item.has("last")) frames.last = frames.first;
  if (good && frames.last < frames.first) {
    item.fail("the last frame, " + std::to_string(frames.last) + ", comes before the first, " +
              std::to_string(frames.first));
  }
  return frames;
}

Shutter readShutter(const Item& item) {
  Shutter shutter;
  const bool good = item.attempt([&] {
    item.read({{"open", [&](const Item& v) { shutter.open = v.number(0, 1); }},
               {"close", [&](const Item& v) { shutter.close = v.number(0, 1); }}});
  });
  if (good && shutter.close < shutter.open) {
    item.fail("closes at " + numberText(shutter.close) + ", before it opens at " +
              numberText(shutter.open));
  }
  return shutter;
}

CameraKey readCameraKey(const Item& item) {
  CameraKey key;
  const bool good = item.attempt([&] {
    item.read({{"position", [&](const Item& v) { key.position = v.dvector(kMaxPosition); }},
               {"target", [&](const Item& v) { key.target = v.dvector(kMaxPosition); }},
               {"up", [&](const Item& v) { key.up = toVector(v.dvector(kMaxFactor)); }}});
  });
  if (!good) return key;
  const DVector& p = key.position;
  const DVector& t = key.target;
  const DVector view = {t.x - p.x, t.y - p.y, t.z - p.z};
  const Vector& up = key.up;
  const DVector side = cross(view, toDouble(up));
  const double length = std::hypot(view.x, view.y, view.z);
  const double across = std::hypot(side.x, side.y, side.z);
  if (length < kMinLength) item.fail("the camera stands at its target");
  if (across < kMinSine * length * std::hypot(up.x, up.y, up.z) || across == 0) {
    item.fail(R"("up" is zero or along the view)");
  }
  return key;
}

std::vector<CameraKey> readCameraKeys(const Item& item) {
  std::vector<CameraKey> keys;
  for (const Item& element : item.elements()) {
    item.attempt([&] { keys.push_back(readCameraKey(element)); });
  }
  if (item.size() == 0 || item.size() > 2) item.failExpecting("one or two keys");
  return keys;
}

Camera readCamera(const Item& item) {
  Camera camera;
  item.read({{"fov", [&](const Item& v) { camera.fov = v.number(kMinFov, kMaxFov); }},
             {"keys", [&](const Item& v) { camera.keys = readCameraKeys(v); }}});
  return camera;
}

/// The path of a file that a scene in `folder` names.
std::filesystem::path readFile(const Item& item, const std::filesystem::path& folder) {
  const std::string& name = item.text("the name of a file");
  std::filesystem::path file = folder / name;
  std::error_code unusable;
  if (name.find('\0') != std::string::npos || !exists(file, unusable)) {
    item.fail((unusable ? "cannot reach \"" : "no file \"") + file.string() + "\"" +
              (unusable ? ": " + unusable.message() : ""));
  }
  if (!is_regular_file(file, unusable)) item.fail("\"" + file.string() + "\" is not a file");
  return file;
}

Shape readShape(const Item& item, const std::filesystem::path& folder) {
  Shape shape;
  const auto into = [](double& length) {
    return [&length](const Item& v) { length = v.number(kMinLength, kMaxLength); };
  };
  item.read({{"sphere",
              [&](const Item& v) {
                v.read({{"radius", into(shape.emplace<Sphere>().radius)}});
              }},
             {"plane",
              [&](const Item& v) {
                auto& [width, depth] = shape.emplace<Plane>();
                v.read({{"width", into(width)}, {"depth", into(depth)}});
              }},
             {"box",
              [&](const Item& v) {
                auto& [width, height, depth] = shape.emplace<Box>();
                v.read({{"width", into(width)}, {"height", into(height)}, {"depth", into(depth)}});
              }},
             {"torus",
              [&](const Item& v) {
                auto& [radius, tube] = shape.emplace<Torus>();
                v.read({{"radius", into(radius)}, {"tube", into(tube)}});
              }},
             {"obj", [&](const Item& v) { shape = ObjFile{readFile(v, folder)}; }}});
  if (item.size() != 1) item.fail(unexpected(std::to_string(item.size()), "one shape"));
  return shape;
}

/// Scales, then turns around the x, the y and the z axis, then moves.
PreciseTransform transformOf(const DVector& scale, const DVector& degrees,
                             const DVector& translation) {
  const auto radians = [](double angle) { return angle * std::numbers::pi / 180; };
  const double sx = std::sin(radians(degrees.x)), cx = std::cos(radians(degrees.x));
  const double sy = std::sin(radians(degrees.y)), cy = std::cos(radians(degrees.y));
  const double sz = std::sin(radians(degrees.z)), cz = std::cos(radians(degrees.z));
  const auto column = [](double x, double y, double z, double factor) {
    return toVector({x * factor, y * factor, z * factor});
  };
  return {column(cz * cy, sz * cy, -sy, scale.x),
          column(cz * sy * sx - sz * cx, sz * sy * sx + cz * cx, cy * sx, scale.y),
          column(cz * sy * cx + sz * sx, sz * sy * cx - cz * sx, cy * cx, scale.z), translation};
}

DVector readScale(const Item& item) {
  if (!item.isList()) {
    const double factor = item.number(kMinScale, kMaxFactor);
    return {factor, factor, factor};
  }
  return item.dvector(kMinScale, kMaxFactor);
}

PreciseTransform readTransform(const Item& item) {
  DVector scale = {1, 1, 1}, degrees = {}, translation = {};
  item.read({{"scale", [&](const Item& v) { scale = readScale(v); }},
             {"rotate", [&](const Item& v) { degrees = v.dvector(kMaxFactor); }},
             {"translate", [&](const Item& v) { translation = v.dvector(kMaxPosition); }}});
  return transformOf(scale, degrees, translation);
}

void readMaterialId(const Item& item, Object& object) {
  if (!item.isBoolean()) {
    object.materialId = item.integer(INT32_MIN, INT32_MAX);
    return;
  }
  if (item.boolean()) item.failExpecting("a whole number or false");
  object.hasMaterialId = false;
}

Object readObject(const std::string& name, const Item& item, const std::filesystem::path& folder) {
  Object object{.name = name, .place = item.place(), .shape = {}};
  item.read({{"shape", [&](const Item& v) { object.shape = readShape(v, folder); }},
             {"transform", [&](const Item& v) { object.toWorld = readTransform(v); }},
             {"material_id", [&](const Item& v) { readMaterialId(v, object); }},
             {"object_space", [&](const Item& v) { object.hasObjectSpace = v.boolean(); }},
             {"uvw", [&](const Item& v) { object.hasUvw = v.boolean(); }}});
  item.require("shape");
  return object;
}

Reference readReference(const Item& item) {
  constexpr const char* kForms = R"("node" or "node.output")";
  const std::string text = item.text(kForms);
  const std::size_t dot = text.find('.');
  Reference reference{text.substr(0, dot), dot == std::string::npos ? "" : text.substr(dot + 1)};
  if (reference.node.empty() || reference.text() != text) item.failExpecting(kForms);
  return reference;
}

ParameterValue readValue(const Item& item) {
  if (item.isBoolean()) return item.boolean();
  if (item.isNumber()) return item.number(-kLargestFloat, kLargestFloat);
  if (item.isText()) return readReference(item);
  if (!item.isList()) {
    item.failExpecting(R"(a number, true or false, a list of numbers, "node" or "node.output")");
  }
  const std::size_t count = item.size();
  if (count != 3 && count != 4) item.failExpecting("a number or a list of 3 or 4");
  const std::vector<double> numbers = item.numbers(count, -kLargestFloat, kLargestFloat);
  const std::vector<float> v(numbers.begin(), numbers.end());
  if (count == 3) return Vector{v[0], v[1], v[2]};
  return AColor{v[0], v[1], v[2], v[3]};
}

Node readNode(const std::string& name, const Item& item, const std::filesystem::path& folder) {
  Node node{.name = name, .place = item.place(), .plugin = {}, .parameters = {}};
  const std::vector<std::string> hostTextures = hostTextureNames();
  const bool connects =
      std::ranges::find(hostTextures, item.textOf("plugin")) == hostTextures.end();
  const auto value = [&](const std::string& parameter, const Item& content) -> ParameterValue {
    if (connects || !content.isText()) return readValue(content);
    return parameter == "file" ? readFile(content, folder).string() : content.text("");
  };
  node.complete = item.attempt([&] {
    item.read({{"plugin", [&](const Item& v) { node.plugin = v.text("the name of a plugin"); }},
               {"params", [&](const Item& v) {
                  v.forMembers([&](const std::string& parameter, const Item& content) {
                    node.parameters.push_back(
                        {parameter, content.place(), value(parameter, content), content.written()});
                  });
                }}});
    item.require("plugin");
  });
  return node;
}

Show readShow(const Item& item) {
  const std::string text = item.text(R"(a word such as "gradient")");
  const auto* const name = std::ranges::find(kShowNames, text);
  if (name == std::end(kShowNames)) {
    item.fail(unknown("cannot show", text, {std::begin(kShowNames), std::end(kShowNames)}));
  }
  return static_cast<Show>(name - std::begin(kShowNames));
}

std::string readCaption(const Item& item) {
  const std::string& caption = item.text("a text");
  if (caption.size() > kMaxCaption) {
    item.fail(unexpected(std::to_string(caption.size()),
                         "at most " + std::to_string(kMaxCaption) + " bytes"));
  }
  return caption;
}

/// Whether codes are linear; otherwise they are those of sRGB.
bool readCoding(const Item& item) {
  constexpr const char* kCodings = R"("sRGB" or "linear")";
  const std::string& coding = item.text(kCodings);
  if (coding != "sRGB" && coding != "linear") item.failExpecting(kCodings);
  return coding == "linear";
}

Picture readPicture(const std::string& name, const Item& item) {
  if (name == "contact_sheet") item.fail("the contact sheet has this name");
  Picture picture{.name = name, .place = item.place(), .from = {}, .caption = {}};
  item.read({{"from", [&](const Item& v) { picture.from = readReference(v); }},
             {"show", [&](const Item& v) { picture.show = readShow(v); }},
             {"caption", [&](const Item& v) { picture.caption = readCaption(v); }},
             {"coding", [&](const Item& v) { picture.isLinear = readCoding(v); }},
             {"range", [&](const Item& v) {
                const std::vector<double> range = v.numbers(2, -kLargestFloat, kLargestFloat);
                if (range[0] == range[1]) v.fail("begins and ends at " + numberText(range[0]));
                picture.low = range[0];
                picture.high = range[1];
              }}});
  item.require("from");
  return picture;
}

/// Reads members of any names, each by `read`, into a list that is not too long.
template <class T, class Read>
std::vector<T> readAll(const Item& item, std::size_t max, Read read) {
  std::vector<T> result;
  item.forMembers([&](const std::string& name, const Item& member) {
    member.attempt([&] { checkName(name, member); });
    result.push_back(read(name, member));
  });
  if (item.size() > max) {
    item.fail(unexpected(std::to_string(item.size()), "at most " + std::to_string(max)));
  }
  return result;
}

JsonValue valueOf(const Setting& setting, const std::string& place, Diagnostics& diagnostics) {
  const std::string& text = setting.value;
  const bool isJson = text.empty() || text.find_first_of("[{\"") == 0 || text == "true" ||
                      text == "false" || text == "null" ||
                      (text.find_first_of("-0123456789") == 0 &&
                       text.find_first_not_of("+-.0123456789eE") == std::string::npos);
  if (!isJson) {
    return {.kind = JsonValue::Kind::Text, .text = text, .written = '"' + shortened(text) + '"'};
  }
  try {
    JsonValue value = parseJson(text, diagnostics);
    for (JsonValue& element : value.members) element.position = {};
    return value;
  } catch (const SceneError& e) {
    throw SceneError(place, e.what());
  }
}

/// Puts the value into the place of the one that the file has.
void apply(const Setting& setting, JsonValue& root, Diagnostics& diagnostics) {
  const std::string place = "--set " + setting.node + "." + setting.parameter;
  diagnostics.setPosition(place, {});
  const JsonValue* nodes = root.find("nodes");
  if (nodes == nullptr || nodes->find(setting.node) == nullptr) {
    std::vector<std::string> names;
    if (nodes != nullptr) {
      std::ranges::transform(nodes->members, std::back_inserter(names), &JsonValue::name);
    }
    throw SceneError(place, unknown("no node", setting.node, names));
  }
  JsonValue value = valueOf(setting, place, diagnostics);
  value.name = setting.parameter;
  value.option = place;
  value.position = {};
  root.at("nodes").at(setting.node).at("params").at(setting.parameter) = std::move(value);
}

}  // namespace

JsonValue readSource(std::istream& file, const std::vector<Setting>& settings,
                     Diagnostics& diagnostics) {
  JsonValue source = readJson(file, diagnostics);
  diagnostics.setPosition("", source.position);
  for (const Setting& setting : settings) {
    diagnostics.attempt([&] { apply(setting, source, diagnostics); });
  }
  return source;
}

Scene readScene(const std::filesystem::path& file, const std::vector<Setting>& settings,
                Diagnostics& diagnostics) {
  std::ifstream stream(file, std::ios::binary);
  return sceneOf(readSource(stream, settings, diagnostics), file, settings, diagnostics);
}

Scene sceneOf(const JsonValue& source, const std::filesystem::path& file,
              const std::vector<Setting>& settings, Diagnostics& diagnostics) {
  Scene scene;
  scene.settings = settings;
  scene.file = file;
  const std::filesystem::path folder = file.parent_path();
  const auto object = [&](const std::string& name, const Item& item) {
    return readObject(name, item, folder);
  };
  const auto node = [&](const std::string& name, const Item& item) {
    return readNode(name, item, folder);
  };
  const Item root(source, "", diagnostics);
  root.read(
      {{"image", [&](const Item& v) { scene.image = readImage(v); }},
       {"frames", [&](const Item& v) { scene.frames = readFrames(v); }},
       {"shutter", [&](const Item& v) { scene.shutter = readShutter(v); }},
       {"camera", [&](const Item& v) { scene.camera = readCamera(v); }},
       {"world_offset", [&](const Item& v) { scene.worldOffset = v.dvector(kMaxPosition); }},
       {"objects", [&](const Item& v) { scene.objects = readAll<Object>(v, kMaxObjects, object); }},
       {"nodes", [&](const Item& v) { scene.nodes = readAll<Node>(v, kMaxNodes, node); }},
       {"pictures",
        [&](const Item& v) { scene.pictures = readAll<Picture>(v, kMaxPictures, readPicture); }}});
  if (root.has("world_offset") && scene.camera.keys.size() == 2) {
    diagnostics.add({"world_offset", "with a moving camera render space begins at the camera"});
  }
  for (const char* section : {"objects", "pictures"}) {
    const JsonValue* members = source.find(section);
    if (members == nullptr ||
        (members->kind == JsonValue::Kind::Object && members->members.empty())) {
      const std::string one(section, std::strlen(section) - 1);
      diagnostics.add({section, unexpected("none", "at least one " + one)});
    }
  }
  return scene;
}

}  // namespace preview
