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
#else
#include <dlfcn.h>
static void* module;
static void* openModule(const char* path) { return module = dlopen(path, RTLD_NOW | RTLD_LOCAL); }
static void* symbol(const char* name) { return dlsym(module, name); }
void unloadLibrary(void) { dlclose(module); }
#endif

void* loadLibrary(const char* path) {
  void* (*getLibDesc)(void);
  if (openModule(path) == NULL) {
    fprintf(stderr, "cannot load %s\n", path);
    exit(2);
  }
  getLibDesc = (void* (*)(void))symbol("getLibDesc");
  if (getLibDesc == NULL) {
    fprintf(stderr, "%s does not export getLibDesc\n", path);
    exit(2);
  }
  return getLibDesc();
}

typedef struct {
  void* const* table;
  const char* name;
  void* desc;
} Finder;

static int32_t METHOD finder_visitPluginDesc(void* self, void* desc) {
  Finder* finder = self;
  if (strcmp(PluginDesc_getPluginName(desc), finder->name) != 0) return 1;
  finder->desc = desc;
  return 0;
}

static void* const finderTable[] = {
    [PluginDescVisitor_visitPluginDesc_slot] = finder_visitPluginDesc,
};

void* findDesc(void* library, const char* name) {
  Finder finder = {finderTable, name, NULL};
  PluginLibDesc_enumPluginDescs(library, &finder);
  if (finder.desc == NULL) {
    fprintf(stderr, "no plugin is named %s\n", name);
    exit(2);
  }
  return finder.desc;
}

/* ---- Textures ------------------------------------------------------------------------------- */

const ShadingContext* seenContext;

static void* METHOD noPlugin(void* self) {
  (void)self;
  return NULL;
}
static const char* METHOD noName(void* self) {
  (void)self;
  return NULL;
}
static void METHOD noRelease(void* self) { (void)self; }

#define INTERFACE_OPERATIONS(getInterfaceId)                                                     \
  [PluginInterface_getInterfaceId_slot] = getInterfaceId,                                        \
  [PluginInterface_getPlugin_slot] = noPlugin, [PluginInterface_getInterfaceName_slot] = noName, \
  [PluginInterface_release_slot] = noRelease

#define IDENTIFIER(function, id)                \
  static uint64_t METHOD function(void* self) { \
    (void)self;                                 \
    return id;                                  \
  }

IDENTIFIER(floatInput_getInterfaceId, EXT_TEXTURE_FLOAT)
static float METHOD floatInput_getFloat(void* self, const ShadingContext* sc) {
  seenContext = sc;
  return ((FloatInput*)self)->value;
}
static void METHOD floatInput_getFloatBounds(void* self, float* min, float* max) {
  *min = ((FloatInput*)self)->lo;
  *max = ((FloatInput*)self)->hi;
}
static RECORD(Vector) floatInput_getGradient(void* self RESULT(Vector), const ShadingContext* sc) {
  seenContext = sc;
  RETURN(((FloatInput*)self)->gradient);
}
void* const floatInputTable[] = {
    INTERFACE_OPERATIONS(floatInput_getInterfaceId),
    [TextureFloatInterface_getFloat_slot] = floatInput_getFloat,
    [TextureFloatInterface_getFloatBounds_slot] = floatInput_getFloatBounds,
    [TextureFloatInterface_getGradient_slot] = floatInput_getGradient,
};

IDENTIFIER(vectorInput_getInterfaceId, EXT_TEXTURE_VECTOR)
static RECORD(Vector) vectorInput_getVector(void* self RESULT(Vector), const ShadingContext* sc) {
  seenContext = sc;
  RETURN(((VectorInput*)self)->value);
}
static void METHOD vectorInput_getVectorBounds(void* self, Vector* min, Vector* max) {
  *min = ((VectorInput*)self)->lo;
  *max = ((VectorInput*)self)->hi;
}
static RECORD(Vector) vectorInput_getGradient(void* self RESULT(Vector), const ShadingContext* sc) {
  seenContext = sc;
  RETURN(((VectorInput*)self)->gradient);
}
void* const vectorInputTable[] = {
    INTERFACE_OPERATIONS(vectorInput_getInterfaceId),
    [TextureVectorInterface_getVector_slot] = vectorInput_getVector,
    [TextureVectorInterface_getVectorBounds_slot] = vectorInput_getVectorBounds,
    [TextureVectorInterface_getGradient_slot] = vectorInput_getGradient,
};

IDENTIFIER(colorInput_getInterfaceId, EXT_TEXTURE)
static RECORD(AColor) colorInput_getColor(void* self RESULT(AColor), const ShadingContext* sc) {
  seenContext = sc;
  RETURN(((ColorInput*)self)->value);
}
static void METHOD colorInput_getColorBounds(void* self, AColor* min, AColor* max) {
  *min = ((ColorInput*)self)->lo;
  *max = ((ColorInput*)self)->hi;
}
static RECORD(Vector) colorInput_getGradient(void* self RESULT(Vector), const ShadingContext* sc) {
  seenContext = sc;
  RETURN(((ColorInput*)self)->gradient);
}
void* const colorInputTable[] = {
    INTERFACE_OPERATIONS(colorInput_getInterfaceId),
    [TextureInterface_getColor_slot] = colorInput_getColor,
    [TextureInterface_getColorBounds_slot] = colorInput_getColorBounds,
    [TextureInterface_getGradient_slot] = colorInput_getGradient,
};

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

/* ---- The host's objects --------------------------------------------------------------------- */

static void log_print(void* self, const char* format, ...) {
  va_list arguments;
  (void)self;
  va_start(arguments, format);
  vsnprintf(host.log.text, sizeof host.log.text, format, arguments);
  va_end(arguments);
  ++host.log.lines;
}
static void* const logTable[] = {[RenderLog_print_slot] = log_print};

