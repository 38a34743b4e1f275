/* usage: results LIBRARY [RECORD]
 *        results LIBRARY --show OUTPUT QUESTION GROUP
 * Evaluates every output of every plugin on a table of random inputs and writes what comes out; or,
 * with a record of such a run on another system, compares. All systems have to agree to the bit,
 * except that any NaN equals any other, and that `powf` may differ in the last place. A line is an
 * output, a question and a digest of the answers for each group of rows. Where `powf` is used there
 * is a line with the numbers themselves for each of the first rows. What a digest stands for can be
 * shown: `results LIBRARY --show TexFloatOp.sum bounds 7`. */

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "c_host.h"

enum { GROUPS = 20, GROUP_ROWS = 100, POWER_ROWS = 48, MODES = 11, NUMBERS = 15, LINE = 256 };
static const char* const questionNames[] = {"value", "bounds", "gradient"};

static void stop(const char* what, const char* which) {
  fprintf(stderr, "results: %s: %s\n", which, what);
  exit(2);
}

/* ---- A plugin: what it takes and what it answers -------------------------------------------- */

/* Every kind of input is a table and a number of floats. */
typedef union {
  FloatInput number;
  VectorInput vector;
  ColorInput color;
  struct {
    void* const* table;
    float numbers[NUMBERS];
  } any;
} Texture;
static void* const* const tables[] = {ColorInput_table, FloatInput_table, VectorInput_table};
static const int widths[] = {4, 1, 3}; /* numbers in a value */

static struct {
  const char* name;
  void *object, *quorPart;
  struct {
    const char* name;
    enum TextureKind kind;
    int connected;
    Texture texture;
  } inputs[8];
  int inputCount;
  int32_t hasInvert, invert;
  struct {
    char name[64];
    enum TextureKind kind;
    int32_t mode; /* >= 0: the plugin's own texture in that mode */
    int usesPower;
    uint64_t digests[QUESTIONS][GROUPS];
  } outputs[64];
  int outputCount;
} plugin;

static void addOutput(const char* name, enum TextureKind kind, int32_t mode, int usesPower) {
  if (plugin.outputCount == sizeof plugin.outputs / sizeof plugin.outputs[0]) {
    stop("more outputs than there is room for", plugin.name);
  }
  snprintf(plugin.outputs[plugin.outputCount].name, sizeof plugin.outputs[0].name, "%s.%s",
           plugin.name, name);
  plugin.outputs[plugin.outputCount].kind = kind;
  plugin.outputs[plugin.outputCount].mode = mode;
  plugin.outputs[plugin.outputCount].usesPower = usesPower;
  ++plugin.outputCount;
}

static void addInput(const char* name, enum TextureKind kind) {
  if (plugin.inputCount == sizeof plugin.inputs / sizeof plugin.inputs[0]) {
    stop("more inputs than there is room for", plugin.name);
  }
  plugin.inputs[plugin.inputCount].name = name;
  plugin.inputs[plugin.inputCount].kind = kind;
  ++plugin.inputCount;
}

static void openPlugin(void* desc) {
  const ParameterInfos* parameters = parametersOf(desc);
  int hasMode = 0;
  memset(&plugin, 0, sizeof plugin);
  plugin.name = PluginDesc_getPluginName(desc);
  for (const ParameterInfo* p = parameters->begin; p != parameters->end; ++p) {
    if (p->type >= PARAM_OUTPUT) {
      addOutput(p->name, (enum TextureKind)(p->type - PARAM_OUTPUT), -1,
                strcmp(p->name, "power") == 0);
    } else if (p->type < PARAM_INTEGER) {
      addInput(p->name, (enum TextureKind)p->type);
    }
    hasMode |= strcmp(p->name, "mode") == 0;
  }
  for (int mode = 0; hasMode && mode < MODES; ++mode) {
    char name[16];
    snprintf(name, sizeof name, "mode=%d", mode);
    addOutput(name, COLOR, mode, mode == 5);
  }
  plugin.object = PluginDesc_newPlugin(desc, NULL);
  plugin.quorPart = PluginBase_getInterface(plugin.object, EXT_QUOR_PLUGIN);
  QuorPluginInterface_renderBegin(plugin.quorPart, NULL);
}

