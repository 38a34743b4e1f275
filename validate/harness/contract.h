// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <type_traits>
#include <vector>

/// The binary contract with the host: slots of the virtual tables, parts of the objects, layouts of
/// the records. It is a list of its own and includes nothing of any library, so that a change of a
/// library's headers cannot change it along.
namespace validate {

// Two layouts. Microsoft's on 32-bit x86: one slot for the destructor, `this` in a register, and
// every record comes back through a pointer that the caller passes. That of the other systems: two
// slots, `this` as the first argument, and records come back as they do from any function.
#ifdef _WIN32
#pragma GCC diagnostic ignored "-Wattributes"  // that nothing of a class is `thiscall`
#define METHOD __attribute__((thiscall))
constexpr bool kMicrosoft = true;
#else
#define METHOD
constexpr bool kMicrosoft = false;
#endif

/// Slot of the n-th operation of a table whose first operation is the destructor.
constexpr int slot(int n) { return kMicrosoft ? n - 1 : n; }

inline void* const* virtualTable(void* object) { return *static_cast<void* const**>(object); }
/// An object, pointer by pointer.
inline void** words(void* object) { return static_cast<void**>(object); }

/// What lies in a slot of a table.
struct TableEntry {
  int slot;
  void* function;
};

/// What this thread asks of the module, for the report of a crash: who knows of which plugin or
/// output, and at which sample, says so before.
struct Calling {
  const char *operation = nullptr, *of = nullptr;
  int sample = -1;
  const char* setting = "";  ///< ", no input connected to ..., mode = 3"
};
inline constinit thread_local Calling calling;
inline constinit thread_local bool isOurThread = false;  ///< and not one of the module's

/// What makes the calls on 32-bit Windows, if it is not the compiler: with these words on the
/// stack.
struct ByHand {
  struct Answer {
    void* place = nullptr;
    std::size_t size = 0;
    bool isRecord = false, isFloat = false;
  };
  static inline void (*call)(void* function, void* self, std::vector<std::uint32_t> arguments,
                             const Answer& answer) = nullptr;
};

/// A virtual operation. Called with an object it goes through the object's table; `entry` is for
/// the tables of objects that are made here.
template <int number, class Signature>
struct Operation;

template <int number, class Result, class... Parameters>
struct Operation<number, Result(Parameters...)> {
  static constexpr bool kThroughPointer = kMicrosoft && std::is_class_v<Result>;

  const char* name;

  Result operator()(void* self, Parameters... arguments) const {
    calling.operation = name;
    const struct Done {
      ~Done() { calling = {}; }
    } done;
    void* const function = virtualTable(self)[number];
    if constexpr (kMicrosoft) {
      if (ByHand::call != nullptr) return byHand(function, self, arguments...);
    }
    if constexpr (kThroughPointer) {
      using Function = Result*(METHOD*)(void*, Result*, Parameters...);
      Result result;
      reinterpret_cast<Function>(function)(self, &result, arguments...);
      return result;
    } else {
      return reinterpret_cast<Result(METHOD*)(void*, Parameters...)>(function)(self, arguments...);
    }
  }

  constexpr int slot() const { return number; }

  /// Does nothing and answers 0 or null.
  TableEntry nothing() const { return {number, reinterpret_cast<void*>(&answerNothing)}; }

  /// `body` is called with the object, as a pointer of its own kind, and the arguments.
  template <auto body>
  TableEntry entry() const {
    if constexpr (kThroughPointer) {
      return {number, reinterpret_cast<void*>(&answerThroughPointer<body>)};
    } else {
      return {number, reinterpret_cast<void*>(&answer<body>)};
    }
  }

 private:
  static Result byHand(void* function, void* self, Parameters... arguments) {
    std::vector<std::uint32_t> words;
    [[maybe_unused]] const auto push = [&words](const auto& argument) {
      const auto bits = std::bit_cast<std::array<std::uint32_t, sizeof argument / 4>>(argument);
      words.insert(words.end(), bits.begin(), bits.end());
    };
    (push(arguments), ...);
    if constexpr (std::is_void_v<Result>) {
      ByHand::call(function, self, words, {});
    } else {
      Result result;
      constexpr bool kIsFloat = std::is_same_v<Result, float>;
      ByHand::call(function, self, words, {&result, sizeof result, kThroughPointer, kIsFloat});
      return result;
    }
  }

