// SPDX-License-Identifier: MIT
#include "validate/subject/host.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace validate {

namespace {

// ---- Textures ----

/// The numbers of a value, a record or a float, from those that begin at `numbers`, and back.
template <class Value>
Value valueAt(const float* numbers) {
  Value value;
  std::memcpy(&value, numbers, sizeof value);
  return value;
}
constexpr std::size_t kNumber = sizeof(float);
template <class Value>
int put(const Value& value, float* numbers) {
  std::memcpy(numbers, &value, sizeof value);
  return sizeof value / kNumber;
}

const float* numbersOf(Input* input, Question question, const ShadingContext* sc) {
  if (input->whenAsked) input->whenAsked(question, sc);
  return input->numbersFor != nullptr ? input->numbersFor(input, question, sc) : input->numbers;
}
template <class Value>
Value inputValue(Input* input, const ShadingContext* sc) {
  return valueAt<Value>(numbersOf(input, Question::Value, sc));
}
template <class Value>
void inputBounds(Input* input, Value* min, Value* max) {
  const float* const numbers = numbersOf(input, Question::Bounds, nullptr);
  constexpr std::size_t kWidth = sizeof(Value) / kNumber;
  *min = valueAt<Value>(&numbers[kWidth]);
  *max = valueAt<Value>(&numbers[2 * kWidth]);
}
template <class Value>
Vector inputGradient(Input* input, const ShadingContext* sc) {
  return valueAt<Vector>(&numbersOf(input, Question::Gradient, sc)[3 * sizeof(Value) / kNumber]);
}

template <std::uint64_t id>
std::uint64_t idOf(void* /*self*/) {
  return id;
}
template <TextureKind kind>
const char* nameOfInput(Input* /*input*/) {
  return kTextureIds[kind].name;
}

/// The operations of a kind of textures.
template <TextureKind kind, class Value, const auto& value, const auto& bounds,
          const auto& gradient>
struct Questions {
  static int ask(void* texture, Question question, const ShadingContext& sc, float* numbers) {
    if (question == Question::Value) return put(value(texture, &sc), numbers);
    if (question == Question::Gradient) return put(gradient(texture, &sc), numbers);
    Value room[5];
    if (question == Question::FencedBounds) std::memcpy(room, numbers, sizeof room);
    bounds(texture, &room[1], &room[3]);
    if (question == Question::FencedBounds) return put(room, numbers);
    const int width = put(room[1], numbers);
    return width + put(room[3], numbers + width);
  }
  static inline const InterfaceTable inputTable{
      PluginInterface::getInterfaceId.entry<idOf<kTextureIds[kind].id>>(),
      PluginInterface::getInterfaceName.entry<nameOfInput<kind>>(),
      value.template entry<inputValue<Value>>(),
      bounds.template entry<inputBounds<Value>>(),
      gradient.template entry<inputGradient<Value>>(),
  };
};
using ColorQuestions = Questions<TextureKind::Color, AColor, TextureInterface::getColor,
                                 TextureInterface::getColorBounds, TextureInterface::getGradient>;
using FloatQuestions =
    Questions<TextureKind::Float, float, TextureFloatInterface::getFloat,
              TextureFloatInterface::getFloatBounds, TextureFloatInterface::getGradient>;
using VectorQuestions =
    Questions<TextureKind::Vector, Vector, TextureVectorInterface::getVector,
              TextureVectorInterface::getVectorBounds, TextureVectorInterface::getGradient>;

}  // namespace

Input::Input(TextureKind kind)
    : table((kind == TextureKind::Color   ? ColorQuestions::inputTable
             : kind == TextureKind::Float ? FloatQuestions::inputTable
                                          : VectorQuestions::inputTable)
                .slots) {}

int ask(void* texture, TextureKind kind, Question question, const ShadingContext& sc,
        float* numbers) {
  if (kind == TextureKind::Color) return ColorQuestions::ask(texture, question, sc, numbers);
  if (kind == TextureKind::Float) return FloatQuestions::ask(texture, question, sc, numbers);
  if (kind == TextureKind::Vector) return VectorQuestions::ask(texture, question, sc, numbers);
  if (question != Question::Value) return 0;
  if (kind == TextureKind::Integer) return put(TextureIntInterface::getInt(texture, &sc), numbers);
  return put(TextureTransformInterface::getTransform(texture, &sc), numbers);
}

// ---- Objects ----

