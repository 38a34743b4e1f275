/* usage: contract_test LIBRARY
 * Drives the library by slot numbers and offsets alone. Prints what does not hold and returns how
 * many times that happened. */

#include <stdio.h>
#include <string.h>

#include "c_host.h"

static void checkNumbers(const float* found, const float* expected, int count, const char* what,
                         int line) {
  for (int i = 0; i < count; ++i) {
    if (memcmp(&found[i], &expected[i], sizeof(float)) == 0) continue;
    ++failures;
    printf("%d: %s: %s, number %d is %g and should be %g\n", line, place, what, i, found[i],
           expected[i]);
  }
}

/* A texture's value, minimum, maximum and gradient. */
static void checkAnswers(void* texture, enum TextureKind kind, const float* expected, int line) {
  static const char* const names[] = {"value", "bounds", "gradient"};
  for (enum Question question = VALUE; question < QUESTIONS; ++question) {
    float numbers[12];
    const int count = ask(texture, kind, question, numbers);
    checkNumbers(numbers, expected, count, names[question], line);
    expected += count;
  }
}
#define CHECK_ANSWERS(texture, kind, ...) \
  checkAnswers(texture, kind, (const float[]){__VA_ARGS__}, __LINE__)

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

static void checkLibrary(void* library) {
  DescList stopping = {.table = DescList_table, .stopAt = 3};
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
  DescList all = {.table = DescList_table};
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
    CHECK(PluginDesc_supportsInterface(desc, EXT_RTTEX) == 0);
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
  uint64_t id;
  int releases;
} Added;

static uint64_t METHOD added_getInterfaceId(void* self) { return ((Added*)self)->id; }
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
  CHECK(PluginBase_getInterface(plugin, EXT_TEXTURE_FLOAT) == NULL);
  PluginInterface_release(part); /* changes nothing */
  CHECK(PluginBase_getInterface(plugin, id) == part);
}

static void checkInterfaceList(void* plugin, Added* added) {
  const uint64_t id = added->id;
  void* quorPart = PluginBase_getInterface(plugin, EXT_QUOR_PLUGIN);
  Added other = {addedTable, id, 0}, shadowed = {addedTable, EXT_QUOR_PLUGIN, 0};
  void** entry;
  CHECK(words(plugin)[PluginBase_interfaces] == NULL);
  CHECK(PluginBase_getInterface(plugin, id) == NULL);
  CHECK(PluginBase_removeInterface(plugin, added) == 0);
  CHECK(PluginBase_addInterface(plugin, added, 0) == 1);
  CHECK(PluginBase_addInterface(plugin, added, 1) == 1);
  CHECK(PluginBase_getInterface(plugin, id) == added);

  /* An entry is the interface, the flag and the next entry. */
  entry = words(plugin)[PluginBase_interfaces];
  CHECK(entry[0] == added);
  CHECK(*(int32_t*)&entry[1] == 1);
  CHECK(entry[2] != NULL && words(entry[2])[0] == added && words(entry[2])[2] == NULL);

  /* The newest is found first, the plugin's own parts before the list. */
  PluginBase_addInterface(plugin, NULL, 1);
  PluginBase_addInterface(plugin, &other, 0);
  PluginBase_addInterface(plugin, &shadowed, 0);
  CHECK(PluginBase_getInterface(plugin, id) == &other);
  CHECK(PluginBase_getInterface(plugin, EXT_QUOR_PLUGIN) == quorPart);
  CHECK(PluginBase_removeInterface(plugin, &other) == 1);
  CHECK(PluginBase_removeInterface(plugin, &shadowed) == 1);
  CHECK(PluginBase_getInterface(plugin, id) == added);

  PluginBase_releaseInterface(plugin, added);            /* does nothing */
  CHECK(PluginBase_removeInterface(plugin, added) == 1); /* the one with the flag */
  CHECK(PluginBase_getInterface(plugin, id) == added);
  CHECK(PluginBase_addInterface(plugin, added, 1) == 1);
  CHECK(added->releases == 0);
}

