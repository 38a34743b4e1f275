/* usage: contract_test LIBRARY
 * Drives the library by slot numbers and offsets alone. Prints what does not hold and returns how
 * many times that happened. */

#include <stdio.h>
#include <string.h>

#include "c_host.h"

static int failures;
static const char* place; /* what is being looked at, for the report */

static void check(int holds, const char* text, int line) {
  if (holds) return;
  ++failures;
  printf("%d: %s: does not hold: %s\n", line, place, text);
}
#define CHECK(condition) check(!!(condition), #condition, __LINE__)

static void checkNumbers(const float* found, const float* expected, int count, const char* what,
                         int line) {
  for (int i = 0; i < count; ++i) {
    if (memcmp(&found[i], &expected[i], sizeof(float)) == 0) continue;
    ++failures;
    printf("%d: %s: %s, number %d is %g and should be %g\n", line, place, what, i, found[i],
           expected[i]);
  }
}
#define CHECK_NUMBERS(record, ...)                                                            \
  do {                                                                                        \
    const float expected_[] = {__VA_ARGS__};                                                  \
    checkNumbers((const float*)&(record), expected_, sizeof(record) / sizeof(float), #record, \
                 __LINE__);                                                                   \
  } while (0)

static void** words(void* object) { return object; }
static int sameText(const char* a, const char* b) { return a != NULL && strcmp(a, b) == 0; }

/* ---- Descriptors ---------------------------------------------------------------------------- */

static const struct {
  const char* name;
  uint64_t id;
  int isTexture;
} kinds[] = {
    /* newest first */
    {"Float3ToAColor", 0x77831EDA, 1}, {"TexAColorOp", 0x7782F94E, 0},
    {"TexFloatOp", 0x7782F94D, 0},     {"TexVectorOp", 0x7782F94A, 0},
    {"TexSampler", 0x7782F949, 0},
};
enum { KINDS = sizeof kinds / sizeof kinds[0] };

typedef struct {
  void* const* table;
  void* descs[KINDS + 1];
  int count;
  int stopAt;
} Visitor;

static int32_t METHOD visitor_visitPluginDesc(void* self, void* desc) {
  Visitor* visitor = self;
  if (visitor->count <= KINDS) visitor->descs[visitor->count] = desc;
  return ++visitor->count != visitor->stopAt;
}
static void* const visitorTable[] = {
    [PluginDescVisitor_visitPluginDesc_slot] = visitor_visitPluginDesc,
};

static void checkLibrary(void* library) {
  Visitor stopping = {.table = visitorTable, .stopAt = 3};
  place = "library descriptor";
  CHECK(sameText(PluginLibDesc_getLibraryName(library), "SamplerInfo"));
  CHECK(sameText(PluginLibDesc_getLibraryDescription(library),
                 "Sampler info texture and vector/color operations for Quor"));
  CHECK(PluginLibDesc_enumPluginDescs(library, NULL) == KINDS);
  CHECK(PluginLibDesc_enumPluginDescs(library, &stopping) == 3);
  CHECK(stopping.count == 3);
  CHECK(words(library)[PluginBase_interfaces] == NULL);
  CHECK(PluginBase_getInterface(library, EXT_QUOR_PLUGIN) == NULL);
}

typedef struct {
  void* const* table;
  void *registered, *unregistered;
} Registry;

static void METHOD registry_registerPluginDesc(void* self, void* desc) {
  ((Registry*)self)->registered = desc;
}
static void METHOD registry_unregisterPluginDesc(void* self, void* desc) {
  ((Registry*)self)->unregistered = desc;
}
static void* const registryTable[] = {
    [QuorPluginHost_registerPluginDesc_slot] = registry_registerPluginDesc,
    [QuorPluginHost_unregisterPluginDesc_slot] = registry_unregisterPluginDesc,
};

