// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <initializer_list>
#include <type_traits>

/// The binary contract with the host: slots of the virtual tables, parts of the objects, layouts of
/// the records. It is a list of its own and includes nothing of any library, so that a change of a
/// library's headers cannot change it along.
namespace validate {

// Two layouts. Microsoft's on 32-bit x86: one slot for the destructor, `this` in a register, and
// every record comes back through a pointer that the caller passes. That of the other systems: two
// slots, `this` as the first argument, and records come back as they do from any function.
#ifdef _WIN32
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
};
inline constinit thread_local Calling calling;

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
    void* const function = virtualTable(self)[number];
    if constexpr (kThroughPointer) {
      using Function = Result*(METHOD*)(void*, Result*, Parameters...);
      Result result;
      reinterpret_cast<Function>(function)(self, &result, arguments...);
      calling = {};
      return result;
    } else if constexpr (std::is_void_v<Result>) {
      reinterpret_cast<void(METHOD*)(void*, Parameters...)>(function)(self, arguments...);
      calling = {};
    } else {
      using Function = Result(METHOD*)(void*, Parameters...);
      const Result result = reinterpret_cast<Function>(function)(self, arguments...);
      calling = {};
      return result;
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

enum ParameterKind : std::int32_t { KIND_INTEGER, KIND_BOOLEAN, KIND_OBJECT, KIND_INTERFACE };

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

/// What the stand-in for the host's library keeps of the parameters that a descriptor describes: a
/// list is, as its compilers lay it out, three pointers.
struct ParameterInfo {
  const char* name;
  std::int32_t type, initial, flags;
  const char *help, *text;
};
struct ParameterInfos {
  const ParameterInfo *first, *last, *limit;
};

/// The types of inputs and, from `PARAM_OUTPUT` on, of outputs follow the kinds of textures.
enum TextureKind { COLOR, NUMBER, VECTOR, INTEGER, TRANSFORM };
enum ParameterType { PARAM_INTEGER = 3, PARAM_BOOLEAN, PARAM_OUTPUT, PARAM_TYPES = 10 };

// ---- Objects: what lies how many pointers from their beginning ----

enum {
  PLUGIN_BASE_INTERFACES = 1,
  PLUGIN_DESC_PARAMETERS = 2,
  PLUGIN_NAME = 2,
  PLUGIN_INTERFACE_DESC = 1,
  PLUGIN_INTERFACE_PARAMETERS = 2,
};

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

/// The last slot of the destructor is the one that also gives the memory back. Microsoft's is told
/// to by its argument.
inline void deleteThrough(void* part) {
#ifdef _WIN32
  reinterpret_cast<void*(METHOD*)(void*, std::uint32_t)>(virtualTable(part)[0])(part, 1);
#else
  reinterpret_cast<void (*)(void*)>(virtualTable(part)[1])(part);
#endif
}

namespace PluginBase {
inline constexpr Operation<slot(2), void*(std::uint64_t id)> getInterface{"getInterface"};
inline constexpr Operation<slot(3), void(void* iface)> releaseInterface{"releaseInterface"};
inline constexpr Operation<slot(4), std::int32_t(void* iface, std::int32_t releaseWithOwner)>
    addInterface{"addInterface"};
inline constexpr Operation<slot(5), std::int32_t(void* iface)> removeInterface{"removeInterface"};
}  // namespace PluginBase

namespace PluginInterface {
inline constexpr Operation<slot(2), std::uint64_t()> getInterfaceId{"getInterfaceId"};
inline constexpr Operation<slot(3), void*()> getPlugin{"getPlugin"};
inline constexpr Operation<slot(4), const char*()> getInterfaceName{"getInterfaceName"};
inline constexpr Operation<slot(5), void()> release{"release"};
}  // namespace PluginInterface

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

namespace PluginLibDesc {
inline constexpr Operation<slot(6), const char*()> getLibraryName{"getLibraryName"};
inline constexpr Operation<slot(7), const char*()> getLibraryDescription{"getLibraryDescription"};
inline constexpr Operation<slot(8), std::int32_t(void* visitor)> enumPluginDescs{"enumPluginDescs"};
}  // namespace PluginLibDesc

namespace PluginDesc {
inline constexpr Operation<slot(6), std::uint64_t()> getPluginId{"getPluginId"};
inline constexpr Operation<slot(7), void*(void* host)> newPlugin{"newPlugin"};
inline constexpr Operation<slot(8), void(void* plugin)> deletePlugin{"deletePlugin"};
inline constexpr Operation<slot(9), std::int32_t(std::uint64_t id)> supportsInterface{
    "supportsInterface"};
inline constexpr Operation<slot(10), const char*()> getPluginName{"getPluginName"};
inline constexpr Operation<slot(11), void(void* host)> registerPlugin{"registerPlugin"};
inline constexpr Operation<slot(12), void(void* host)> unregisterPlugin{"unregisterPlugin"};
inline constexpr Operation<slot(13), void*()> getExtraInfo{"getExtraInfo"};
}  // namespace PluginDesc

namespace Plugin {
inline constexpr Operation<slot(6), void*()> getPluginDesc{"getPluginDesc"};
inline constexpr Operation<slot(7), void(const char* text)> setPluginName{"setPluginName"};
}  // namespace Plugin

namespace QuorPluginInterface {
inline constexpr Operation<slot(6), void(void* renderer)> renderBegin{"renderBegin"};
inline constexpr Operation<slot(7), void(void* renderer)> renderEnd{"renderEnd"};
inline constexpr Operation<slot(8), void(void* renderer)> frameBegin{"frameBegin"};
inline constexpr Operation<slot(9), void(void* renderer)> frameEnd{"frameEnd"};
inline constexpr Operation<slot(10), std::int32_t(QuorPluginParameter* parameter)> setParameter{
    "setParameter"};
inline constexpr Operation<slot(11), QuorPluginParameter*(const char* name)> getParameter{
    "getParameter"};
}  // namespace QuorPluginInterface

namespace TextureInterface {
inline constexpr Operation<slot(6), AColor(const ShadingContext* sc)> getColor{"getColor"};
inline constexpr Operation<slot(7), void(AColor* min, AColor* max)> getColorBounds{
    "getColorBounds"};
inline constexpr Operation<slot(8), Vector(const ShadingContext* sc)> getGradient{"getGradient"};
}  // namespace TextureInterface

namespace TextureFloatInterface {
inline constexpr Operation<slot(6), float(const ShadingContext* sc)> getFloat{"getFloat"};
inline constexpr Operation<slot(7), void(float* min, float* max)> getFloatBounds{"getFloatBounds"};
inline constexpr Operation<slot(8), Vector(const ShadingContext* sc)> getGradient{"getGradient"};
}  // namespace TextureFloatInterface

namespace TextureVectorInterface {
inline constexpr Operation<slot(6), Vector(const ShadingContext* sc)> getVector{"getVector"};
inline constexpr Operation<slot(7), void(Vector* min, Vector* max)> getVectorBounds{
    "getVectorBounds"};
inline constexpr Operation<slot(8), Vector(const ShadingContext* sc)> getGradient{"getGradient"};
}  // namespace TextureVectorInterface

namespace TextureIntInterface {
inline constexpr Operation<slot(6), std::int32_t(const ShadingContext* sc)> getInt{"getInt"};
}
namespace TextureTransformInterface {
inline constexpr Operation<slot(6), Transform(const ShadingContext* sc)> getTransform{
    "getTransform"};
}

namespace RTTexInterface {
inline constexpr Operation<slot(6), void*()> getShaderInfo{"getShaderInfo"};
inline constexpr Operation<slot(7), void(void* info)> setShaderInfo{"setShaderInfo"};
inline constexpr Operation<slot(8),
                           std::int32_t(const char* outputName, const char* secondName,
                                        const char* descriptorKind, void* source, void* oclData)>
    getShaderSource{"getShaderSource"};
}  // namespace RTTexInterface

// What a host offers. The first four have no destructor in their tables; the `print` of a log,
// their fifth, takes any number of arguments and has the object as an ordinary first one.

namespace PluginDescVisitor {
inline constexpr Operation<0, std::int32_t(void* desc)> visitPluginDesc{"visitPluginDesc"};
}
namespace QuorPluginHost {
inline constexpr Operation<0, void(void* desc)> registerPluginDesc{"registerPluginDesc"};
inline constexpr Operation<1, void(void* desc)> unregisterPluginDesc{"unregisterPluginDesc"};
}  // namespace QuorPluginHost
namespace SceneInfo {
inline constexpr Operation<0, void(Vector* lo, Vector* hi)> getBoundingBox{"getBoundingBox"};
}
namespace CameraMotion {
inline constexpr Operation<0, DVector(const DVector* p, double t)> pointToRayTime{"pointToRayTime"};
inline constexpr Operation<1, Vector(const Vector* v, double t)> vectorToRayTime{"vectorToRayTime"};
inline constexpr Operation<2, DVector(const DVector* p, double t)> pointFromRayTime{
    "pointFromRayTime"};
inline constexpr Operation<3, Vector(const Vector* v, double t)> vectorFromRayTime{
    "vectorFromRayTime"};
}  // namespace CameraMotion
namespace ObjectSpaceMapping {
inline constexpr Operation<slot(6), Vector(const ShadingContext* sc, const Vector* n)>
    worldToObjectNormal{"worldToObjectNormal"};
inline constexpr Operation<slot(7), Vector(const ShadingContext* sc, const Vector* p)>
    worldToObjectPoint{"worldToObjectPoint"};
}  // namespace ObjectSpaceMapping
namespace UvwSource {
inline constexpr Operation<slot(6), void(const ShadingContext* sc, std::int32_t channel, Vector* a,
                                         Vector* b, Vector* c)>
    getUVWDerivatives{"getUVWDerivatives"};
inline constexpr Operation<slot(7), Vector(const ShadingContext* sc, std::int32_t channel)> getUVW{
    "getUVW"};
}  // namespace UvwSource
namespace MaterialIdSource {
inline constexpr Operation<slot(6), std::int32_t(const ShadingContext* sc)> getMaterialId{
    "getMaterialId"};
}

}  // namespace validate