namespace {

void printToLog(HostLog* log, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(log->text, sizeof log->text, format, arguments);
  va_end(arguments);
  if (log->whilePrinting) log->whilePrinting();
  ++log->lines;
}
const Table logTable{{0, reinterpret_cast<void*>(&printToLog)}};

void boundingBox(HostScene* scene, Vector* lo, Vector* hi) {
  if (scene->whileAsked) scene->whileAsked();
  *lo = scene->lo;
  *hi = scene->hi;
}
const Table sceneTable{SceneInfo::getBoundingBox.entry<boundingBox>()};

DVector pointToRayTime(void* /*self*/, const DVector* p, double t) {
  return {p->x, p->y, p->z + 16 * t};
}
Vector vectorToRayTime(void* /*self*/, const Vector* v, double t) {
  return {v->x, v->y, v->z + 8 * static_cast<float>(t)};
}
DVector pointFromRayTime(void* /*self*/, const DVector* p, double t) {
  return {p->x + 100 * t, p->y, p->z};
}
Vector vectorFromRayTime(void* /*self*/, const Vector* v, double t) {
  return {v->x, v->y + 4 * static_cast<float>(t), v->z};
}
const Table cameraMotionTable{
    CameraMotion::pointToRayTime.entry<pointToRayTime>(),
    CameraMotion::vectorToRayTime.entry<vectorToRayTime>(),
    CameraMotion::pointFromRayTime.entry<pointFromRayTime>(),
    CameraMotion::vectorFromRayTime.entry<vectorFromRayTime>(),
};

Vector worldToObjectNormal(void* /*self*/, const ShadingContext* /*sc*/, const Vector* n) {
  return {-n->x, -n->y, -n->z};
}
Vector worldToObjectPoint(void* /*self*/, const ShadingContext* /*sc*/, const Vector* p) {
  return {2 * p->x, 2 * p->y, 2 * p->z};
}
const char* nameOfMapping(void* /*self*/) { return "EXT_OBJECT_SPACE_MAPPING"; }
const InterfaceTable mappingTable{
    PluginInterface::getInterfaceId.entry<idOf<EXT_OBJECT_SPACE_MAPPING>>(),
    PluginInterface::getInterfaceName.entry<nameOfMapping>(),
    ObjectSpaceMapping::worldToObjectNormal.entry<worldToObjectNormal>(),
    ObjectSpaceMapping::worldToObjectPoint.entry<worldToObjectPoint>(),
};

void* const* const mapping = mappingTable.slots;
void* partOfObject(void* /*self*/, std::uint64_t id) {
  return id == EXT_OBJECT_SPACE_MAPPING ? const_cast<void* const**>(&mapping) : nullptr;
}
const ObjectTable objectTable{PluginBase::getInterface.entry<partOfObject>()};

void uvwDerivatives(HostSurface::Part* part, const ShadingContext* /*sc*/, std::int32_t /*channel*/,
                    Vector* a, Vector* b, Vector* c) {
  *a = part->surface->a;
  *b = part->surface->b;
  *c = part->surface->c;
}
Vector uvw(HostSurface::Part* part, const ShadingContext* /*sc*/, std::int32_t channel) {
  const Vector& at = part->surface->uvw;
  return {at.x, at.y, at.z + static_cast<float>(channel)};
}
void* surfaceOfPart(HostSurface::Part* part) { return part->surface; }
const char* nameOfUvwSource(void* /*self*/) { return "EXT_UVW_SOURCE"; }
const InterfaceTable uvwSourceTable{
    PluginInterface::getInterfaceId.entry<idOf<EXT_UVW_SOURCE>>(),
    PluginInterface::getPlugin.entry<surfaceOfPart>(),
    PluginInterface::getInterfaceName.entry<nameOfUvwSource>(),
    UvwSource::getUVWDerivatives.entry<uvwDerivatives>(),
    UvwSource::getUVW.entry<uvw>(),
};

std::int32_t materialId(HostSurface::Part* part, const ShadingContext* /*sc*/) {
  return part->surface->materialId;
}
const char* nameOfMaterialIdSource(void* /*self*/) { return "EXT_MATERIAL_ID_SOURCE"; }
const InterfaceTable materialIdSourceTable{
    PluginInterface::getInterfaceId.entry<idOf<EXT_MATERIAL_ID_SOURCE>>(),
    PluginInterface::getPlugin.entry<surfaceOfPart>(),
    PluginInterface::getInterfaceName.entry<nameOfMaterialIdSource>(),
    MaterialIdSource::getMaterialId.entry<materialId>(),
};

void* partOfSurface(HostSurface* surface, std::uint64_t id) {
  if (id == EXT_UVW_SOURCE) return &surface->uvwSource;
  if (id == EXT_MATERIAL_ID_SOURCE) return &surface->materialIdSource;
  return nullptr;
}
const ObjectTable surfaceTable{PluginBase::getInterface.entry<partOfSurface>()};

const ObjectTable bareTable{};

}  // namespace

Host::Host()
    : cameraMotion(cameraMotionTable.slots), object(objectTable.slots), bare(bareTable.slots) {
  log.table = logTable.slots;
  scene.table = sceneTable.slots;
  surface.table = surfaceTable.slots;
  surface.uvwSource = {uvwSourceTable.slots, &surface};
  surface.materialIdSource = {materialIdSourceTable.slots, &surface};
  services = {&log, &scene, &cameraMotion, 0};
  frameData.table = bareTable.slots;
  renderContext = {&services, &frameData};
  sc.renderContext = &renderContext;
  sc.object = &object;
  sc.surface = &surface;
}

}  // namespace validate