static void checkDescriptors(void* library) {
  Visitor all = {.table = visitorTable};
  place = "enumeration";
  CHECK(PluginLibDesc_enumPluginDescs(library, &all) == KINDS);
  if (all.count != KINDS) return;
  for (int i = 0; i < KINDS; ++i) {
    void* desc = all.descs[i];
    Registry registry = {registryTable, NULL, NULL};
    place = kinds[i].name;
    CHECK(sameText(PluginDesc_getPluginName(desc), kinds[i].name));
    CHECK(PluginDesc_getPluginId(desc) == kinds[i].id);
    CHECK(PluginDesc_supportsInterface(desc, EXT_QUOR_PLUGIN) == 1);
    CHECK(PluginDesc_supportsInterface(desc, EXT_QUOR_PLUGIN | (uint64_t)1 << 32) == 0);
    CHECK(PluginDesc_supportsInterface(desc, EXT_TEXTURE) == kinds[i].isTexture);
    CHECK(PluginDesc_getExtraInfo(desc) == NULL);
    CHECK(PluginBase_getInterface(desc, EXT_QUOR_PLUGIN) == NULL);
    CHECK(words(desc)[PluginBase_interfaces] == NULL);
    CHECK(words(desc)[QuorPluginDesc_paramListDesc] == &words(desc)[descriptor_parameters]);
    CHECK(words(desc)[descriptor_parameters] != NULL);

    PluginDesc_registerPlugin(desc, &registry);
    CHECK(registry.registered == desc && registry.unregistered == NULL);
    PluginDesc_unregisterPlugin(desc, &registry);
    CHECK(registry.unregistered == desc);
    PluginDesc_registerPlugin(desc, NULL);
    PluginDesc_unregisterPlugin(desc, NULL);
    PluginDesc_deletePlugin(desc, NULL);
  }
}

/* ---- Instances ------------------------------------------------------------------------------ */

/* An interface that counts how often it is released. */
typedef struct {
  void* const* table;
  int releases;
} Added;

enum { ADDED_ID = 0x1234 };
static uint64_t METHOD added_getInterfaceId(void* self) {
  (void)self;
  return (uint64_t)1 << 32 | ADDED_ID;
}
static void METHOD added_release(void* self) { ++((Added*)self)->releases; }
static void* const addedTable[] = {
    [PluginInterface_getInterfaceId_slot] = added_getInterfaceId,
    [PluginInterface_release_slot] = added_release,
};

/* One part of a plugin, as an interface. */
static void checkInterface(void* plugin, void* part, uint64_t id, const char* name) {
  CHECK(PluginBase_getInterface(plugin, id) == part);
  CHECK(PluginBase_getInterface(plugin, id | (uint64_t)1 << 32) == NULL);
  CHECK(PluginInterface_getInterfaceId(part) == id);
  CHECK(sameText(PluginInterface_getInterfaceName(part), name));
  CHECK(PluginInterface_getPlugin(part) == plugin);
  PluginInterface_release(part); /* changes nothing */
  CHECK(PluginBase_getInterface(plugin, id) == part);
}

static void checkInterfaceList(void* plugin, Added* added) {
  const uint64_t id = added_getInterfaceId(added);
  void** entry;
  CHECK(words(plugin)[PluginBase_interfaces] == NULL);
  CHECK(PluginBase_getInterface(plugin, id) == NULL);
  CHECK(PluginBase_removeInterface(plugin, added) == 0);
  CHECK(PluginBase_addInterface(plugin, added, 0) == 1);
  CHECK(PluginBase_addInterface(plugin, added, 1) == 1);
  CHECK(PluginBase_getInterface(plugin, id) == added);
  CHECK(PluginBase_getInterface(plugin, ADDED_ID) == NULL);

  /* An entry is the interface, the flag and the next entry. */
  entry = words(plugin)[PluginBase_interfaces];
  CHECK(entry[0] == added);
  CHECK(*(int32_t*)&entry[1] == 1);
  CHECK(entry[2] != NULL && words(entry[2])[0] == added && words(entry[2])[2] == NULL);

  PluginBase_releaseInterface(plugin, added); /* does nothing */
  CHECK(PluginBase_removeInterface(plugin, added) == 1);
  CHECK(PluginBase_addInterface(plugin, added, 1) == 1);
  CHECK(added->releases == 0);
}