/* ---- A row: inputs and a shading context ---------------------------------------------------- */

static uint32_t state; /* of the xorshift generator by Marsaglia */
static uint32_t draw(void) {
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  return state;
}
static uint32_t seedOf(int row) { return 0x9E3779B9u * (uint32_t)(row + 1); }

/* A number from -8 to 8 with 20 bits behind the point. */
static float ordinary(void) { return (float)((int32_t)(draw() >> 8) - 0x800000) / 0x100000; }

static float drawFloat(void) {
  static const uint32_t corners[] = {
      0x00000000, 0x80000000, 0x3F800000, 0xBF800000, 0x40000000, /* 0 -0 1 -1 2 */
      0x3DCCCCCD, 0x3F000000, 0x7F7FFFFF, 0xFF7FFFFF, 0x00000001, /* 0.1 0.5, greatest, least */
      0x80000001, 0x00800000, 0x7F800000, 0xFF800000, 0x7FC00000, /* infinities, NaN */
      0x501502F9, 0x3F7FFFFF, 0x358637BD, 0x3A83126F, 0x40490FDB, /* 1e10, below 1, 1e-6, ..., pi */
  };
  const uint32_t choice = draw();
  float number;
  if (choice % 5 != 0) return ordinary();
  memcpy(&number, &corners[(choice >> 8) % (sizeof corners / sizeof corners[0])], sizeof number);
  return number;
}

/* The shading context and what it leads to, in the order of drawing. Doubles are thirds, so that
 * they are no floats. Image coordinates stay ordinary: they become integers. */
enum FieldKind { FLOATS, THIRDS, ORDINARY_THIRDS, ORDINARY_HUNDREDS, CHOICE, POINTER };
static const struct {
  const char* name;
  void* field;
  enum FieldKind kind;
  uint32_t count; /* of an integer: of its values, 0 for all */
  void* leadsTo;  /* of a pointer, where it is not null */
} fields[] = {
    {"frameTime", &host.frameData.frameTime, THIRDS, 1, NULL},
    {"worldToCamera", &host.frameData.worldToCamera, FLOATS, 9, NULL},
    {"worldToCamera.offset", &host.frameData.worldToCamera.offset, THIRDS, 3, NULL},
    {"cameraToWorld", &host.frameData.cameraToWorld, FLOATS, 9, NULL},
    {"cameraToWorld.offset", &host.frameData.cameraToWorld.offset, THIRDS, 3, NULL},
    {"imageHeight", &host.frameData.imageHeight, CHOICE, 4096, NULL},
    {"worldOffset", &host.frameData.worldOffset, THIRDS, 3, NULL},
    {"cameraMoving", &host.services.cameraMoving, CHOICE, 2, NULL},
    {"scene.lo", &host.scene.lo, FLOATS, 3, NULL},
    {"scene.hi", &host.scene.hi, FLOATS, 3, NULL},
    {"surface.a", &host.surface.a, FLOATS, 3, NULL},
    {"surface.b", &host.surface.b, FLOATS, 3, NULL},
    {"surface.c", &host.surface.c, FLOATS, 3, NULL},
    {"surface.uvw", &host.surface.uvw, FLOATS, 3, NULL},
    {"surface.materialId", &host.surface.materialId, CHOICE, 0, NULL},
    {"object", &host.sc.object, POINTER, 1, &host.object},
    {"surface", &host.sc.surface, POINTER, 1, &host.surface},
    {"rayDirection", &host.sc.rayDirection, FLOATS, 3, NULL},
    {"rayTime", &host.sc.rayTime, ORDINARY_THIRDS, 1, NULL},
    {"imageX, imageY", &host.sc.imageX, ORDINARY_HUNDREDS, 2, NULL},
    {"shadingPoint", &host.sc.shadingPoint, THIRDS, 3, NULL},
    {"normal", &host.sc.normal, FLOATS, 3, NULL},
    {"geometricNormal", &host.sc.geometricNormal, FLOATS, 3, NULL},
    {"backfacing", &host.sc.backfacing, CHOICE, 3, NULL},
};
enum { FIELDS = sizeof fields / sizeof fields[0] };