static void checkInstance(void* desc, int isTexture, int isShader) {
  Added added = {addedTable, EXT_QUOR_PLUGIN | (uint64_t)1 << 32, 0};
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
  FloatInput a = {FloatInput_table, 6, 5, 8, {1, 2, 3}};
  FloatInput b = {FloatInput_table, 4, 2, 4, {10, 20, 40}};
  void* plugin = newPlugin(library, "TexFloatOp");
  void* difference = outputOf(plugin, "difference");

  checkOutput(difference, EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT");
  CHECK(connectInput(plugin, "float_a", &a) == 1);
  CHECK(connectInput(plugin, "float_b", &b) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(difference)[output_firstInput] == &a);

  CHECK_ANSWERS(difference, NUMBER, 2, 1, 6, -9, -18, -37);
  CHECK(seenContext == &host.sc);
  deleteThrough(plugin);
}

static void checkVectorTexture(void* library) {
  VectorInput a = {VectorInput_table, {1, 2, 3}, {0, 1, 2}, {2, 3, 4}, {1, 2, 3}};
  VectorInput b = {VectorInput_table, {4, 5, 6}, {3, 4, 5}, {5, 6, 7}, {2, 4, 8}};
  FloatInput multA = {FloatInput_table, 2, 2, 2, {0, 0, 0}};
  FloatInput multB = {FloatInput_table, 0.5f, 0.5f, 0.5f, {0, 0, 0}};
  void* plugin = newPlugin(library, "TexVectorOp");
  void* difference = outputOf(plugin, "difference");

  checkOutput(difference, EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR");
  CHECK(connectInput(plugin, "vector_a", &a) == 1);
  CHECK(connectInput(plugin, "vector_b", &b) == 1);
  CHECK(connectInput(plugin, "mult_a", &multA) == 1);
  CHECK(connectInput(plugin, "mult_b", &multB) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(difference)[output_firstInput] == &a);

  CHECK_ANSWERS(difference, VECTOR, 0, 1.5f, 3, -2.5f, -1, 0.5f, 2.5f, 4, 5.5f, 1, 2, 2);
  deleteThrough(plugin);
}

static void checkColorDifference(void* texture) {
  CHECK_ANSWERS(texture, COLOR, -3.5f, -1.75f, -7, 0.75f, -4, -2, -8, 0.5f, -3, -1, -6, 1, -3, -6,
                -13);
}

static void checkColorTexture(void* library) {
  ColorInput a = {
      ColorInput_table, {0.5f, 0.25f, 1, 0.75f}, {0, 0, 0, 0.5f}, {1, 1, 2, 1}, {1, 2, 3}};
  ColorInput b = {ColorInput_table, {4, 2, 8, 0.5f}, {4, 2, 8, 0.5f}, {4, 2, 8, 0.5f}, {4, 8, 16}};
  void* plugin = newPlugin(library, "TexAColorOp");
  void* object = PluginInterface_getPlugin(plugin);
  void* difference = outputOf(plugin, "difference");
  void* red = outputOf(plugin, "red");
  void** redObject = &words(red)[-RTex_TextureFloatInterface];
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
  CHECK(redObject[0] != NULL && virtualTable(redObject)[PluginBase_addInterface_slot] ==
                                    virtualTable(object)[PluginBase_addInterface_slot]);
  CHECK(redObject[PluginBase_interfaces] == NULL);
  CHECK(words(red)[output_firstInput] == &a);
  CHECK(PluginInterface_getInterfaceId(intensity) == EXT_TEXTURE_FLOAT);
  CHECK(intensity == &words(intensityObject)[ITex_TextureFloatInterface]);
  checkInterface(intensityObject, &words(intensityObject)[ITex_RTTexInterface], EXT_RTTEX,
                 "EXT_RTTEX");
  CHECK(words(intensityObject)[ITex_RTTexInterface + output_firstInput] == &a);
  deleteThrough(plugin);
}

static void checkBoolean(void* library) {
  FloatInput r = {FloatInput_table, 0.25f, 0, 0.5f, {3, 0, 0}};
  FloatInput g = {FloatInput_table, 0.5f, 0.25f, 0.75f, {0, 6, 0}};
  FloatInput b = {FloatInput_table, 1, 1, 2, {0, 0, 9}};
  FloatInput alpha = {FloatInput_table, 0.375f, 0, 0, {0, 0, 0}};
  void* plugin = newPlugin(library, "Float3ToAColor");
  void* color = outputOf(plugin, "color");

  connectInput(plugin, "float1", &r);
  connectInput(plugin, "float2", &g);
  connectInput(plugin, "float3", &b);
  connectInput(plugin, "alpha", &alpha);
  CHECK(setNumber(plugin, "invert", KIND_BOOLEAN, 1) == 1);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK_ANSWERS(color, COLOR, 0.75f, 0.5f, 0, 0.375f, 0.5f, 0.25f, -1, 1, 1, 0.75f, 0, 1, -1, -2,
                -3);
  deleteThrough(plugin);
}

/* ---- The shading context and what it leads to ----------------------------------------------- */

/* Every output of the sampler with what it should be in the context of `fillHost`; -1 in `moving`
 * where the motion of the camera does not matter. */
static const struct {
  const char* output;
  enum TextureKind kind;
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
    {"frame_time", NUMBER, -1, {24.5f}},
    {"ray_time", NUMBER, -1, {0.25f}},
    {"facing_ratio", NUMBER, -1, {39}},
    {"material_id", INTEGER, -1, {77}},
    {"flipped_normal", NUMBER, -1, {1}},
    {"cameraNearClipPlane", NUMBER, -1, {10}},
    {"cameraFarClipPlane", NUMBER, -1, {20}},
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

static void checkSampler(void* library) {
  static const struct {
    uint64_t id;
    const char* name;
  } interfaces[] = {
      [NUMBER] = {EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT"},
      [VECTOR] = {EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR"},
      [INTEGER] = {EXT_TEXTURE_INT, "EXT_TEXTURE_INT"},
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
      count = ask(texture, samples[i].kind, VALUE, numbers);
      if (samples[i].kind == INTEGER) numbers[0] = (float)*(const int32_t*)numbers;
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
  ColorInput a = {ColorInput_table, {1, 2, 3, 4}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0}};
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
  return finish();
}
