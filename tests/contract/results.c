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

enum { GROUPS = 20, GROUP_ROWS = 100, POWER_ROWS = 48, MODES = 11, PARAMETERS = 64, NUMBERS = 15 };
enum { LINE = 256 };
static const char* const questionNames[] = {"value", "bounds", "gradient"};

static void stop(const char* what, const char* which) {
  fprintf(stderr, "results: %s: %s\n", which, what);
  exit(2);
}

/* ---- A plugin: what it takes and what it answers -------------------------------------------- */

static const int widths[] = {4, 1, 3}; /* numbers in a value */

static struct {
  const char* name;
  void *object, *quorPart;
  struct {
    const char* name;
    enum TextureKind kind;
    Input texture;
  } inputs[PARAMETERS];
  int inputCount;
  struct {
    char name[64];
    enum TextureKind kind;
    int32_t mode; /* >= 0: the plugin's own texture in that mode */
    int usesPower;
    uint64_t digests[QUESTIONS][GROUPS];
  } outputs[PARAMETERS + MODES];
  int outputCount;
} plugin;

static void addOutput(const char* name, enum TextureKind kind, int32_t mode, int usesPower) {
  const int i = plugin.outputCount++;
  snprintf(plugin.outputs[i].name, sizeof plugin.outputs[i].name, "%s.%s", plugin.name, name);
  plugin.outputs[i].kind = kind;
  plugin.outputs[i].mode = mode;
  plugin.outputs[i].usesPower = usesPower;
}