static void checkInstance(void* desc, int isTexture, int isShader) {
  Added added = {addedTable, 0};
  void* plugin = PluginDesc_newPlugin(desc, NULL);
  void** quorPart = &words(plugin)[QuorPlugin_QuorPluginInterface];
  void** texturePart = &words(plugin)[QuorTexture_TextureInterface];
  void** shaderPart = &words(plugin)[TexAColorOp_RTTexInterface];

  place = PluginDesc_getPluginName(desc);
  CHECK(Plugin_getPluginDesc(plugin) == desc);
  checkInterface(plugin, quorPart, EXT_QUOR_PLUGIN, "EXT_QUOR_PLUGIN");
  CHECK(quorPart[QuorPluginInterface_desc] == desc);
  CHECK(quorPart[QuorPluginInterface_paramList] != NULL);
  if (isTexture) checkInterface(plugin, texturePart, EXT_TEXTURE, "EXT_TEXTURE");
  if (isShader) checkInterface(plugin, shaderPart, EXT_RTTEX, "EXT_RTTEX");
  if (!isTexture) CHECK(PluginBase_getInterface(plugin, EXT_TEXTURE) == NULL);
  if (!isShader) CHECK(PluginBase_getInterface(plugin, EXT_RTTEX) == NULL);
  checkInterfaceList(plugin, &added);

  CHECK(words(plugin)[Plugin_name] == NULL);
  Plugin_setPluginName(plugin, "first");
  Plugin_setPluginName(plugin, "second");
  CHECK(sameText(words(plugin)[Plugin_name], "second"));

  QuorPluginInterface_renderBegin(quorPart, NULL);
  QuorPluginInterface_frameBegin(quorPart, NULL);
  QuorPluginInterface_frameEnd(quorPart, NULL);
  QuorPluginInterface_renderEnd(quorPart, NULL);
  CHECK(QuorPluginInterface_getParameter(quorPart, "no such parameter") == NULL);
  CHECK(connectInput(quorPart, "no such parameter", NULL) == 0);

  /* Deleting through any part deletes the whole, and with it the list of interfaces. */
  deleteThrough(isShader ? shaderPart : isTexture ? texturePart : quorPart);
  CHECK(added.releases == 1);

  added.releases = 0;
  plugin = PluginDesc_newPlugin(desc, NULL);
  PluginBase_addInterface(plugin, &added, 1);
  PluginDesc_deletePlugin(desc, plugin);
  CHECK(added.releases == 1);
}

static void checkInstances(void* library) {
  checkInstance(findDesc(library, "TexFloatOp"), 0, 0);
  checkInstance(findDesc(library, "TexVectorOp"), 0, 0);
  checkInstance(findDesc(library, "TexSampler"), 0, 0);
  checkInstance(findDesc(library, "Float3ToAColor"), 1, 0);
  checkInstance(findDesc(library, "TexAColorOp"), 1, 1);
}

/* ---- Evaluation ----------------------------------------------------------------------------- */

/* A new instance, seen through its `QuorPluginInterface`. */
static void* newPlugin(void* library, const char* name) {
  void* plugin = PluginDesc_newPlugin(findDesc(library, name), NULL);
  place = name;
  return &words(plugin)[QuorPlugin_QuorPluginInterface];
}

static void checkOutput(void* texture, uint64_t id, const char* name) {
  CHECK(PluginInterface_getInterfaceId(texture) == id);
  CHECK(sameText(PluginInterface_getInterfaceName(texture), name));
  CHECK(PluginInterface_getPlugin(texture) == NULL);
  PluginInterface_release(texture);
}