static void drawField(int i) {
  float* const floats = fields[i].field;
  double* const doubles = fields[i].field;
  const uint32_t count = fields[i].count;
  switch (fields[i].kind) {
    case FLOATS:
      for (uint32_t n = 0; n < count; ++n) floats[n] = drawFloat();
      break;
    case THIRDS:
      for (uint32_t n = 0; n < count; ++n) doubles[n] = (double)drawFloat() / 3;
      break;
    case ORDINARY_THIRDS:
      for (uint32_t n = 0; n < count; ++n) doubles[n] = (double)ordinary() / 3;
      break;
    case ORDINARY_HUNDREDS:
      for (uint32_t n = 0; n < count; ++n) doubles[n] = (double)ordinary() * 100;
      break;
    case CHOICE:
      *(int32_t*)fields[i].field = (int32_t)(count != 0 ? draw() % count : draw());
      break;
    case POINTER:
      *(void**)fields[i].field = draw() % 8 != 0 ? fields[i].leadsTo : NULL;
      break;
  }
}

/* One input in eight is left unconnected. */
static void drawRow(int row) {
  state = seedOf(row);
  for (int i = 0; i < FIELDS; ++i) drawField(i);
  for (int i = 0; i < plugin.inputCount; ++i) {
    Texture* texture = &plugin.inputs[i].texture;
    texture->any.table = tables[plugin.inputs[i].kind];
    for (int n = 0; n < 3 * widths[plugin.inputs[i].kind] + 3; ++n) {
      texture->any.numbers[n] = drawFloat();
    }
    plugin.inputs[i].connected = draw() % 8 != 0;
    connectInput(plugin.quorPart, plugin.inputs[i].name,
                 plugin.inputs[i].connected ? texture : NULL);
  }
  plugin.invert = (int32_t)(draw() & 1);
  plugin.hasInvert = setNumber(plugin.quorPart, "invert", KIND_BOOLEAN, plugin.invert);
}

/* Begins a frame in which that output can be asked. */
static void* beginFrame(int output) {
  const int32_t mode = plugin.outputs[output].mode;
  setNumber(plugin.quorPart, "mode", KIND_INTEGER, mode);
  QuorPluginInterface_frameBegin(plugin.quorPart, NULL);
  return mode < 0 ? outputOf(plugin.quorPart, strchr(plugin.outputs[output].name, '.') + 1)
                  : PluginBase_getInterface(plugin.object, EXT_TEXTURE);
}