static void METHOD scene_getBoundingBox(void* self, Vector* lo, Vector* hi) {
  (void)self;
  *lo = host.scene.lo;
  *hi = host.scene.hi;
}
static void* const sceneTable[] = {[SceneInfo_getBoundingBox_slot] = scene_getBoundingBox};

static RECORD(DVector)
    motion_pointToRayTime(void* self RESULT(DVector), const DVector* p, double t) {
  const DVector moved = {p->x, p->y, p->z + 16 * t};
  (void)self;
  RETURN(moved);
}
static RECORD(Vector) motion_vectorToRayTime(void* self RESULT(Vector), const Vector* v, double t) {
  const Vector moved = {v->x, v->y, v->z + 8 * (float)t};
  (void)self;
  RETURN(moved);
}
static RECORD(DVector)
    motion_pointFromRayTime(void* self RESULT(DVector), const DVector* p, double t) {
  const DVector moved = {p->x + 100 * t, p->y, p->z};
  (void)self;
  RETURN(moved);
}
static RECORD(Vector)
    motion_vectorFromRayTime(void* self RESULT(Vector), const Vector* v, double t) {
  const Vector moved = {v->x, v->y + 4 * (float)t, v->z};
  (void)self;
  RETURN(moved);
}
static void* const cameraMotionTable[] = {
    [CameraMotion_pointToRayTime_slot] = motion_pointToRayTime,
    [CameraMotion_vectorToRayTime_slot] = motion_vectorToRayTime,
    [CameraMotion_pointFromRayTime_slot] = motion_pointFromRayTime,
    [CameraMotion_vectorFromRayTime_slot] = motion_vectorFromRayTime,
};

IDENTIFIER(mapping_getInterfaceId, EXT_OBJECT_SPACE_MAPPING)
static RECORD(Vector) mapping_worldToObjectNormal(void* self RESULT(Vector),
                                                  const ShadingContext* sc, const Vector* n) {
  const Vector mapped = {-n->x, -n->y, -n->z};
  (void)self;
  seenContext = sc;
  RETURN(mapped);
}
static RECORD(Vector) mapping_worldToObjectPoint(void* self RESULT(Vector),
                                                 const ShadingContext* sc, const Vector* p) {
  const Vector mapped = {2 * p->x, 2 * p->y, 2 * p->z};
  (void)self;
  seenContext = sc;
  RETURN(mapped);
}
static void* const mappingTable[] = {
    INTERFACE_OPERATIONS(mapping_getInterfaceId),
    [ObjectSpaceMapping_worldToObjectNormal_slot] = mapping_worldToObjectNormal,
    [ObjectSpaceMapping_worldToObjectPoint_slot] = mapping_worldToObjectPoint,
};
static struct { void* const* table; } mapping = {mappingTable};

static void* METHOD object_getInterface(void* self, uint64_t id) {
  (void)self;
  return id == EXT_OBJECT_SPACE_MAPPING ? &mapping : NULL;
}
static void* const objectTable[] = {[PluginBase_getInterface_slot] = object_getInterface};

IDENTIFIER(uvwSource_getInterfaceId, EXT_UVW_SOURCE)
static void METHOD uvwSource_getUVWDerivatives(void* self, const ShadingContext* sc,
                                               int32_t channel, Vector* a, Vector* b, Vector* c) {
  (void)self;
  (void)channel;
  seenContext = sc;
  *a = host.surface.a;
  *b = host.surface.b;
  *c = host.surface.c;
}
static RECORD(Vector)
    uvwSource_getUVW(void* self RESULT(Vector), const ShadingContext* sc, int32_t channel) {
  Vector uvw = host.surface.uvw;
  (void)self;
  seenContext = sc;
  uvw.z += (float)channel;
  RETURN(uvw);
}
static void* const uvwSourceTable[] = {
    INTERFACE_OPERATIONS(uvwSource_getInterfaceId),
    [UVWSource_getUVWDerivatives_slot] = uvwSource_getUVWDerivatives,
    [UVWSource_getUVW_slot] = uvwSource_getUVW,
};
static struct { void* const* table; } uvwSource = {uvwSourceTable};

IDENTIFIER(materialIdSource_getInterfaceId, EXT_MATERIAL_ID_SOURCE)
static int32_t METHOD materialIdSource_getMaterialId(void* self, const ShadingContext* sc) {
  (void)self;
  seenContext = sc;
  return host.surface.materialId;
}
static void* const materialIdSourceTable[] = {
    INTERFACE_OPERATIONS(materialIdSource_getInterfaceId),
    [MaterialIdSource_getMaterialId_slot] = materialIdSource_getMaterialId,
};
static struct { void* const* table; } materialIdSource = {materialIdSourceTable};

static void* METHOD surface_getInterface(void* self, uint64_t id) {
  (void)self;
  if (id == EXT_UVW_SOURCE) return &uvwSource;
  if (id == EXT_MATERIAL_ID_SOURCE) return &materialIdSource;
  return NULL;
}
static void* const surfaceTable[] = {[PluginBase_getInterface_slot] = surface_getInterface};

Host host = {
    .log = {.table = logTable},
    .scene = {.table = sceneTable},
    .cameraMotion = {.table = cameraMotionTable},
    .object = {.table = objectTable},
    .surface = {.table = surfaceTable},
    .services = {.log = &host.log, .scene = &host.scene, .cameraMotion = &host.cameraMotion},
    .renderContext = {.services = &host.services, .frameData = &host.frameData},
    .sc = {.renderContext = &host.renderContext, .object = &host.object, .surface = &host.surface},
};