static void checkFloatTexture(void* library) {
  FloatInput a = {floatInputTable, 6, 5, 8, {1, 2, 3}};
  FloatInput b = {floatInputTable, 4, 2, 4, {10, 20, 40}};
  void* plugin = newPlugin(library, "TexFloatOp");
  void* difference = outputOf(plugin, "difference");
  float value, min, max;
  Vector gradient;

  checkOutput(difference, EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT");
  CHECK(connectInput(plugin, "float_a", &a) == 1);
  CHECK(connectInput(plugin, "float_b", &b) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(difference)[output_firstInput] == &a);

  value = TextureFloatInterface_getFloat(difference, &host.sc);
  CHECK_NUMBERS(value, 2);
  CHECK(seenContext == &host.sc);
  TextureFloatInterface_getFloatBounds(difference, &min, &max);
  CHECK_NUMBERS(min, 1);
  CHECK_NUMBERS(max, 6);
  gradient = TextureFloatInterface_getGradient(difference, &host.sc);
  CHECK_NUMBERS(gradient, -9, -18, -37);
  deleteThrough(plugin);
}

static void checkVectorTexture(void* library) {
  VectorInput a = {vectorInputTable, {1, 2, 3}, {0, 1, 2}, {2, 3, 4}, {1, 2, 3}};
  VectorInput b = {vectorInputTable, {4, 5, 6}, {3, 4, 5}, {5, 6, 7}, {2, 4, 8}};
  FloatInput multA = {floatInputTable, 2, 2, 2, {0, 0, 0}};
  FloatInput multB = {floatInputTable, 0.5f, 0.5f, 0.5f, {0, 0, 0}};
  void* plugin = newPlugin(library, "TexVectorOp");
  void* difference = outputOf(plugin, "difference");
  Vector value, min, max, gradient;

  checkOutput(difference, EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR");
  CHECK(connectInput(plugin, "vector_a", &a) == 1);
  CHECK(connectInput(plugin, "vector_b", &b) == 1);
  CHECK(connectInput(plugin, "mult_a", &multA) == 1);
  CHECK(connectInput(plugin, "mult_b", &multB) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(difference)[output_firstInput] == &a);

  value = TextureVectorInterface_getVector(difference, &host.sc);
  CHECK_NUMBERS(value, 0, 1.5f, 3);
  TextureVectorInterface_getVectorBounds(difference, &min, &max);
  CHECK_NUMBERS(min, -2.5f, -1, 0.5f);
  CHECK_NUMBERS(max, 2.5f, 4, 5.5f);
  gradient = TextureVectorInterface_getGradient(difference, &host.sc);
  CHECK_NUMBERS(gradient, 1, 2, 2);
  deleteThrough(plugin);
}

static void checkColorDifference(void* texture) {
  AColor value, min, max;
  Vector gradient;
  value = TextureInterface_getColor(texture, &host.sc);
  CHECK_NUMBERS(value, -3.5f, -1.75f, -7, 0.75f);
  TextureInterface_getColorBounds(texture, &min, &max);
  CHECK_NUMBERS(min, -4, -2, -8, 0.5f);
  CHECK_NUMBERS(max, -3, -1, -6, 1);
  gradient = TextureInterface_getGradient(texture, &host.sc);
  CHECK_NUMBERS(gradient, -3, -6, -13);
}

static void checkColorTexture(void* library) {
  ColorInput a = {
      colorInputTable, {0.5f, 0.25f, 1, 0.75f}, {0, 0, 0, 0.5f}, {1, 1, 2, 1}, {1, 2, 3}};
  ColorInput b = {colorInputTable, {4, 2, 8, 0.5f}, {4, 2, 8, 0.5f}, {4, 2, 8, 0.5f}, {4, 8, 16}};
  void* plugin = newPlugin(library, "TexAColorOp");
  void* object = PluginInterface_getPlugin(plugin);
  void* difference = outputOf(plugin, "difference");
  void* red = outputOf(plugin, "red");
  void* intensity = outputOf(plugin, "intensity");
  void* intensityObject = PluginInterface_getPlugin(intensity);

  checkOutput(difference, EXT_TEXTURE, "EXT_TEXTURE");
  CHECK(connectInput(plugin, "color_a", &a) == 1);
  CHECK(connectInput(plugin, "color_b", &b) == 1);
  CHECK(setNumber(plugin, "mode", KIND_INTEGER, 4) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(object)[TexAColorOp_color_a] == &a);
  CHECK(words(difference)[output_firstInput] == &a);
  checkColorDifference(difference);
  checkColorDifference(PluginBase_getInterface(object, EXT_TEXTURE));

  /* Two outputs are objects as well, one of which says so. */
  checkOutput(red, EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT");
  CHECK(words(red)[-RTex_TextureFloatInterface + PluginBase_interfaces] == NULL);
  CHECK(words(red)[output_firstInput] == &a);
  CHECK(PluginInterface_getInterfaceId(intensity) == EXT_TEXTURE_FLOAT);
  CHECK(intensity == &words(intensityObject)[ITex_TextureFloatInterface]);
  checkInterface(intensityObject, &words(intensityObject)[ITex_RTTexInterface], EXT_RTTEX,
                 "EXT_RTTEX");
  CHECK(PluginBase_getInterface(intensityObject, EXT_TEXTURE_FLOAT) == NULL);
  CHECK(words(intensityObject)[ITex_RTTexInterface + output_firstInput] == &a);
  deleteThrough(plugin);
}

static void checkBoolean(void* library) {
  FloatInput r = {floatInputTable, 0.25f, 0, 0.5f, {3, 0, 0}};
  FloatInput g = {floatInputTable, 0.5f, 0.25f, 0.75f, {0, 6, 0}};
  FloatInput b = {floatInputTable, 1, 1, 2, {0, 0, 9}};
  FloatInput alpha = {floatInputTable, 0.375f, 0, 0, {0, 0, 0}};
  void* plugin = newPlugin(library, "Float3ToAColor");
  void* color = outputOf(plugin, "color");
  AColor value, min, max;
  Vector gradient;

  connectInput(plugin, "float1", &r);
  connectInput(plugin, "float2", &g);
  connectInput(plugin, "float3", &b);
  connectInput(plugin, "alpha", &alpha);
  CHECK(setNumber(plugin, "invert", KIND_BOOLEAN, 1) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  value = TextureInterface_getColor(color, &host.sc);
  CHECK_NUMBERS(value, 0.75f, 0.5f, 0, 0.375f);
  TextureInterface_getColorBounds(color, &min, &max);
  CHECK_NUMBERS(min, 0.5f, 0.25f, -1, 1);
  CHECK_NUMBERS(max, 1, 0.75f, 0, 1);
  gradient = TextureInterface_getGradient(color, &host.sc);
  CHECK_NUMBERS(gradient, -1, -2, -3);
  deleteThrough(plugin);
}

/* ---- The shading context and what it leads to ----------------------------------------------- */

enum Kind { FLOAT, VECTOR, INT, TRANSFORM };

/* Every output of the sampler with what it should be in the context of `fillHost`; -1 in `moving`
 * where the motion of the camera does not matter. */
static const struct {
  const char* output;
  enum Kind kind;
  int moving;
  float numbers[12];
} samples[] = {
    {"point", VECTOR, -1, {1001, 2002, 3003}},
    {"pointObject", VECTOR, -1, {2, 4, 6}},
    {"pointCamera", VECTOR, 0, {6 + 10, 2 + 20, 4 + 30}},
    {"pointCamera", VECTOR, 1, {6 + 10, 52 + 20, 4 + 30}},
    {"normal", VECTOR, -1, {4, 5, 6}},
    {"normalObject", VECTOR, -1, {-4, -5, -6}},
    {"normalCamera", VECTOR, 0, {12, 8, 10}},
    {"normalCamera", VECTOR, 1, {12, 8, 12}},
    {"gnormal", VECTOR, -1, {7, 8, 9}},
    {"camToWorld", TRANSFORM, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 1000.5f, 2000.25f, 3000.125f}},
    {"camToWorld", TRANSFORM, 1, {1, 2, 5, 4, 5, 8, 7, 8, 11, 1000, 2000, 3004}},
    {"view_dir", VECTOR, -1, {0, 3, 4}},
    {"frame_time", FLOAT, -1, {24.5f}},
    {"ray_time", FLOAT, -1, {0.25f}},
    {"facing_ratio", FLOAT, -1, {39}},
    {"material_id", INT, -1, {77}},
    {"flipped_normal", FLOAT, -1, {1}},
    {"cameraNearClipPlane", FLOAT, -1, {10}},
    {"cameraFarClipPlane", FLOAT, -1, {20}},
    {"uvCoord", VECTOR, -1, {0.25f, 0.5f, 0.75f}},
    {"rayDirection", VECTOR, 0, {0.8f, 0, 0.6f}},
    {"pixelCenter", VECTOR, -1, {10.5f, 459.5f, 0}},
    {"tangentUCamera", VECTOR, 0, {0, 1, 0}},
    {"tangentVCamera", VECTOR, 0, {0, 0, 1}},
};

/* Camera space has twice the scale and its axes in another order: (2z, 2x, 2y) + (10, 20, 30). */
static void fillHost(void) {
  const PreciseTransform worldToCamera = {{0, 2, 0}, {0, 0, 2}, {2, 0, 0}, {10, 20, 30}};
  const PreciseTransform cameraToWorld = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {0.5, 0.25, 0.125}};
  host.frameData.frameTime = 24.5;
  host.frameData.worldToCamera = worldToCamera;
  host.frameData.cameraToWorld = cameraToWorld;
  host.frameData.imageHeight = 480;
  host.frameData.worldOffset = (DVector){1000, 2000, 3000};
  host.sc.rayDirection = (Vector){0, 3, 4};
  host.sc.rayTime = 0.25;
  host.sc.imageX = 10.7;
  host.sc.imageY = 20.2;
  host.sc.shadingPoint = (DVector){1, 2, 3};
  host.sc.normal = (Vector){4, 5, 6};
  host.sc.geometricNormal = (Vector){7, 8, 9};
  host.sc.backfacing = 1;
  host.scene.lo = (Vector){-1, -25, -1}; /* depths 20 to 10: 0 - (2y + 30) */
  host.scene.hi = (Vector){1, -20, 1};
  host.surface.a = (Vector){2, 0, 0};
  host.surface.b = (Vector){0, 4, 0};
  host.surface.c = (Vector){0, 0, 1};
  host.surface.uvw = (Vector){0.25f, 0.5f, 0.75f};
  host.surface.materialId = 77;
}

static int evaluate(void* texture, enum Kind kind, float* numbers) {
  switch (kind) {
    case FLOAT:
      numbers[0] = TextureFloatInterface_getFloat(texture, &host.sc);
      return 1;
    case VECTOR:
      *(Vector*)numbers = TextureVectorInterface_getVector(texture, &host.sc);
      return 3;
    case INT:
      numbers[0] = (float)TextureIntInterface_getInt(texture, &host.sc);
      return 1;
    default:
      *(Transform*)numbers = TextureTransformInterface_getTransform(texture, &host.sc);
      return 12;
  }
}

static void checkSampler(void* library) {
  static const struct {
    uint64_t id;
    const char* name;
  } interfaces[] = {
      [FLOAT] = {EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT"},
      [VECTOR] = {EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR"},
      [INT] = {EXT_TEXTURE_INT, "EXT_TEXTURE_INT"},
      [TRANSFORM] = {EXT_TEXTURE_TRANSFORM, "EXT_TEXTURE_TRANSFORM"},
  };
  void* plugin = newPlugin(library, "TexSampler");
  fillHost();
  host.log.lines = 0;
  QuorPluginInterface_renderBegin(plugin, NULL);
  for (int moving = 0; moving <= 1; ++moving) {
    host.services.cameraMoving = moving;
    QuorPluginInterface_frameBegin(plugin, NULL);
    for (size_t i = 0; i < sizeof samples / sizeof samples[0]; ++i) {
      float numbers[12];
      void* texture = outputOf(plugin, samples[i].output);
      int count;
      place = samples[i].output;
      if (samples[i].moving >= 0 && samples[i].moving != moving) continue;
      checkOutput(texture, interfaces[samples[i].kind].id, interfaces[samples[i].kind].name);
      count = evaluate(texture, samples[i].kind, numbers);
      checkNumbers(numbers, samples[i].numbers, count, "value", __LINE__);
    }
    place = "log";
    CHECK(host.log.lines == moving + 1);
    CHECK(sameText(host.log.text, "Auto clipping planes : 10.00 20.00\n"));
  }

  /* Outputs lie one after the other in the plugin, and these hold nothing but their tables. */
  place = "TexSampler";
  CHECK(words(outputOf(plugin, "camToWorld")) + output_withoutInputs ==
        outputOf(plugin, "view_dir"));
  CHECK(words(outputOf(plugin, "material_id")) + output_withoutInputs ==
        outputOf(plugin, "flipped_normal"));
  deleteThrough(plugin);
}

/* ---- Shader source -------------------------------------------------------------------------- */

/* The accumulators belong to the host's library, which here is the stand-in: it notes each request
 * in a list that is empty while its three pointers are null. */
typedef struct {
  void *self, *texture;
  const char *outputName, *secondName, *descriptorKind;
} ShaderRequest;
static struct {
  ShaderRequest *begin, *end, *limit;
  int32_t answer;
} shaderSource = {.answer = 0};
static struct { int32_t requests; } oclData;

static void checkShaderSource(void* object, const char* served, const char* declined,
                              void* texture) {
  void* shader = PluginBase_getInterface(object, EXT_RTTEX);
  int32_t requests = oclData.requests;
  ShaderRequest* request;

  RTTexInterface_setShaderInfo(shader, &requests);
  CHECK(RTTexInterface_getShaderInfo(shader) == NULL);
  CHECK(RTTexInterface_getShaderSource(shader, declined, "second", "MaterialDescriptor",
                                       &shaderSource, &oclData) == 0);
  CHECK(RTTexInterface_getShaderSource(shader, served, "second", "materialDescriptor",
                                       &shaderSource, &oclData) == 0);
  CHECK(oclData.requests == requests);

  CHECK(RTTexInterface_getShaderSource(shader, served, "second", "MaterialDescriptor",
                                       &shaderSource, &oclData) == 1);
  CHECK(oclData.requests == requests + 1);
  if (oclData.requests != requests + 1) return;
  request = shaderSource.end - 1;
  CHECK(request->self == shader);
  CHECK(request->texture == texture);
  CHECK(sameText(request->outputName, served));
  CHECK(sameText(request->secondName, "second"));
  CHECK(sameText(request->descriptorKind, "MaterialDescriptor"));
}

static void checkShaderSources(void* library) {
  ColorInput a = {colorInputTable, {1, 2, 3, 4}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0}};
  void* plugin = newPlugin(library, "TexAColorOp");
  connectInput(plugin, "color_a", &a);
  QuorPluginInterface_frameBegin(plugin, NULL);
  place = "shader source of TexAColorOp";
  checkShaderSource(PluginInterface_getPlugin(plugin), "color", "float", &a);
  place = "shader source of the intensity";
  checkShaderSource(PluginInterface_getPlugin(outputOf(plugin, "intensity")), "float", "color", &a);
  deleteThrough(plugin);
}

int main(int argc, char** argv) {
  void* library;
  if (argc != 2) {
    fprintf(stderr, "usage: contract_test LIBRARY\n");
    return 2;
  }
  setvbuf(stdout, NULL, _IONBF, 0); /* so that a crash tells what came before it */
  library = loadLibrary(argv[1]);
  checkLibrary(library);
  checkDescriptors(library);
  checkInstances(library);
  checkFloatTexture(library);
  checkVectorTexture(library);
  checkColorTexture(library);
  checkBoolean(library);
  checkSampler(library);
  checkShaderSources(library);
  unloadLibrary();
  printf(failures == 0 ? "everything holds\n" : "%d failures\n", failures);
  return failures != 0;
}
