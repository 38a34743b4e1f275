/* usage: contract_test LIBRARY
 * Drives the library by slot numbers and offsets alone. Prints what does not hold and returns how
 * many times that happened. What outputs answer is for `results`. */

#include <stdio.h>
#include <string.h>
#ifndef _WIN32
#include <malloc.h>
#endif

#include "c_host.h"

static void** words(void* object) { return object; }
static int sameText(const char* a, const char* b) { return a != NULL && strcmp(a, b) == 0; }
static uint64_t otherHalf(uint64_t id) { return id | (uint64_t)1 << 32; }

/* ---- Descriptors ---------------------------------------------------------------------------- */

static const struct {
  const char* name;
  uint64_t id;
  int isTexture, isShader;
} kinds[] = {
    /* newest first */
    {"Float3ToAColor", 0x77831EDA, 1, 0}, {"TexAColorOp", 0x7782F94E, 0, 1},
    {"TexFloatOp", 0x7782F94D, 0, 0},     {"TexVectorOp", 0x7782F94A, 0, 0},
    {"TexSampler", 0x7782F949, 0, 0},
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
    registry_registerPluginDesc,
    registry_unregisterPluginDesc,
};

static void checkDescriptor(void* desc, int kind) {
  const ParameterInfos* parameters = parametersOf(desc);
  Registry registry = {registryTable, NULL, NULL};
  CHECK(sameText(PluginDesc_getPluginName(desc), kinds[kind].name));
  CHECK(PluginDesc_getPluginId(desc) == kinds[kind].id);
  CHECK(PluginDesc_supportsInterface(desc, EXT_QUOR_PLUGIN) == 1);
  CHECK(PluginDesc_supportsInterface(desc, otherHalf(EXT_QUOR_PLUGIN)) == 0);
  CHECK(PluginDesc_supportsInterface(desc, EXT_TEXTURE) == kinds[kind].isTexture);
  CHECK(PluginDesc_supportsInterface(desc, EXT_RTTEX) == 0);
  CHECK(PluginDesc_getExtraInfo(desc) == NULL);
  CHECK(PluginBase_getInterface(desc, EXT_QUOR_PLUGIN) == NULL);
  CHECK(words(desc)[PluginBase_interfaces] == NULL);
  CHECK(words(desc)[QuorPluginDesc_paramListDesc] == &words(desc)[descriptor_parameters]);
  for (const ParameterInfo* p = parameters->begin; p != parameters->end; ++p) {
    CHECK(p->flags == (p->type < PARAM_OUTPUT ? -1 : 0) && p->text == NULL);
    CHECK((p->help == NULL) == sameText(p->name, "invert"));
  }

  PluginDesc_registerPlugin(desc, &registry);
  CHECK(registry.registered == desc && registry.unregistered == NULL);
  PluginDesc_unregisterPlugin(desc, &registry);
  CHECK(registry.unregistered == desc);
  PluginDesc_registerPlugin(desc, NULL);
  PluginDesc_unregisterPlugin(desc, NULL);
  PluginDesc_deletePlugin(desc, NULL);
}

/* ---- Instances ------------------------------------------------------------------------------ */

/* An interface that notes how often it was released, and as the how manieth of all. */
typedef struct {
  void* const* table;
  uint64_t id;
  int releases, turn;
} Added;
static int turns;

static uint64_t METHOD added_getInterfaceId(void* self) { return ((Added*)self)->id; }
static void METHOD added_release(void* self) {
  ++((Added*)self)->releases;
  ((Added*)self)->turn = ++turns;
}
static void* const addedTable[] = {
    [PluginInterface_getInterfaceId_slot] = added_getInterfaceId,
    [PluginInterface_release_slot] = added_release,
};

