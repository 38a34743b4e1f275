#include "c_host.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* ---- The library ---------------------------------------------------------------------------- */

#ifdef _WIN32
#include <windows.h>
static HMODULE module;
static void* openModule(const char* path) { return module = LoadLibraryA(path); }
static void* symbol(const char* name) { return (void*)GetProcAddress(module, name); }
void unloadLibrary(void) { FreeLibrary(module); }
int isLoaded(const char* path) { return GetModuleHandleA(path) != NULL; }
#else
#include <dlfcn.h>
static void* module;
static void* openModule(const char* path) { return module = dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void* symbol(const char* name) { return dlsym(module, name); }
void unloadLibrary(void) { dlclose(module); }
int isLoaded(const char* path) { return dlopen(path, RTLD_NOW | RTLD_NOLOAD) != NULL; }
#endif

void* loadLibrary(const char* path) {
  void* (*getLibDesc)(void) = NULL;
  if (path != NULL && openModule(path) != NULL) getLibDesc = (void* (*)(void))symbol("getLibDesc");
  if (getLibDesc != NULL) return getLibDesc();
  fprintf(stderr, "%s: cannot be loaded, or does not export getLibDesc\n",
          path ? path : "no library");
  exit(2);
}

static int32_t METHOD DescList_visitPluginDesc(void* self, void* desc) {
  DescList* list = self;
  if (list->count < DESCS) list->descs[list->count] = desc;
  return ++list->count != list->stopAt ? 256 : 0; /* anything but 0 goes on */
}
void* const DescList_table[] = {
    DescList_visitPluginDesc,
};

void* findDesc(void* library, const char* name) {
  DescList list = {.table = DescList_table};
  PluginLibDesc_enumPluginDescs(library, &list);
  for (int i = 0; i < list.count && i < DESCS; ++i) {
    if (strcmp(PluginDesc_getPluginName(list.descs[i]), name) == 0) return list.descs[i];
  }
  fprintf(stderr, "no plugin is named %s\n", name);
  exit(2);
}

/* ---- Checks --------------------------------------------------------------------------------- */

int failures;
const char* place = "start";

void check(int holds, const char* text, int line) {
  if (holds) return;
  ++failures;
  printf("%d: %s: does not hold: %s\n", line, place, text);
}

int finish(void) {
  printf(failures == 0 ? "everything holds\n" : "%d failures\n", failures);
  return failures != 0;
}

/* ---- Textures ------------------------------------------------------------------------------- */

/* One kind of input. Its value, a float or a record, is given back in the way of its kind. */
#define INPUT(Kind, Interface, id, get, Value, RESULT_TYPE, RESULT_PARAMETER, GIVE)               \
  static uint64_t METHOD Kind##_getInterfaceId(void* self) { return id; }                         \
  static Value* Kind##_values(void* self) { return (Value*)((Input*)self)->numbers; }             \
  static RESULT_TYPE Kind##_##get(void* self RESULT_PARAMETER, const ShadingContext* sc) {        \
    GIVE(*Kind##_values(self));                                                                   \
  }                                                                                               \
  static void METHOD Kind##_##get##Bounds(void* self, Value* min, Value* max) {                   \
    *min = Kind##_values(self)[1];                                                                \
    *max = Kind##_values(self)[2];                                                                \
  }                                                                                               \
  static RECORD(Vector) Kind##_getGradient(void* self RESULT(Vector), const ShadingContext* sc) { \
    RETURN(*(Vector*)&Kind##_values(self)[3]);                                                    \
  }                                                                                               \
  void* const Kind##_table[] = {                                                                  \
      [PluginInterface_getInterfaceId_slot] = Kind##_getInterfaceId,                              \
      [Interface##_##get##_slot] = Kind##_##get,                                                  \
      [Interface##_##get##Bounds_slot] = Kind##_##get##Bounds,                                    \
      [Interface##_getGradient_slot] = Kind##_getGradient,                                        \
  };
INPUT(ColorInput, TextureInterface, EXT_TEXTURE, getColor, AColor, RECORD(AColor), RESULT(AColor),
      RETURN)
INPUT(FloatInput, TextureFloatInterface, EXT_TEXTURE_FLOAT, getFloat, float, float METHOD, ,
      return )
INPUT(VectorInput, TextureVectorInterface, EXT_TEXTURE_VECTOR, getVector, Vector, RECORD(Vector),
      RESULT(Vector), RETURN)
void* const* const inputTables[] = {ColorInput_table, FloatInput_table, VectorInput_table};

int32_t connectInput(void* pluginInterface, const char* name, void* texture) {
  QuorPluginParameter parameter = {name, KIND_INTERFACE, {.iface = texture}};
  return QuorPluginInterface_setParameter(pluginInterface, &parameter);
}

int32_t setNumber(void* pluginInterface, const char* name, int32_t kind, int32_t value) {
  QuorPluginParameter parameter = {name, kind, {.integer = value}};
  if (kind == KIND_BOOLEAN) parameter.value.boolean = value != 0;
  return QuorPluginInterface_setParameter(pluginInterface, &parameter);
}

void* outputOf(void* pluginInterface, const char* name) {
  QuorPluginParameter* parameter = QuorPluginInterface_getParameter(pluginInterface, name);
  return parameter != NULL && parameter->kind == KIND_INTERFACE ? parameter->value.iface : NULL;
}

#define ASK(Interface, Value, get)                                                      \
  do {                                                                                  \
    Value* values = (Value*)numbers;                                                    \
    if (question == VALUE) values[0] = Interface##_##get(texture, &host.sc);            \
    if (question == BOUNDS) Interface##_##get##Bounds(texture, values, &values[1]);     \
    if (question == GRADIENT) gradient[0] = Interface##_getGradient(texture, &host.sc); \
    if (question == GRADIENT) return 3;                                                 \
    return (int)(sizeof(Value) / sizeof(float)) * (question == BOUNDS ? 2 : 1);         \
  } while (0)

int ask(void* texture, enum TextureKind kind, enum Question question, float* numbers) {
  Vector* gradient = (Vector*)numbers;
  int32_t integer;
  switch (kind) {
    case COLOR:
      ASK(TextureInterface, AColor, getColor);
    case NUMBER:
      ASK(TextureFloatInterface, float, getFloat);
    case VECTOR:
      ASK(TextureVectorInterface, Vector, getVector);
    case INTEGER:
      if (question != VALUE) return 0;
      integer = TextureIntInterface_getInt(texture, &host.sc);
      memcpy(numbers, &integer, sizeof integer);
      return 1;
    default:
      if (question != VALUE) return 0;
      *(Transform*)numbers = TextureTransformInterface_getTransform(texture, &host.sc);
      return 12;
  }
}

/* ---- The host's objects --------------------------------------------------------------------- */

/* Tables of objects, in the order of their operations. Those of log, scene and motion have no
 * destructor. A log takes any number of arguments, so that `self` is an ordinary first one. */

static void log_print(void* self, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(host.log.text, sizeof host.log.text, format, arguments);
  va_end(arguments);
  ++host.log.lines;
}
static void* const logTable[] = {log_print};

static void METHOD scene_getBoundingBox(void* self, Vector* lo, Vector* hi) {
  *lo = host.scene.lo;
  *hi = host.scene.hi;
}
static void* const sceneTable[] = {scene_getBoundingBox};

static RECORD(DVector)
    motion_pointToRayTime(void* self RESULT(DVector), const DVector* p, double t) {
  RETURN((DVector){p->x, p->y, p->z + 16 * t});
}
static RECORD(Vector) motion_vectorToRayTime(void* self RESULT(Vector), const Vector* v, double t) {
  RETURN((Vector){v->x, v->y, v->z + 8 * (float)t});
}
static RECORD(DVector)
    motion_pointFromRayTime(void* self RESULT(DVector), const DVector* p, double t) {
  RETURN((DVector){p->x + 100 * t, p->y, p->z});
}
static RECORD(Vector)
    motion_vectorFromRayTime(void* self RESULT(Vector), const Vector* v, double t) {
  RETURN((Vector){v->x, v->y + 4 * (float)t, v->z});
}
static void* const cameraMotionTable[] = {
    motion_pointToRayTime,
    motion_vectorToRayTime,
    motion_pointFromRayTime,
    motion_vectorFromRayTime,
};

static RECORD(Vector) mapping_worldToObjectNormal(void* self RESULT(Vector),
                                                  const ShadingContext* sc, const Vector* n) {
  RETURN((Vector){-n->x, -n->y, -n->z});
}
static RECORD(Vector) mapping_worldToObjectPoint(void* self RESULT(Vector),
                                                 const ShadingContext* sc, const Vector* p) {
  RETURN((Vector){2 * p->x, 2 * p->y, 2 * p->z});
}
static void* const mappingTable[] = {
    [SLOT(6)] = mapping_worldToObjectNormal,
    mapping_worldToObjectPoint,
};
static void* const* mapping = mappingTable;

static void* METHOD object_getInterface(void* self, uint64_t id) {
  return id == EXT_OBJECT_SPACE_MAPPING ? &mapping : NULL;
}
static void* const objectTable[] = {[PluginBase_getInterface_slot] = object_getInterface};

static void METHOD uvwSource_getUVWDerivatives(void* self, const ShadingContext* sc,
                                               int32_t channel, Vector* a, Vector* b, Vector* c) {
  *a = host.surface.a;
  *b = host.surface.b;
  *c = host.surface.c;
}
static RECORD(Vector)
    uvwSource_getUVW(void* self RESULT(Vector), const ShadingContext* sc, int32_t channel) {
  Vector uvw = host.surface.uvw;
  uvw.z += (float)channel;
  RETURN(uvw);
}
static void* const uvwSourceTable[] = {
    [SLOT(6)] = uvwSource_getUVWDerivatives,
    uvwSource_getUVW,
};
static void* const* uvwSource = uvwSourceTable;

static int32_t METHOD materialIdSource_getMaterialId(void* self, const ShadingContext* sc) {
  return host.surface.materialId;
}
static void* const materialIdSourceTable[] = {
    [SLOT(6)] = materialIdSource_getMaterialId,
};
static void* const* materialIdSource = materialIdSourceTable;

static void* METHOD surface_getInterface(void* self, uint64_t id) {
  if (id == EXT_UVW_SOURCE) return &uvwSource;
  if (id == EXT_MATERIAL_ID_SOURCE) return &materialIdSource;
  return NULL;
}
static void* const surfaceTable[] = {[PluginBase_getInterface_slot] = surface_getInterface};

Host host = {
    .log = {.table = logTable},
    .scene = {.table = sceneTable},
    .cameraMotion = cameraMotionTable,
    .object = objectTable,
    .surface = {.table = surfaceTable},
    .services = {.log = &host.log, .scene = &host.scene, .cameraMotion = &host.cameraMotion},
    .renderContext = {.services = &host.services, .frameData = &host.frameData},
    .sc = {.renderContext = &host.renderContext, .object = &host.object, .surface = &host.surface},
};