/* The bits of a number, all NaNs being one. */
static uint32_t bitsOf(float number) {
  uint32_t bits;
  memcpy(&bits, &number, sizeof bits);
  return (bits & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : bits;
}

/* ---- The record ----------------------------------------------------------------------------- */

static struct {
  char text[LINE];
  int found;
} recorded[1024];
static int recordedCount;
static int compares;

static void readRecord(const char* path) {
  FILE* file = fopen(path, "r");
  if (file == NULL) stop("cannot be read", path);
  compares = 1;
  while (fgets(recorded[recordedCount].text, LINE, file) != NULL) {
    recorded[recordedCount].text[strcspn(recorded[recordedCount].text, "\r\n")] = '\0';
    if (++recordedCount == sizeof recorded / sizeof recorded[0]) stop("is too long", path);
  }
  fclose(file);
}

/* Position of a number among all floats, so that neighbours differ by 1. */
static int64_t positionOf(uint32_t bits) {
  return bits & 0x80000000 ? -(int64_t)(bits & 0x7FFFFFFF) : (int64_t)bits;
}

/* Writes a line of numbers under a key, or compares it with the recorded one. Each number may be
 * `tolerance` away; a number is of group `group`, or of the group that is its place in the line. */
static void report(const char* key, const uint32_t* numbers, int count, int tolerance, int row) {
  const char* text = NULL;
  const size_t length = strlen(key);
  if (!compares) {
    fputs(key, stdout);
    for (int i = 0; i < count; ++i) printf(" %08" PRIx32, numbers[i]);
    putchar('\n');
    return;
  }
  for (int i = 0; i < recordedCount && text == NULL; ++i) {
    if (strncmp(recorded[i].text, key, length) != 0 || recorded[i].text[length] != ' ') continue;
    recorded[i].found = 1;
    text = recorded[i].text + length;
  }
  if (text == NULL) {
    ++failures;
    printf("%s: not in the record\n", key);
    return;
  }
  for (int i = 0; i < count; ++i) {
    char* end;
    const uint32_t expected = (uint32_t)strtoul(text, &end, 16);
    const int64_t distance = positionOf(numbers[i]) - positionOf(expected);
    const int group = row < 0 ? i : row / GROUP_ROWS;
    const int first = row < 0 ? i * GROUP_ROWS : row;
    if (end == text || distance < -tolerance || distance > tolerance) {
      ++failures;
      printf("%s: group %d, from row %d with seed %08" PRIx32 ": %08" PRIx32 ", recorded%.9s\n",
             key, group, first, seedOf(first), numbers[i], end == text ? " nothing" : text);
    }
    text = end;
  }
  if (*text != '\0') {
    ++failures;
    printf("%s: more is recorded:%s\n", key, text);
  }
}

/* All the answers of a plugin. The digests are FNV-1a, of words instead of bytes. */
static void evaluate(void) {
  for (int row = 0; row < GROUPS * GROUP_ROWS; ++row) {
    drawRow(row);
    for (int i = 0; i < plugin.outputCount; ++i) {
      void* texture = beginFrame(i);
      for (enum Question question = VALUE; question < QUESTIONS; ++question) {
        float numbers[NUMBERS];
        const int count = ask(texture, plugin.outputs[i].kind, question, numbers);
        uint64_t* digest = &plugin.outputs[i].digests[question][row / GROUP_ROWS];
        if (plugin.outputs[i].usesPower && question != GRADIENT) {
          uint32_t bits[NUMBERS];
          char key[LINE];
          if (row >= POWER_ROWS) continue;
          for (int n = 0; n < count; ++n) bits[n] = bitsOf(numbers[n]);
          snprintf(key, sizeof key, "%s %s %d", plugin.outputs[i].name, questionNames[question],
                   row);
          report(key, bits, count, 1, row);
          continue;
        }
        if (count != 0 && *digest == 0) *digest = 0xCBF29CE484222325;
        for (int n = 0; n < count; ++n) {
          *digest = (*digest ^ bitsOf(numbers[n])) * 0x100000001B3;
        }
      }
    }
  }
  for (int i = 0; i < plugin.outputCount; ++i) {
    for (enum Question question = VALUE; question < QUESTIONS; ++question) {
      const uint64_t* digests = plugin.outputs[i].digests[question];
      uint32_t folded[GROUPS];
      char key[LINE];
      if (digests[0] == 0) continue; /* no such question, or written above */
      for (int group = 0; group < GROUPS; ++group) {
        folded[group] = (uint32_t)(digests[group] ^ digests[group] >> 32);
      }
      snprintf(key, sizeof key, "%s %s", plugin.outputs[i].name, questionNames[question]);
      report(key, folded, GROUPS, 0, -1);
    }
  }
}

/* ---- One group, to look at ------------------------------------------------------------------ */

static void showFloats(const char* name, const float* numbers, int count) {
  printf("  %s", name);
  for (int i = 0; i < count; ++i) printf("  %08" PRIx32 " %.9g", bitsOf(numbers[i]), numbers[i]);
  putchar('\n');
}

static void showInteger(const char* name, int32_t number) {
  printf("  %s  %08" PRIx32 " %" PRId32 "\n", name, (uint32_t)number, number);
}

static void showDoubles(const char* name, const double* numbers, int count) {
  printf("  %s", name);
  for (int i = 0; i < count; ++i) {
    uint64_t bits;
    memcpy(&bits, &numbers[i], sizeof bits);
    printf("  %016" PRIx64 " %.17g", bits, numbers[i]);
  }
  putchar('\n');
}

static void showField(int i) {
  const char* name = fields[i].name;
  void* field = fields[i].field;
  const int count = (int)fields[i].count;
  switch (fields[i].kind) {
    case FLOATS:
      showFloats(name, field, count);
      break;
    case CHOICE:
      showInteger(name, *(int32_t*)field);
      break;
    case POINTER:
      printf("  %s  %s\n", name, *(void**)field != NULL ? "there" : "null");
      break;
    default:
      showDoubles(name, field, count);
      break;
  }
}

/* Without inputs it is the context that a plugin answers from. */
static void show(int output, enum Question question, int group) {
  for (int row = group * GROUP_ROWS; row < (group + 1) * GROUP_ROWS; ++row) {
    float numbers[NUMBERS];
    int count;
    drawRow(row);
    count = ask(beginFrame(output), plugin.outputs[output].kind, question, numbers);
    printf("row %d, seed %08" PRIx32 "\n", row, seedOf(row));
    for (int i = 0; plugin.inputCount == 0 && i < FIELDS; ++i) showField(i);
    for (int i = 0; i < plugin.inputCount; ++i) {
      static const char* const parts[] = {"value", "lower", "upper", "gradient"};
      const float* part = plugin.inputs[i].texture.any.numbers;
      const int width = widths[plugin.inputs[i].kind];
      if (!plugin.inputs[i].connected) printf("  %s  unconnected\n", plugin.inputs[i].name);
      for (int n = 0; plugin.inputs[i].connected && n < 4; ++n, part += width) {
        char name[LINE];
        snprintf(name, sizeof name, "%s %s", plugin.inputs[i].name, parts[n]);
        showFloats(name, part, n < 3 ? width : 3);
      }
    }
    if (plugin.hasInvert) printf("  invert %" PRId32 "\n", plugin.invert);
    if (plugin.outputs[output].kind == INTEGER && count != 0) {
      showInteger(questionNames[question], *(const int32_t*)numbers);
    } else {
      showFloats(questionNames[question], numbers, count);
    }
  }
}

static void findAndShow(const DescList* descs, char** arguments) {
  char* end;
  const long group = strtol(arguments[2], &end, 10);
  enum Question question = VALUE;
  while (question < QUESTIONS && strcmp(questionNames[question], arguments[1]) != 0) ++question;
  if (question == QUESTIONS) stop("is no question (value, bounds, gradient)", arguments[1]);
  if (end == arguments[2] || *end != '\0' || group < 0 || group >= GROUPS) {
    stop("is no group (0 to 19)", arguments[2]);
  }
  for (int d = 0; d < descs->count; ++d) {
    openPlugin(descs->descs[d]);
    for (int i = 0; i < plugin.outputCount; ++i) {
      if (strcmp(plugin.outputs[i].name, arguments[0]) != 0) continue;
      if (question != VALUE && plugin.outputs[i].kind >= INTEGER)
        stop("has a value only", arguments[0]);
      show(i, question, (int)group);
      return;
    }
    PluginDesc_deletePlugin(descs->descs[d], plugin.object);
  }
  stop("no output has this name", arguments[0]);
}

int main(int argc, char** argv) {
  const int shows = argc == 6 && strcmp(argv[2], "--show") == 0;
  DescList descs = {.table = DescList_table};
  void* library;
  if (argc != 2 && argc != 3 && !shows) {
    fprintf(stderr, "usage: results LIBRARY [RECORD | --show OUTPUT QUESTION GROUP]\n");
    return 2;
  }
  library = loadLibrary(argv[1]);
  PluginLibDesc_enumPluginDescs(library, &descs);
  if (descs.count > DESCS) stop("has more plugins than there is room for", argv[1]);
  if (shows) {
    findAndShow(&descs, &argv[3]);
    return 0;
  }
  if (argc == 3) readRecord(argv[2]);
  for (int d = 0; d < descs.count; ++d) {
    openPlugin(descs.descs[d]);
    evaluate();
    PluginDesc_deletePlugin(descs.descs[d], plugin.object);
  }
  unloadLibrary();
  if (!compares) return 0;
  for (int i = 0; i < recordedCount; ++i) {
    if (recorded[i].found) continue;
    ++failures;
    printf("recorded, but not in the library: %.60s\n", recorded[i].text);
  }
  return finish();
}