/* One part of a plugin, as an interface. */
static void checkInterface(void* plugin, void* part, uint64_t id, const char* name) {
  CHECK(PluginBase_getInterface(plugin, id) == part);
  CHECK(PluginBase_getInterface(plugin, otherHalf(id)) == NULL);
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
  Added other = {addedTable, id, 0, 0}, shadowed = {addedTable, EXT_QUOR_PLUGIN, 0, 0};
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

/* What its owner is told when the user of a part is done with it: `plugin` with another table. */
static void* released;
static void METHOD noteRelease(void* self, void* iface) { released = iface; }

static void checkOwnerIsTold(void* plugin, void* part) {
  void* const* table = virtualTable(plugin);
  void* noting[PluginBase_releaseInterface_slot + 1];
  memcpy(noting, table, sizeof noting);
  noting[PluginBase_releaseInterface_slot] = noteRelease;
  words(plugin)[0] = noting;
  PluginInterface_release(part);
  words(plugin)[0] = (void*)table;
  CHECK(released == part);
}

static void checkOutputs(void* desc, void* quorPart) {
  static const struct {
    uint64_t id;
    const char* name;
  } interfaces[] = {
      [COLOR] = {EXT_TEXTURE, "EXT_TEXTURE"},
      [NUMBER] = {EXT_TEXTURE_FLOAT, "EXT_TEXTURE_FLOAT"},
      [VECTOR] = {EXT_TEXTURE_VECTOR, "EXT_TEXTURE_VECTOR"},
      [INTEGER] = {EXT_TEXTURE_INT, "EXT_TEXTURE_INT"},
      [TRANSFORM] = {EXT_TEXTURE_TRANSFORM, "EXT_TEXTURE_TRANSFORM"},
  };
  const ParameterInfos* parameters = parametersOf(desc);
  for (const ParameterInfo* p = parameters->begin; p != parameters->end; ++p) {
    void* texture = outputOf(quorPart, p->name);
    if (p->type < PARAM_OUTPUT) continue;
    place = p->name;
    CHECK(PluginInterface_getInterfaceId(texture) == interfaces[p->type - PARAM_OUTPUT].id);
    CHECK(sameText(PluginInterface_getInterfaceName(texture),
                   interfaces[p->type - PARAM_OUTPUT].name));
    CHECK((PluginInterface_getPlugin(texture) != NULL) == sameText(place, "intensity"));
    PluginInterface_release(texture);
  }
}

static void checkInstance(void* desc, int kind) {
  Added added = {addedTable, otherHalf(EXT_QUOR_PLUGIN), 0, 0};
  void* plugin = PluginDesc_newPlugin(desc, desc); /* the argument is not used */
  void** quorPart = &words(plugin)[QuorPlugin_QuorPluginInterface];
  void** texturePart = &words(plugin)[QuorTexture_TextureInterface];
  void** shaderPart = &words(plugin)[TexAColorOp_RTTexInterface];
  const int isShader = kinds[kind].isShader, isTexture = kinds[kind].isTexture || isShader;

  CHECK(Plugin_getPluginDesc(plugin) == desc);
  checkInterface(plugin, quorPart, EXT_QUOR_PLUGIN, "EXT_QUOR_PLUGIN");
  CHECK(quorPart[QuorPluginInterface_desc] == desc);
  CHECK(quorPart[QuorPluginInterface_paramList] != NULL);
  if (isTexture) checkInterface(plugin, texturePart, EXT_TEXTURE, "EXT_TEXTURE");
  if (isShader) checkInterface(plugin, shaderPart, EXT_RTTEX, "EXT_RTTEX");
  if (!isTexture) CHECK(PluginBase_getInterface(plugin, EXT_TEXTURE) == NULL);
  if (!isShader) CHECK(PluginBase_getInterface(plugin, EXT_RTTEX) == NULL);
  checkInterfaceList(plugin, &added);
  checkOwnerIsTold(plugin, quorPart);

  CHECK(words(plugin)[Plugin_name] == NULL);
  Plugin_setPluginName(plugin, "first");
  Plugin_setPluginName(plugin, (char[]){"second"});
  CHECK(sameText(words(plugin)[Plugin_name], "second"));

  QuorPluginInterface_renderBegin(quorPart, NULL);
  QuorPluginInterface_frameBegin(quorPart, NULL);
  QuorPluginInterface_frameEnd(quorPart, NULL);
  QuorPluginInterface_renderEnd(quorPart, NULL);
  CHECK(QuorPluginInterface_getParameter(quorPart, "no such parameter") == NULL);
  CHECK(connectInput(quorPart, "no such parameter", NULL) == 0);
  checkOutputs(desc, quorPart);

  /* Deleting through any part deletes the whole, and with it the list of interfaces. */
  place = kinds[kind].name;
  deleteThrough(isShader ? shaderPart : isTexture ? texturePart : quorPart);
  CHECK(added.releases == 1);

  plugin = PluginDesc_newPlugin(desc, NULL);
  PluginBase_addInterface(plugin, &added, 1);
  PluginDesc_deletePlugin(desc, plugin);
  CHECK(added.releases == 2);
}

static void checkKinds(void* library) {
  DescList all = {.table = DescList_table};
  place = "enumeration";
  CHECK(PluginLibDesc_enumPluginDescs(library, &all) == KINDS);
  for (int i = 0; i < all.count && i < KINDS; ++i) {
    place = kinds[i].name;
    checkDescriptor(all.descs[i], i);
    checkInstance(all.descs[i], i);
  }
}

/* ---- A list of interfaces while its owner dies ---------------------------------------------- */

/* One that uses the list while it is released. */
static void* dying;
static Added other = {addedTable, 1, 0, 0};
static Added removed = {addedTable, 2, 0, 0};
static Added late = {addedTable, 3, 0, 0};

static void METHOD busy_release(void* self) {
  added_release(self);
  CHECK(PluginBase_getInterface(dying, ((Added*)self)->id) == NULL);
  CHECK(PluginBase_getInterface(dying, other.id) == &other);
  CHECK(PluginBase_removeInterface(dying, &removed) == 1);
  CHECK(PluginBase_addInterface(dying, &late, 1) == 1);
}
static void* const busyTable[] = {
    [PluginInterface_getInterfaceId_slot] = added_getInterfaceId,
    [PluginInterface_release_slot] = busy_release,
};

static void checkReleases(void* library) {
  enum { DEEPER_THAN_THE_STACK = 700000 };
  Added oldest = {addedTable, 4, 0, 0}, busy = {busyTable, 5, 0, 0};
  Added kept = {addedTable, 6, 0, 0}, many = {addedTable, 7, 0, 0};
  void* desc = findDesc(library, "TexFloatOp");
  place = "dying owner";
  dying = PluginDesc_newPlugin(desc, NULL);
  PluginBase_addInterface(dying, &oldest, 1);
  PluginBase_addInterface(dying, &busy, 1);
  PluginBase_addInterface(dying, &removed, 1);
  PluginBase_addInterface(dying, &kept, 0);
  PluginBase_addInterface(dying, &other, 1);
  PluginBase_addInterface(dying, NULL, 1);
  for (int i = 0; i < DEEPER_THAN_THE_STACK; ++i) PluginBase_addInterface(dying, &many, 1);
  PluginDesc_deletePlugin(desc, dying);
  CHECK(oldest.releases == 1 && busy.releases == 1 && other.releases == 1 && late.releases == 1);
  CHECK(oldest.turn < busy.turn && busy.turn < other.turn && other.turn < many.turn);
  CHECK(removed.releases == 0 && kept.releases == 0);
  CHECK(many.releases == DEEPER_THAN_THE_STACK);
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

static void checkShaderSource(void* object, const char* kind, void* texture) {
  void* shader = PluginBase_getInterface(object, EXT_RTTEX);
  const int32_t before = oclData.requests;
  ShaderRequest* request;
  RTTexInterface_setShaderInfo(shader, &request);
  CHECK(RTTexInterface_getShaderInfo(shader) == NULL);
  CHECK(RTTexInterface_getShaderSource(shader, kind, "second", "materialDescriptor", &shaderSource,
                                       &oclData) == 0);
  CHECK(RTTexInterface_getShaderSource(shader, "vector", "second", "MaterialDescriptor",
                                       &shaderSource, &oclData) == 0);
  CHECK(RTTexInterface_getShaderSource(shader, kind, "second", "MaterialDescriptor", &shaderSource,
                                       &oclData) == 1);
  CHECK(oclData.requests == before + 1);
  if (oclData.requests != before + 1) return;
  request = shaderSource.end - 1;
  CHECK(request->self == shader && request->texture == texture);
  CHECK(sameText(request->outputName, kind) && sameText(request->secondName, "second"));
  CHECK(sameText(request->descriptorKind, "MaterialDescriptor"));
}

/* ---- Plugins in memory ---------------------------------------------------------------------- */

/* A new instance, seen through its `QuorPluginInterface`. */
static void* newPlugin(void* library, const char* name) {
  place = name;
  return &words(
      PluginDesc_newPlugin(findDesc(library, name), NULL))[QuorPlugin_QuorPluginInterface];
}

static void checkInputs(void* library) {
  static const struct {
    const char *plugin, *input, *output;
    enum TextureKind kind;
  } rows[] = {
      {"TexFloatOp", "float_a", "difference", NUMBER},
      {"TexVectorOp", "vector_a", "difference", VECTOR},
      {"TexAColorOp", "color_a", "difference", COLOR},
      {"TexAColorOp", "color_a", "red", COLOR},
  };
  for (size_t i = 0; i < sizeof rows / sizeof rows[0]; ++i) {
    Input input = {.table = inputTables[rows[i].kind]};
    void* plugin = newPlugin(library, rows[i].plugin);
    CHECK(connectInput(plugin, rows[i].input, &input) == 1);
    QuorPluginInterface_frameBegin(plugin, NULL);
    CHECK(words(outputOf(plugin, rows[i].output))[output_firstInput] == &input);
    deleteThrough(plugin);
  }
}

/* Two outputs are objects as well, one of which says so. */
static void checkColorOp(void* library) {
  Input a = {.table = ColorInput_table};
  void* plugin = newPlugin(library, "TexAColorOp");
  void* object = PluginInterface_getPlugin(plugin);
  void** red = &words(outputOf(plugin, "red"))[-RTex_TextureFloatInterface];
  void* intensity = outputOf(plugin, "intensity");
  void** intensityObject = PluginInterface_getPlugin(intensity);
  void** shaderPart = &intensityObject[ITex_RTTexInterface];
  CHECK(virtualTable(red)[PluginBase_addInterface_slot] ==
        virtualTable(object)[PluginBase_addInterface_slot]);
  CHECK(red[PluginBase_interfaces] == NULL);
  CHECK(intensity == &intensityObject[ITex_TextureFloatInterface]);
  checkInterface(intensityObject, shaderPart, EXT_RTTEX, "EXT_RTTEX");

  connectInput(plugin, "color_a", &a);
  QuorPluginInterface_frameBegin(plugin, NULL);
  CHECK(words(object)[TexAColorOp_color_a] == &a);
  CHECK(shaderPart[output_firstInput] == &a);
  checkShaderSource(object, "color", &a);
  checkShaderSource(intensityObject, "float", &a);
  deleteThrough(plugin);
}

static void checkSampler(void* library) {
  void* plugin = newPlugin(library, "TexSampler");
  float far;
  /* Outputs lie one after the other in the plugin, and these hold nothing but their tables. */
  CHECK(words(outputOf(plugin, "camToWorld")) + output_withoutInputs ==
        outputOf(plugin, "view_dir"));
  CHECK(words(outputOf(plugin, "material_id")) + output_withoutInputs ==
        outputOf(plugin, "flipped_normal"));

  host.frameData.worldToCamera.c2.z = 1;
  host.scene.lo.z = -20;
  host.scene.hi.z = -10;
  QuorPluginInterface_renderBegin(plugin, NULL);
  QuorPluginInterface_frameBegin(plugin, NULL);
  ask(outputOf(plugin, "cameraFarClipPlane"), NUMBER, VALUE, &far);
  CHECK(host.log.lines == 1);
  CHECK(sameText(host.log.text, "Auto clipping planes : 10.00 20.00\n"));
  deleteThrough(plugin);
}

/* ---- Load and unload ------------------------------------------------------------------------ */

static size_t heapInUse(void) {
#ifdef _WIN32
  return 0; /* the C library does not say */
#else
  return mallinfo2().uordblks;
#endif
}

static void useOnce(const char* path) {
  DescList all = {.table = DescList_table};
  PluginLibDesc_enumPluginDescs(loadLibrary(path), &all);
  for (int i = 0; i < all.count && i < DESCS; ++i) {
    void* plugin = PluginDesc_newPlugin(all.descs[i], NULL);
    Plugin_setPluginName(plugin, "first");
    Plugin_setPluginName(plugin, "second");
    QuorPluginInterface_frameBegin(&words(plugin)[QuorPlugin_QuorPluginInterface], NULL);
    PluginDesc_deletePlugin(all.descs[i], plugin);
  }
  unloadLibrary();
}

static void checkUnloading(const char* path) {
  enum { ROUNDS = 1000 };
  size_t before;
  place = "unloading";
  CHECK(!isLoaded(path));
  for (int i = 0; i < 50; ++i) useOnce(path);
  before = heapInUse();
  for (int i = 0; i < ROUNDS; ++i) useOnce(path);
  CHECK(!isLoaded(path));
  CHECK(heapInUse() < before + ROUNDS); /* less than a byte a round */
}

int main(int argc, char** argv) {
  void* library = loadLibrary(argv[1]);
  setvbuf(stdout, NULL, _IONBF, 0); /* so that a crash tells what came before it */
  checkLibrary(library);
  checkKinds(library);
  checkReleases(library);
  checkInputs(library);
  checkColorOp(library);
  checkSampler(library);
  unloadLibrary();
  checkUnloading(argv[1]);
  return finish();
}