  struct Self {
    void* object;
    template <class T>
    operator T*() const {  // NOLINT(google-explicit-constructor)
      return static_cast<T*>(object);
    }
  };

  static Result METHOD answerNothing(void* /*self*/, Parameters...) { return Result(); }
  template <auto body>
  static Result METHOD answer(void* self, Parameters... arguments) {
    return body(Self{self}, arguments...);
  }
  template <auto body>
  static Result* METHOD answerThroughPointer(void* self, Result* result, Parameters... arguments) {
    *result = body(Self{self}, arguments...);
    return result;
  }
};

/// The table of objects that are made here.
struct Table {
  Table(std::initializer_list<TableEntry> entries) { add(entries); }
  void add(std::initializer_list<TableEntry> entries) {
    for (const TableEntry& entry : entries) slots[entry.slot] = entry.function;
  }
  void* slots[12] = {};
};

// ---- Value types and records ----

struct Vector {
  float x, y, z;
};
struct DVector {
  double x, y, z;
};
struct AColor {
  float r, g, b, a;
};
struct Transform {
  Vector c0, c1, c2, offset;
};
struct PreciseTransform {
  Vector c0, c1, c2;
  DVector offset;
};

struct QuorFrameData {
  void* const* table;
  void* interfaces;
  double frameTime;
  PreciseTransform worldToCamera;
  PreciseTransform cameraToWorld;
  std::int32_t imageHeight;
  DVector worldOffset;
};

struct RenderServices {
  void* log;
  void* scene;
  void* cameraMotion;
  std::int32_t cameraMoving;
};

struct RenderContext {
  RenderServices* services;
  QuorFrameData* frameData;
};

struct ShadingContext {
  RenderContext* renderContext;
  Vector rayDirection;
  double rayTime;
  double imageX, imageY;
  void* object;
  void* surface;
  DVector shadingPoint;
  Vector normal;
  Vector geometricNormal;
  std::int32_t backfacing;
};

enum class ParameterKind : std::int32_t { Integer, Boolean, Object, Interface };

struct QuorPluginParameter {
  const char* name;
  ParameterKind kind;
  union {
    std::int32_t integer;
    bool boolean;
    struct {
      void* object;
      const char* output;
    } connection;
    void* iface;
  } value;
};

// Where the two layouts differ: pointers, and doubles that no compiler may pack.
constexpr bool kShortPointers = sizeof(void*) == 4;
static_assert(sizeof(QuorFrameData) == (kShortPointers ? 176 : 184));
static_assert(sizeof(ShadingContext) == (kShortPointers ? 104 : 120));
static_assert(sizeof(QuorPluginParameter) == (kShortPointers ? 16 : 32));

/// What the stand-in for the host's library keeps of the parameters that a descriptor describes,
/// and for whom they were registered: a list is, as its compilers lay it out, three pointers.
struct ParameterInfo {
  const char* name;
  std::int32_t type, initial, flags;
  const char *help, *text;
};
struct ParameterInfos {
  const ParameterInfo *first, *last, *limit;
  const void* registeredFor;
};
/// And of a plugin's parameters: the field that each is written to, or null, and the last name that
/// a field or an output was given for and no parameter of its kind has.
struct ParameterSlot {
  ParameterInfo info;
  QuorPluginParameter value;
  void **field, *write;
};
struct ParameterSlots {
  const ParameterSlot *first, *last, *limit;
  const char* unknown;
};

/// And of requests for shader source: each in a list, which is empty while its pointers are null.
struct ShaderRequest {
  void *self, *texture;
  const char *outputName, *secondName, *descriptorKind;
};
struct ShaderSource {
  ShaderRequest *first, *last, *limit;
  std::int32_t answer;
};
struct OclData {
  std::int32_t requests;
};

/// The types of inputs and, from `Output` on, of outputs follow the kinds of textures.
/// Numbers, but each name with that of its type in front: some of them are names of records, too.
struct TextureKinds {
  enum Kind { Color, Float, Vector, Integer, Transform };
};
using TextureKind = TextureKinds::Kind;
struct ParameterTypes {
  enum Type { Integer = 3, Boolean, Output, Count = 10 };
};
using ParameterType = ParameterTypes::Type;

// ---- Objects: what lies how many pointers from their beginning ----

constexpr int kInterfacesOfBase = 1, kParametersOfDesc = 2, kNameOfPlugin = 2, kDescOfPart = 1,
              kParametersOfPart = 2;

// ---- Identifiers ----

constexpr std::uint64_t EXT_QUOR_PLUGIN = 0x7776FFFF;
constexpr std::uint64_t EXT_TEXTURE = 0x77780002;
constexpr std::uint64_t EXT_UVW_SOURCE = 0x77780010;
constexpr std::uint64_t EXT_TEXTURE_FLOAT = 0x7782F8E5;
constexpr std::uint64_t EXT_TEXTURE_VECTOR = 0x7782F8E6;
constexpr std::uint64_t EXT_TEXTURE_TRANSFORM = 0x7782F8E9;
constexpr std::uint64_t EXT_TEXTURE_INT = 0x7782F8EA;
constexpr std::uint64_t EXT_MATERIAL_ID_SOURCE = 0x77790010;
constexpr std::uint64_t EXT_OBJECT_SPACE_MAPPING = 0x77915061;
constexpr std::uint64_t EXT_RTTEX = 0x77CFFFA6;

struct Identifier {
  std::uint64_t id;
  const char* name;
};
/// In the order of `TextureKind`.
constexpr Identifier kTextureIds[] = {{EXT_TEXTURE, "EXT_TEXTURE"},
                                      {EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT"},
                                      {EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR"},
                                      {EXT_TEXTURE_INT, "EXT_TEXTURE_INT"},
                                      {EXT_TEXTURE_TRANSFORM, "EXT_TEXTURE_TRANSFORM"}};

// ---- Virtual tables ----

#define OPERATION(number, name, ...) \
  static constexpr Operation<number, __VA_ARGS__> name { #name }

/// The last slot of the destructor is the one that also gives the memory back. Microsoft's is told
/// to by its argument.
inline void deleteThrough(void* part) {
#ifdef _WIN32
  reinterpret_cast<void*(METHOD*)(void*, std::uint32_t)>(virtualTable(part)[0])(part, 1);
#else
  reinterpret_cast<void (*)(void*)>(virtualTable(part)[1])(part);
#endif
}

struct PluginBase {
  OPERATION(slot(2), getInterface, void*(std::uint64_t id));
  OPERATION(slot(3), releaseInterface, void(void* iface));
  OPERATION(slot(4), addInterface, std::int32_t(void* iface, std::int32_t releaseWithOwner));
  OPERATION(slot(5), removeInterface, std::int32_t(void* iface));
};

struct PluginInterface {
  OPERATION(slot(2), getInterfaceId, std::uint64_t());
  OPERATION(slot(3), getPlugin, void*());
  OPERATION(slot(4), getInterfaceName, const char*());
  OPERATION(slot(5), release, void());
};

// The tables of objects and interfaces that are made here: what is not given does nothing.
struct ObjectTable : Table {
  ObjectTable(std::initializer_list<TableEntry> entries)
      : Table({PluginBase::getInterface.nothing(), PluginBase::releaseInterface.nothing(),
               PluginBase::addInterface.nothing(), PluginBase::removeInterface.nothing()}) {
    add(entries);
  }
};
struct InterfaceTable : Table {
  InterfaceTable(std::initializer_list<TableEntry> entries)
      : Table({PluginInterface::getPlugin.nothing(), PluginInterface::getInterfaceName.nothing(),
               PluginInterface::release.nothing()}) {
    add(entries);
  }
};

struct PluginLibDesc {
  OPERATION(slot(6), getLibraryName, const char*());
  OPERATION(slot(7), getLibraryDescription, const char*());
  OPERATION(slot(8), enumPluginDescs, std::int32_t(void* visitor));
};

struct PluginDesc {
  OPERATION(slot(6), getPluginId, std::uint64_t());
  OPERATION(slot(7), newPlugin, void*(void* host));
  OPERATION(slot(8), deletePlugin, void(void* plugin));
  OPERATION(slot(9), supportsInterface, std::int32_t(std::uint64_t id));
  OPERATION(slot(10), getPluginName, const char*());
  OPERATION(slot(11), registerPlugin, void(void* host));
  OPERATION(slot(12), unregisterPlugin, void(void* host));
  OPERATION(slot(13), getExtraInfo, void*());
};

struct Plugin {
  OPERATION(slot(6), getPluginDesc, void*());
  OPERATION(slot(7), setPluginName, void(const char* text));
};

struct QuorPluginInterface {
  OPERATION(slot(6), renderBegin, void(void* renderer));
  OPERATION(slot(7), renderEnd, void(void* renderer));
  OPERATION(slot(8), frameBegin, void(void* renderer));
  OPERATION(slot(9), frameEnd, void(void* renderer));
  OPERATION(slot(10), setParameter, std::int32_t(QuorPluginParameter* parameter));
  OPERATION(slot(11), getParameter, QuorPluginParameter*(const char* name));
};

struct TextureInterface {
  OPERATION(slot(6), getColor, AColor(const ShadingContext* sc));
  OPERATION(slot(7), getColorBounds, void(AColor* min, AColor* max));
  OPERATION(slot(8), getGradient, Vector(const ShadingContext* sc));
};

struct TextureFloatInterface {
  OPERATION(slot(6), getFloat, float(const ShadingContext* sc));
  OPERATION(slot(7), getFloatBounds, void(float* min, float* max));
  OPERATION(slot(8), getGradient, Vector(const ShadingContext* sc));
};

struct TextureVectorInterface {
  OPERATION(slot(6), getVector, Vector(const ShadingContext* sc));
  OPERATION(slot(7), getVectorBounds, void(Vector* min, Vector* max));
  OPERATION(slot(8), getGradient, Vector(const ShadingContext* sc));
};

struct TextureIntInterface {
  OPERATION(slot(6), getInt, std::int32_t(const ShadingContext* sc));
};
struct TextureTransformInterface {
  OPERATION(slot(6), getTransform, Transform(const ShadingContext* sc));
};

struct RTTexInterface {
  OPERATION(slot(6), getShaderInfo, void*());
  OPERATION(slot(7), setShaderInfo, void(void* info));
  OPERATION(slot(8), getShaderSource,
            std::int32_t(const char* outputName, const char* secondName, const char* descriptorKind,
                         void* source, void* oclData));
};

// What a host offers. The first four have no destructor in their tables; the `print` of a log,
// their fifth, takes any number of arguments and has the object as an ordinary first one.

struct PluginDescVisitor {
  OPERATION(0, visitPluginDesc, std::int32_t(void* desc));
};
struct QuorPluginHost {
  OPERATION(0, registerPluginDesc, void(void* desc));
  OPERATION(1, unregisterPluginDesc, void(void* desc));
};
struct SceneInfo {
  OPERATION(0, getBoundingBox, void(Vector* lo, Vector* hi));
};
struct CameraMotion {
  OPERATION(0, pointToRayTime, DVector(const DVector* p, double t));
  OPERATION(1, vectorToRayTime, Vector(const Vector* v, double t));
  OPERATION(2, pointFromRayTime, DVector(const DVector* p, double t));
  OPERATION(3, vectorFromRayTime, Vector(const Vector* v, double t));
};
struct ObjectSpaceMapping {
  OPERATION(slot(6), worldToObjectNormal, Vector(const ShadingContext* sc, const Vector* n));
  OPERATION(slot(7), worldToObjectPoint, Vector(const ShadingContext* sc, const Vector* p));
};
struct UvwSource {
  OPERATION(slot(6), getUVWDerivatives,
            void(const ShadingContext* sc, std::int32_t channel, Vector* a, Vector* b, Vector* c));
  OPERATION(slot(7), getUVW, Vector(const ShadingContext* sc, std::int32_t channel));
};
struct MaterialIdSource {
  OPERATION(slot(6), getMaterialId, std::int32_t(const ShadingContext* sc));
};

#undef OPERATION

}  // namespace validate