static void openPlugin(void* desc) {
  const ParameterInfos* parameters = parametersOf(desc);
  int hasMode = 0;
  memset(&plugin, 0, sizeof plugin);
  plugin.name = PluginDesc_getPluginName(desc);
  if (parameters->end - parameters->begin > PARAMETERS) stop("has too many", plugin.name);
  for (const ParameterInfo* p = parameters->begin; p != parameters->end; ++p) {
    if (p->type >= PARAM_OUTPUT) {
      addOutput(p->name, p->type - PARAM_OUTPUT, -1, strcmp(p->name, "power") == 0);
    } else if (p->type < PARAM_INTEGER) {
      plugin.inputs[plugin.inputCount].name = p->name;
      plugin.inputs[plugin.inputCount++].kind = p->type;
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

/* ---- What --show prints --------------------------------------------------------------------- */

static int shows;

/* The bits of a number, all NaNs being one. */
static uint32_t bitsOf(float number) {
  uint32_t bits;
  memcpy(&bits, &number, sizeof bits);
  return (bits & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : bits;
}

static void showFloats(const char* name, const float* numbers, int count) {
  if (shows) printf("  %s", name);
  for (int i = 0; shows && i < count; ++i)
    printf("  %08" PRIx32 " %.9g", bitsOf(numbers[i]), numbers[i]);
  if (shows) putchar('\n');
}

static void showDoubles(const char* name, const double* numbers, int count) {
  if (shows) printf("  %s", name);
  for (int i = 0; shows && i < count; ++i) printf("  %a %.17g", numbers[i], numbers[i]);
  if (shows) putchar('\n');
}

static void showInteger(const char* name, int32_t number) {
  if (shows) printf("  %s  %" PRId32 "\n", name, number);
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

static void drawFloats(const char* name, void* numbers, int count) {
  for (int i = 0; i < count; ++i) ((float*)numbers)[i] = drawFloat();
  showFloats(name, numbers, count);
}

/* Doubles are thirds, so that they are no floats. */
static void drawDoubles(const char* name, void* numbers, int count) {
  for (int i = 0; i < count; ++i) ((double*)numbers)[i] = (double)drawFloat() / 3;
  showDoubles(name, numbers, count);
}

static void drawInteger(const char* name, int32_t* number, uint64_t count) {
  *number = (int32_t)(draw() % count);
  showInteger(name, *number);
}

static void drawObject(const char* name, void** field, void* object) {
  *field = draw() % 8 != 0 ? object : NULL;
  showInteger(name, *field != NULL);
}

/* The shading context and what it leads to. Ray time and image coordinates stay ordinary: the
 * latter become integers. */
static void drawContext(void) {
  QuorFrameData* frame = &host.frameData;
  ShadingContext* sc = &host.sc;
  drawDoubles("frameTime", &frame->frameTime, 1);
  drawFloats("worldToCamera", &frame->worldToCamera, 9);
  drawDoubles("worldToCamera.offset", &frame->worldToCamera.offset, 3);
  drawFloats("cameraToWorld", &frame->cameraToWorld, 9);
  drawDoubles("cameraToWorld.offset", &frame->cameraToWorld.offset, 3);
  drawInteger("imageHeight", &frame->imageHeight, 4096);
  drawDoubles("worldOffset", &frame->worldOffset, 3);
  drawInteger("cameraMoving", &host.services.cameraMoving, 2);
  drawFloats("scene.lo", &host.scene.lo, 3);
  drawFloats("scene.hi", &host.scene.hi, 3);
  drawFloats("surface.a", &host.surface.a, 3);
  drawFloats("surface.b", &host.surface.b, 3);
  drawFloats("surface.c", &host.surface.c, 3);
  drawFloats("surface.uvw", &host.surface.uvw, 3);
  drawInteger("surface.materialId", &host.surface.materialId, (uint64_t)1 << 32);
  drawObject("object", &sc->object, &host.object);
  drawObject("surface", &sc->surface, &host.surface);
  drawFloats("rayDirection", &sc->rayDirection, 3);
  sc->rayTime = (double)ordinary() / 3;
  sc->imageX = (double)ordinary() * 100;
  sc->imageY = (double)ordinary() * 100;
  showDoubles("rayTime, imageX, imageY", &sc->rayTime, 3);
  drawDoubles("shadingPoint", &sc->shadingPoint, 3);
  drawFloats("normal", &sc->normal, 3);
  drawFloats("geometricNormal", &sc->geometricNormal, 3);
  drawInteger("backfacing", &sc->backfacing, 3);
}

/* Each input's value, bounds and gradient in one line; one in eight is left unconnected. */
static void drawInputs(void) {
  int32_t invert;
  for (int i = 0; i < plugin.inputCount; ++i) {
    const char* name = plugin.inputs[i].name;
    const enum TextureKind kind = plugin.inputs[i].kind;
    Input* texture = &plugin.inputs[i].texture;
    void* connected;
    texture->table = inputTables[kind];
    drawFloats(name, texture->numbers, 3 * widths[kind] + 3);
    drawObject("  connected", &connected, texture);
    connectInput(plugin.quorPart, name, connected);
  }
  drawInteger("invert", &invert, 2);
  setNumber(plugin.quorPart, "invert", KIND_BOOLEAN, invert);
}

/* Without inputs it is the context that a plugin answers from. */
static void drawRow(int row, int show) {
  state = seedOf(row);
  if (show) printf("row %d, seed %08" PRIx32 "\n", row, state);
  shows = show && plugin.inputCount == 0;
  drawContext();
  shows = show;
  drawInputs();
}

/* Asks an output in a new frame. */
static int askOutput(int output, enum Question question, float* numbers) {
  const int32_t mode = plugin.outputs[output].mode;
  void* texture;
  setNumber(plugin.quorPart, "mode", KIND_INTEGER, mode);
  QuorPluginInterface_frameBegin(plugin.quorPart, NULL);
  texture = mode < 0 ? outputOf(plugin.quorPart, strchr(plugin.outputs[output].name, '.') + 1)
                     : PluginBase_getInterface(plugin.object, EXT_TEXTURE);
  return ask(texture, plugin.outputs[output].kind, question, numbers);
}

/* ---- The record ----------------------------------------------------------------------------- */

static FILE* record;

/* Position of a number among all floats, so that neighbours differ by 1. */
static int64_t positionOf(uint32_t bits) {
  return bits & 0x80000000 ? -(int64_t)(bits & 0x7FFFFFFF) : (int64_t)bits;
}

/* Writes a line of numbers under a key, or compares it with the next one of the record. Each number
 * may be `tolerance` away; it is of the row `first`, or of as many as `step` says. */
static void report(const char* key, const uint32_t* numbers, int count, int tolerance, int first,
                   int step) {
  char line[LINE] = "";
  char *text = line + strlen(key), *end;
  if (record == NULL) {
    fputs(key, stdout);
    for (int i = 0; i < count; ++i) printf(" %08" PRIx32, numbers[i]);
    putchar('\n');
    return;
  }
  if (fgets(line, LINE, record) == NULL || strncmp(line, key, strlen(key)) != 0 || *text != ' ') {
    fputs(line, stderr);
    stop("has another line in the record, the one above", key);
  }
  for (int i = 0; i < count; ++i, text = end) {
    const int row = first + i * step;
    const int64_t distance = positionOf(numbers[i]) - positionOf((uint32_t)strtoul(text, &end, 16));
    if (end != text && distance >= -tolerance && distance <= tolerance) continue;
    ++failures;
    printf("%s: group %d, from row %d with seed %08" PRIx32 ": %08" PRIx32 ", recorded%.9s\n", key,
           row / GROUP_ROWS, row, seedOf(row), numbers[i], text);
  }
  if (text[strspn(text, "\r\n")] == '\0') return;
  ++failures;
  printf("%s: more is recorded:%s", key, text);
}

static void reportPower(int output, enum Question question, int row, const float* numbers,
                        int count) {
  uint32_t bits[NUMBERS];
  char key[LINE];
  for (int i = 0; i < count; ++i) bits[i] = bitsOf(numbers[i]);
  snprintf(key, sizeof key, "%s %s %d", plugin.outputs[output].name, questionNames[question], row);
  report(key, bits, count, 1, row, 0);
}

static void reportDigests(int output, enum Question question) {
  const uint64_t* digests = plugin.outputs[output].digests[question];
  uint32_t folded[GROUPS];
  char key[LINE];
  if (digests[0] == 0) return; /* no such question, or written above */
  for (int i = 0; i < GROUPS; ++i) folded[i] = (uint32_t)(digests[i] ^ digests[i] >> 32);
  snprintf(key, sizeof key, "%s %s", plugin.outputs[output].name, questionNames[question]);
  report(key, folded, GROUPS, 0, 0, GROUP_ROWS);
}

/* All the answers of a plugin. The digests are FNV-1a, of words instead of bytes. */
static void evaluate(void) {
  for (int row = 0; row < GROUPS * GROUP_ROWS; ++row) {
    drawRow(row, 0);
    for (int i = 0; i < plugin.outputCount; ++i) {
      for (enum Question question = VALUE; question < QUESTIONS; ++question) {
        uint64_t* digest = &plugin.outputs[i].digests[question][row / GROUP_ROWS];
        float numbers[NUMBERS];
        const int count = askOutput(i, question, numbers);
        if (plugin.outputs[i].usesPower && question != GRADIENT) {
          if (row < POWER_ROWS) reportPower(i, question, row, numbers, count);
          continue;
        }
        if (count != 0 && *digest == 0) *digest = 0xCBF29CE484222325;
        for (int n = 0; n < count; ++n) *digest = (*digest ^ bitsOf(numbers[n])) * 0x100000001B3;
      }
    }
  }
  for (int i = 0; i < plugin.outputCount; ++i) {
    for (enum Question question = VALUE; question < QUESTIONS; ++question)
      reportDigests(i, question);
  }
}

/* Shows a group of rows if the plugin has the output; an integer's bits as those of a float. */
static int show(const char* output, enum Question question, int group) {
  for (int i = 0; i < plugin.outputCount; ++i) {
    if (strcmp(plugin.outputs[i].name, output) != 0) continue;
    for (int row = group * GROUP_ROWS; row < (group + 1) * GROUP_ROWS; ++row) {
      float numbers[NUMBERS];
      drawRow(row, 1);
      showFloats(questionNames[question], numbers, askOutput(i, question, numbers));
    }
    return 1;
  }
  return 0;
}

int main(int argc, char** argv) {
  const int showing = argc == 6 && strcmp(argv[2], "--show") == 0;
  const int group = showing ? atoi(argv[5]) : 0;
  enum Question question = VALUE;
  DescList descs = {.table = DescList_table};
  if (argc != 2 && argc != 3 && !showing) {
    stop("[RECORD | --show OUTPUT QUESTION GROUP]", "usage: results LIBRARY");
  }
  while (showing && question < QUESTIONS && strcmp(questionNames[question], argv[4]) != 0)
    ++question;
  if (question == QUESTIONS) stop("is no question (value, bounds, gradient)", argv[4]);
  if (showing && (strspn(argv[5], "0123456789") != strlen(argv[5]) || group >= GROUPS))
    stop("is no group (0 to 19)", argv[5]);
  if (argc == 3 && (record = fopen(argv[2], "r")) == NULL) stop("cannot be read", argv[2]);

  PluginLibDesc_enumPluginDescs(loadLibrary(argv[1]), &descs);
  if (descs.count > DESCS) stop("has more plugins than there is room for", argv[1]);
  for (int i = 0; i < descs.count; ++i) {
    openPlugin(descs.descs[i]);
    if (!showing) evaluate();
    if (showing && show(argv[3], question, group)) return 0;
    PluginDesc_deletePlugin(descs.descs[i], plugin.object);
  }
  unloadLibrary();
  if (showing) stop("no output has this name", argv[3]);
  if (record == NULL) return 0;
  if (fgetc(record) != EOF) stop("has more lines than the library has outputs", argv[2]);
  return finish();
}
