#ifndef TESTS_CONTRACT_CONTRACT_H
#define TESTS_CONTRACT_CONTRACT_H

/* The binary contract with the host, in C: slots of the virtual tables, parts of the objects,
 * layouts of the records; `c_host.c` has the tables of what a host offers. It is a list of its own
 * and includes nothing of the library, so that a change of the library's headers cannot change it
 * along. */

#include <stddef.h>
#include <stdint.h>

/* Two layouts. Microsoft's on 32-bit x86: one slot for the destructor, `this` in a register, and
 * every record comes back through a pointer that the caller passes. That of the other systems: two
 * slots, `this` as the first argument, and records come back as they do from any function. */
#ifdef _WIN32
#define METHOD __attribute__((thiscall))
#define DESTRUCTOR_SLOTS 1
#else
#define METHOD
#define DESTRUCTOR_SLOTS 2
#endif

/* Slot of the n-th operation of a table whose first operation is the destructor. */
#define SLOT(n) ((n)-2 + DESTRUCTOR_SLOTS)

/* A virtual operation: a constant for its slot and a function that calls it.
 * OPERATION(result, class, name, slot, ARGS(arguments), parameters...); RECORD_OPERATION for those
 * that return a record. */
#define ARGS(...) , ##__VA_ARGS__
#define OPERATION(result, class, name, slot, args, ...)                                  \
  enum { class##_##name##_slot = slot };                                                 \
  static inline result class##_##name(void* self, ##__VA_ARGS__) {                       \
    return ((result(METHOD*)(void*, ##__VA_ARGS__))virtualTable(self)[slot])(self args); \
  }
#ifdef _WIN32
#define RECORD_OPERATION(record, class, name, slot, args, ...)                                    \
  enum { class##_##name##_slot = slot };                                                          \
  static inline record class##_##name(void* self, ##__VA_ARGS__) {                                \
    record result;                                                                                \
    ((record * (METHOD*)(void*, record*, ##__VA_ARGS__)) virtualTable(self)[slot])(self,          \
                                                                                   &result args); \
    return result;                                                                                \
  }
#else
#define RECORD_OPERATION OPERATION
#endif

/* The other way round, for operations of objects that are made here:
 *   static RECORD(Vector) name(void *self RESULT(Vector), ...) { RETURN(value); } */
#ifdef _WIN32
#define RECORD(record) record* METHOD
#define RESULT(record) , record* result
#define RETURN(...) return *result = (__VA_ARGS__), result
#else
#define RECORD(record) record
#define RESULT(record)
#define RETURN(...) return (__VA_ARGS__)
#endif

static inline void* const* virtualTable(void* object) { return *(void* const**)object; }

/* ---- Value types and records ---------------------------------------------------------------- */

typedef struct {
  float x, y, z;
} Vector;
typedef struct {
  double x, y, z;
} DVector;
typedef struct {
  float r, g, b, a;
} AColor;
typedef struct {
  Vector c0, c1, c2, offset;
} Transform;
typedef struct {
  Vector c0, c1, c2;
  DVector offset;
} PreciseTransform;

typedef struct {
  void* const* table;
  void* interfaces;
  double frameTime;
  PreciseTransform worldToCamera;
  PreciseTransform cameraToWorld;
  int32_t imageHeight;
  DVector worldOffset;
} QuorFrameData;

typedef struct {
  void* log;
  void* scene;
  void* cameraMotion;
  int32_t cameraMoving;
} RenderServices;

typedef struct {
  RenderServices* services;
  QuorFrameData* frameData;
} RenderContext;

typedef struct {
  RenderContext* renderContext;
  Vector rayDirection;
  double rayTime;
  double imageX, imageY;
  void* object;
  void* surface;
  DVector shadingPoint;
  Vector normal;
  Vector geometricNormal;
  int32_t backfacing;
} ShadingContext;

enum { KIND_INTEGER, KIND_BOOLEAN, KIND_OBJECT, KIND_INTERFACE };

typedef struct {
  const char* name;
  int32_t kind;
  union {
    int32_t integer;
    _Bool boolean;
    struct {
      void* object;
      const char* output;
    } connection;
    void* iface;
  } value;
} QuorPluginParameter;

/* Where the two layouts differ: pointers, and doubles that no compiler may pack. `layouts.txt` has
 * each field of the first one. */
#define SIZE(record, windows, other) \
  _Static_assert(sizeof(record) == (sizeof(void*) == 4 ? windows : other), #record)
SIZE(QuorFrameData, 176, 184);
SIZE(ShadingContext, 104, 120);
SIZE(QuorPluginParameter, 16, 32);

/* ---- Objects: what lies how many pointers from their beginning ------------------------------ */

enum {
  PluginBase_interfaces = 1,
  QuorPluginDesc_paramListDesc = 2,
  descriptor_parameters = 3, /* the embedded description, one pointer long */
  Plugin_name = 2,
  QuorPlugin_QuorPluginInterface = 3,
  QuorTexture_TextureInterface = 6,
  TexAColorOp_RTTexInterface = 7,
  TexAColorOp_color_a = 8,
  ITex_TextureFloatInterface = 2,
  ITex_RTTexInterface = 3,
  RTex_TextureFloatInterface = 2,

  QuorPluginInterface_desc = 1,
  QuorPluginInterface_paramList = 2,
  output_firstInput = 1,    /* an output texture is its table and the copies of its inputs */
  output_withoutInputs = 1, /* the length of an output texture that copies nothing */
};

/* ---- Identifiers ---------------------------------------------------------------------------- */

#define EXT_QUOR_PLUGIN 0x7776FFFFu
#define EXT_TEXTURE 0x77780002u
#define EXT_UVW_SOURCE 0x77780010u
#define EXT_TEXTURE_FLOAT 0x7782F8E5u
#define EXT_TEXTURE_VECTOR 0x7782F8E6u
#define EXT_TEXTURE_TRANSFORM 0x7782F8E9u
#define EXT_TEXTURE_INT 0x7782F8EAu
#define EXT_MATERIAL_ID_SOURCE 0x77790010u
#define EXT_OBJECT_SPACE_MAPPING 0x77915061u
#define EXT_RTTEX 0x77CFFFA6u

/* ---- Virtual tables ------------------------------------------------------------------------- */

/* The last slot of the destructor is the one that also gives the memory back. Microsoft's is told
 * to by its argument. */
#ifdef _WIN32
static inline void deleteThrough(void* part) {
  ((void*(METHOD*)(void*, uint32_t))virtualTable(part)[0])(part, 1);
}
#else
static inline void deleteThrough(void* part) { ((void (*)(void*))virtualTable(part)[1])(part); }
#endif

OPERATION(void*, PluginBase, getInterface, SLOT(2), ARGS(id), uint64_t id)
OPERATION(void, PluginBase, releaseInterface, SLOT(3), ARGS(iface), void* iface)
OPERATION(int32_t, PluginBase, addInterface, SLOT(4), ARGS(iface, releaseWithOwner), void* iface,
          int32_t releaseWithOwner)
OPERATION(int32_t, PluginBase, removeInterface, SLOT(5), ARGS(iface), void* iface)

OPERATION(uint64_t, PluginInterface, getInterfaceId, SLOT(2), ARGS())
OPERATION(void*, PluginInterface, getPlugin, SLOT(3), ARGS())
OPERATION(const char*, PluginInterface, getInterfaceName, SLOT(4), ARGS())
OPERATION(void, PluginInterface, release, SLOT(5), ARGS())

OPERATION(const char*, PluginLibDesc, getLibraryName, SLOT(6), ARGS())
OPERATION(const char*, PluginLibDesc, getLibraryDescription, SLOT(7), ARGS())
OPERATION(int32_t, PluginLibDesc, enumPluginDescs, SLOT(8), ARGS(visitor), void* visitor)

OPERATION(uint64_t, PluginDesc, getPluginId, SLOT(6), ARGS())
OPERATION(void*, PluginDesc, newPlugin, SLOT(7), ARGS(host), void* host)
OPERATION(void, PluginDesc, deletePlugin, SLOT(8), ARGS(plugin), void* plugin)
OPERATION(int32_t, PluginDesc, supportsInterface, SLOT(9), ARGS(id), uint64_t id)
OPERATION(const char*, PluginDesc, getPluginName, SLOT(10), ARGS())
OPERATION(void, PluginDesc, registerPlugin, SLOT(11), ARGS(host), void* host)
OPERATION(void, PluginDesc, unregisterPlugin, SLOT(12), ARGS(host), void* host)
OPERATION(void*, PluginDesc, getExtraInfo, SLOT(13), ARGS())

OPERATION(void*, Plugin, getPluginDesc, SLOT(6), ARGS())
OPERATION(void, Plugin, setPluginName, SLOT(7), ARGS(text), const char* text)

OPERATION(void, QuorPluginInterface, renderBegin, SLOT(6), ARGS(renderer), void* renderer)
OPERATION(void, QuorPluginInterface, renderEnd, SLOT(7), ARGS(renderer), void* renderer)
OPERATION(void, QuorPluginInterface, frameBegin, SLOT(8), ARGS(renderer), void* renderer)
OPERATION(void, QuorPluginInterface, frameEnd, SLOT(9), ARGS(renderer), void* renderer)
OPERATION(int32_t, QuorPluginInterface, setParameter, SLOT(10), ARGS(param),
          QuorPluginParameter* param)
OPERATION(QuorPluginParameter*, QuorPluginInterface, getParameter, SLOT(11), ARGS(name),
          const char* name)

RECORD_OPERATION(AColor, TextureInterface, getColor, SLOT(6), ARGS(sc), const ShadingContext* sc)
OPERATION(void, TextureInterface, getColorBounds, SLOT(7), ARGS(min, max), AColor* min, AColor* max)
RECORD_OPERATION(Vector, TextureInterface, getGradient, SLOT(8), ARGS(sc), const ShadingContext* sc)

OPERATION(float, TextureFloatInterface, getFloat, SLOT(6), ARGS(sc), const ShadingContext* sc)
OPERATION(void, TextureFloatInterface, getFloatBounds, SLOT(7), ARGS(min, max), float* min,
          float* max)
RECORD_OPERATION(Vector, TextureFloatInterface, getGradient, SLOT(8), ARGS(sc),
                 const ShadingContext* sc)

RECORD_OPERATION(Vector, TextureVectorInterface, getVector, SLOT(6), ARGS(sc),
                 const ShadingContext* sc)
OPERATION(void, TextureVectorInterface, getVectorBounds, SLOT(7), ARGS(min, max), Vector* min,
          Vector* max)
RECORD_OPERATION(Vector, TextureVectorInterface, getGradient, SLOT(8), ARGS(sc),
                 const ShadingContext* sc)

OPERATION(int32_t, TextureIntInterface, getInt, SLOT(6), ARGS(sc), const ShadingContext* sc)
RECORD_OPERATION(Transform, TextureTransformInterface, getTransform, SLOT(6), ARGS(sc),
                 const ShadingContext* sc)

OPERATION(void*, RTTexInterface, getShaderInfo, SLOT(6), ARGS())
OPERATION(void, RTTexInterface, setShaderInfo, SLOT(7), ARGS(info), void* info)
OPERATION(int32_t, RTTexInterface, getShaderSource, SLOT(8),
          ARGS(outputName, secondName, descriptorKind, source, oclData), const char* outputName,
          const char* secondName, const char* descriptorKind, void* source, void* oclData)

#endif
