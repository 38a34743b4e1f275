/* usage: results LIBRARY [RECORD]
 * Evaluates every output of every plugin on a table of inputs and writes what comes out; or, with a
 * record of such a run on another system, compares. All systems have to agree to the bit, except
 * that any not-a-number equals any other, and that `powf` may differ in the last place. A line is
 * an output, a question and a digest of all the answers. Where `powf` is used there is a line with
 * the numbers themselves for each of the first rows. */

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "c_host.h"

enum { ROWS = 2000, POWER_ROWS = 48, NUMBERS = 12 };
enum Kind { FLOAT, VECTOR, COLOR, INT, TRANSFORM };
enum Question { VALUE, BOUNDS, GRADIENT, QUESTIONS };
static const char* const questionNames[] = {"value", "bounds", "gradient"};

static const struct {
  const char *plugin, *name;
  enum Kind kind;
} inputs[] = {
    {"TexFloatOp", "float_a", FLOAT},       {"TexFloatOp", "float_b", FLOAT},
    {"TexVectorOp", "vector_a", VECTOR},    {"TexVectorOp", "vector_b", VECTOR},
    {"TexVectorOp", "mult_a", FLOAT},       {"TexVectorOp", "mult_b", FLOAT},
    {"TexAColorOp", "color_a", COLOR},      {"TexAColorOp", "color_b", COLOR},
    {"TexAColorOp", "mult_a", FLOAT},       {"TexAColorOp", "mult_b", FLOAT},
    {"TexAColorOp", "result_alpha", FLOAT}, {"Float3ToAColor", "float1", FLOAT},
    {"Float3ToAColor", "float2", FLOAT},    {"Float3ToAColor", "float3", FLOAT},
    {"Float3ToAColor", "alpha", FLOAT},
};
enum { INPUTS = sizeof inputs / sizeof inputs[0] };

/* Outputs; those with a `mode` are the plugin's own texture in that mode. */
static const struct {
  const char *plugin, *name;
  enum Kind kind;
  int32_t mode;
  int usesPower;
} outputs[] = {
    {"TexSampler", "point", VECTOR, -1, 0},
    {"TexSampler", "pointObject", VECTOR, -1, 0},
    {"TexSampler", "pointCamera", VECTOR, -1, 0},
    {"TexSampler", "normal", VECTOR, -1, 0},
    {"TexSampler", "normalCamera", VECTOR, -1, 0},
    {"TexSampler", "normalObject", VECTOR, -1, 0},
    {"TexSampler", "gnormal", VECTOR, -1, 0},
    {"TexSampler", "camToWorld", TRANSFORM, -1, 0},
    {"TexSampler", "view_dir", VECTOR, -1, 0},
    {"TexSampler", "frame_time", FLOAT, -1, 0},
    {"TexSampler", "ray_time", FLOAT, -1, 0},
    {"TexSampler", "facing_ratio", FLOAT, -1, 0},
    {"TexSampler", "material_id", INT, -1, 0},
    {"TexSampler", "flipped_normal", FLOAT, -1, 0},
    {"TexSampler", "cameraNearClipPlane", FLOAT, -1, 0},
    {"TexSampler", "cameraFarClipPlane", FLOAT, -1, 0},
    {"TexSampler", "uvCoord", VECTOR, -1, 0},
    {"TexSampler", "rayDirection", VECTOR, -1, 0},
    {"TexSampler", "pixelCenter", VECTOR, -1, 0},
    {"TexSampler", "tangentUCamera", VECTOR, -1, 0},
    {"TexSampler", "tangentVCamera", VECTOR, -1, 0},
    {"TexFloatOp", "product", FLOAT, -1, 0},
    {"TexFloatOp", "ratio", FLOAT, -1, 0},
    {"TexFloatOp", "sum", FLOAT, -1, 0},
    {"TexFloatOp", "difference", FLOAT, -1, 0},
    {"TexFloatOp", "power", FLOAT, -1, 1},
    {"TexFloatOp", "sin", FLOAT, -1, 0},
    {"TexFloatOp", "cos", FLOAT, -1, 0},
    {"TexFloatOp", "min", FLOAT, -1, 0},
    {"TexFloatOp", "max", FLOAT, -1, 0},
    {"TexVectorOp", "dot_product", FLOAT, -1, 0},
    {"TexVectorOp", "cross_product", VECTOR, -1, 0},
    {"TexVectorOp", "sum", VECTOR, -1, 0},
    {"TexVectorOp", "difference", VECTOR, -1, 0},
    {"TexVectorOp", "result_a", VECTOR, -1, 0},
    {"TexVectorOp", "result_b", VECTOR, -1, 0},
    {"TexVectorOp", "x", FLOAT, -1, 0},
    {"TexVectorOp", "y", FLOAT, -1, 0},
    {"TexVectorOp", "z", FLOAT, -1, 0},
    {"TexAColorOp", "product", COLOR, -1, 0},
    {"TexAColorOp", "division", COLOR, -1, 0},
    {"TexAColorOp", "minimum", COLOR, -1, 0},
    {"TexAColorOp", "maximum", COLOR, -1, 0},
    {"TexAColorOp", "sum", COLOR, -1, 0},
    {"TexAColorOp", "difference", COLOR, -1, 0},
    {"TexAColorOp", "result_a", COLOR, -1, 0},
    {"TexAColorOp", "result_b", COLOR, -1, 0},
    {"TexAColorOp", "red", FLOAT, -1, 0},
    {"TexAColorOp", "green", FLOAT, -1, 0},
    {"TexAColorOp", "blue", FLOAT, -1, 0},
    {"TexAColorOp", "alpha", FLOAT, -1, 0},
    {"TexAColorOp", "intensity", FLOAT, -1, 0},
    {"TexAColorOp", "power", COLOR, -1, 1},
    {"TexAColorOp", "mode=0", COLOR, 0, 0},
    {"TexAColorOp", "mode=1", COLOR, 1, 0},
    {"TexAColorOp", "mode=2", COLOR, 2, 0},
    {"TexAColorOp", "mode=3", COLOR, 3, 0},
    {"TexAColorOp", "mode=4", COLOR, 4, 0},
    {"TexAColorOp", "mode=5", COLOR, 5, 1},
    {"TexAColorOp", "mode=6", COLOR, 6, 0},
    {"TexAColorOp", "mode=7", COLOR, 7, 0},
    {"TexAColorOp", "mode=8", COLOR, 8, 0},
    {"TexAColorOp", "mode=9", COLOR, 9, 0},
    {"TexAColorOp", "mode=10", COLOR, 10, 0},
    {"Float3ToAColor", "color", COLOR, -1, 0},
};
enum { OUTPUTS = sizeof outputs / sizeof outputs[0] };

/* ---- Inputs --------------------------------------------------------------------------------- */

static uint32_t state; /* of the xorshift generator by Marsaglia */
static uint32_t draw(void) {
  state ^= state << 13;
  state ^= state >> 17;
  state ^= state << 5;
  return state;
}

/* A number from -8 to 8 with 20 bits behind the point. */
static float ordinary(void) { return (float)((int32_t)(draw() >> 8) - 0x800000) / 0x100000; }

static float drawFloat(void) {
  static const uint32_t corners[] = {
      0x00000000, 0x80000000, 0x3F800000, 0xBF800000, 0x40000000, /* 0 -0 1 -1 2 */
      0x3DCCCCCD, 0x3F000000, 0x7F7FFFFF, 0xFF7FFFFF, 0x00000001, /* 0.1 0.5, greatest, least */
      0x80000001, 0x00800000, 0x7F800000, 0xFF800000, 0x7FC00000, /* infinities, not-a-number */
      0x501502F9, 0x3F7FFFFF, 0x358637BD, 0x3A83126F, 0x40490FDB, /* 1e10, below 1, 1e-6, ..., pi */
  };
  const uint32_t choice = draw();
  float number;
  if (choice % 5 != 0) return ordinary();
  memcpy(&number, &corners[(choice >> 8) % (sizeof corners / sizeof corners[0])], sizeof number);
  return number;
}

static Vector drawVector(void) {
  Vector v;
  v.x = drawFloat();
  v.y = drawFloat();
  v.z = drawFloat();
  return v;
}
static DVector drawDVector(void) {
  DVector v; /* thirds, so that doubles are no floats */
  v.x = (double)drawFloat() / 3;
  v.y = (double)drawFloat() / 3;
  v.z = (double)drawFloat() / 3;
  return v;
}
static AColor drawColor(void) {
  AColor c;
  c.r = drawFloat();
  c.g = drawFloat();
  c.b = drawFloat();
  c.a = drawFloat();
  return c;
}
static PreciseTransform drawTransform(void) {
  PreciseTransform t;
  t.c0 = drawVector();
  t.c1 = drawVector();
  t.c2 = drawVector();
  t.offset = drawDVector();
  return t;
}

static struct {
  FloatInput number;
  VectorInput vector;
  ColorInput color;
} textures[INPUTS];

static void* drawTexture(int i) {
  FloatInput* number = &textures[i].number;
  VectorInput* vector = &textures[i].vector;
  ColorInput* color = &textures[i].color;
  switch (inputs[i].kind) {
    case FLOAT:
      number->table = floatInputTable;
      number->value = drawFloat();
      number->lo = drawFloat();
      number->hi = drawFloat();
      number->gradient = drawVector();
      return number;
    case VECTOR:
      vector->table = vectorInputTable;
      vector->value = drawVector();
      vector->lo = drawVector();
      vector->hi = drawVector();
      vector->gradient = drawVector();
      return vector;
    default:
      color->table = colorInputTable;
      color->value = drawColor();
      color->lo = drawColor();
      color->hi = drawColor();
      color->gradient = drawVector();
      return color;
  }
}

/* Every input of the plugin, one in eight left unconnected. */
static void connectInputs(const char* name, void* plugin) {
  for (int i = 0; i < INPUTS; ++i) {
    void* texture;
    if (strcmp(inputs[i].plugin, name) != 0) continue;
    texture = drawTexture(i);
    connectInput(plugin, inputs[i].name, draw() % 8 != 0 ? texture : NULL);
  }
  setNumber(plugin, "invert", KIND_BOOLEAN, (int32_t)(draw() & 1));
}

/* Image coordinates stay ordinary: they become integers. */
static void drawContext(void) {
  host.frameData.frameTime = (double)drawFloat() / 3;
  host.frameData.worldToCamera = drawTransform();
  host.frameData.cameraToWorld = drawTransform();
  host.frameData.imageHeight = (int32_t)(draw() % 4096);
  host.frameData.worldOffset = drawDVector();
  host.services.cameraMoving = (int32_t)(draw() & 1);
  host.scene.lo = drawVector();
  host.scene.hi = drawVector();
  host.surface.a = drawVector();
  host.surface.b = drawVector();
  host.surface.c = drawVector();
  host.surface.uvw = drawVector();
  host.surface.materialId = (int32_t)draw();
  host.sc.object = draw() % 8 != 0 ? &host.object : NULL;
  host.sc.surface = draw() % 8 != 0 ? &host.surface : NULL;
  host.sc.rayDirection = drawVector();
  host.sc.rayTime = (double)ordinary() / 3;
  host.sc.imageX = (double)ordinary() * 100;
  host.sc.imageY = (double)ordinary() * 100;
  host.sc.shadingPoint = drawDVector();
  host.sc.normal = drawVector();
  host.sc.geometricNormal = drawVector();
  host.sc.backfacing = (int32_t)(draw() % 3);
}

/* ---- Answers -------------------------------------------------------------------------------- */

/* Asks and returns how many numbers the answer has; 0 where there is no such question. */
static int ask(void* texture, enum Kind kind, enum Question question, float* numbers) {
  Vector* vectors = (Vector*)numbers;
  AColor* colors = (AColor*)numbers;
  int32_t integer;
  switch (kind) {
    case FLOAT:
      if (question == VALUE) {
        numbers[0] = TextureFloatInterface_getFloat(texture, &host.sc);
        return 1;
      }
      if (question == BOUNDS) {
        TextureFloatInterface_getFloatBounds(texture, &numbers[0], &numbers[1]);
        return 2;
      }
      vectors[0] = TextureFloatInterface_getGradient(texture, &host.sc);
      return 3;
    case VECTOR:
      if (question == VALUE) {
        vectors[0] = TextureVectorInterface_getVector(texture, &host.sc);
        return 3;
      }
      if (question == BOUNDS) {
        TextureVectorInterface_getVectorBounds(texture, &vectors[0], &vectors[1]);
        return 6;
      }
      vectors[0] = TextureVectorInterface_getGradient(texture, &host.sc);
      return 3;
    case COLOR:
      if (question == VALUE) {
        colors[0] = TextureInterface_getColor(texture, &host.sc);
        return 4;
      }
      if (question == BOUNDS) {
        TextureInterface_getColorBounds(texture, &colors[0], &colors[1]);
        return 8;
      }
      vectors[0] = TextureInterface_getGradient(texture, &host.sc);
      return 3;
    case INT:
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

/* The bits of a number, all not-a-numbers being one. */
static uint32_t bitsOf(float number) {
  uint32_t bits;
  memcpy(&bits, &number, sizeof bits);
  return (bits & 0x7FFFFFFF) > 0x7F800000 ? 0x7FC00000 : bits;
}

/* ---- The record ----------------------------------------------------------------------------- */

static FILE* recorded;
static int differences;

static void differ(const char* found, const char* expected) {
  ++differences;
  printf("found    %s\nrecorded %s\n", found, expected);
}

/* Position of a number among all floats, so that neighbours differ by 1. */
static int64_t place(uint32_t bits) {
  return bits & 0x80000000 ? -(int64_t)(bits & 0x7FFFFFFF) : (int64_t)bits;
}

/* Whether two texts are equal but for the last place of the numbers that begin at `start`. */
static int nearlyEqual(const char* a, const char* b, size_t start) {
  if (strlen(a) != strlen(b) || strncmp(a, b, start) != 0) return 0;
  for (a += start, b += start; *a != '\0' && *a != '\n';) {
    char *endA, *endB;
    const int64_t distance =
        place((uint32_t)strtoul(a, &endA, 16)) - place((uint32_t)strtoul(b, &endB, 16));
    if (distance < -1 || distance > 1) return 0;
    a = endA;
    b = endB;
  }
  return 1;
}

/* Writes a line, or compares it. The numbers that may differ begin at `start`. */
static void report(const char* line, size_t start) {
  char expected[256];
  if (recorded == NULL) {
    puts(line);
    return;
  }
  if (fgets(expected, sizeof expected, recorded) == NULL) expected[0] = '\0';
  expected[strcspn(expected, "\r\n")] = '\0';
  if (!nearlyEqual(line, expected, start)) differ(line, expected);
}

static void reportNumbers(int output, enum Question question, int row, const float* numbers,
                          int count) {
  char line[256];
  int start = snprintf(line, sizeof line, "%s %s %s %d", outputs[output].plugin,
                       outputs[output].name, questionNames[question], row);
  int length = start;
  for (int i = 0; i < count; ++i) {
    length +=
        snprintf(line + length, sizeof line - (size_t)length, " %08" PRIx32, bitsOf(numbers[i]));
  }
  report(line, (size_t)start);
}

static void reportDigest(int output, enum Question question, uint64_t digest) {
  char line[256];
  snprintf(line, sizeof line, "%s %s %s %016" PRIx64, outputs[output].plugin, outputs[output].name,
           questionNames[question], digest);
  report(line, strlen(line));
}

/* All the answers of a plugin. */
static void evaluate(void* library, const char* name) {
  static uint64_t digests[OUTPUTS][QUESTIONS]; /* FNV-1a, of words instead of bytes; 0: no answer */
  void* desc = findDesc(library, name);
  void* plugin = PluginDesc_newPlugin(desc, NULL);
  void* quorPart = PluginBase_getInterface(plugin, EXT_QUOR_PLUGIN);
  memset(digests, 0, sizeof digests);
  QuorPluginInterface_renderBegin(quorPart, NULL);
  for (int row = 0; row < ROWS; ++row) {
    state = 0x9E3779B9u * (uint32_t)(row + 1);
    drawContext();
    connectInputs(name, quorPart);
    for (int i = 0; i < OUTPUTS; ++i) {
      void* texture;
      if (strcmp(outputs[i].plugin, name) != 0) continue;
      setNumber(quorPart, "mode", KIND_INTEGER, outputs[i].mode);
      QuorPluginInterface_frameBegin(quorPart, NULL);
      texture = outputs[i].mode < 0 ? outputOf(quorPart, outputs[i].name)
                                    : PluginBase_getInterface(plugin, EXT_TEXTURE);
      for (enum Question question = VALUE; question < QUESTIONS; ++question) {
        float numbers[NUMBERS];
        const int count = ask(texture, outputs[i].kind, question, numbers);
        uint64_t* digest = &digests[i][question];
        if (outputs[i].usesPower && question != GRADIENT) {
          if (row < POWER_ROWS) reportNumbers(i, question, row, numbers, count);
          continue;
        }
        if (count != 0 && *digest == 0) *digest = 0xCBF29CE484222325;
        for (int n = 0; n < count; ++n) {
          *digest = (*digest ^ bitsOf(numbers[n])) * 0x100000001B3;
        }
      }
    }
  }
  PluginDesc_deletePlugin(desc, plugin);
  for (int i = 0; i < OUTPUTS; ++i) {
    for (enum Question question = VALUE; question < QUESTIONS; ++question) {
      if (digests[i][question] != 0) reportDigest(i, question, digests[i][question]);
    }
  }
}

int main(int argc, char** argv) {
  void* library;
  if (argc != 2 && argc != 3) {
    fprintf(stderr, "usage: results LIBRARY [RECORD]\n");
    return 2;
  }
  if (argc == 3 && (recorded = fopen(argv[2], "r")) == NULL) {
    fprintf(stderr, "cannot read %s\n", argv[2]);
    return 2;
  }
  library = loadLibrary(argv[1]);
  evaluate(library, "TexSampler");
  evaluate(library, "TexVectorOp");
  evaluate(library, "TexFloatOp");
  evaluate(library, "TexAColorOp");
  evaluate(library, "Float3ToAColor");
  if (recorded != NULL && fgetc(recorded) != EOF) differ("the end", "more");
  unloadLibrary();
  if (recorded != NULL) {
    printf(differences == 0 ? "everything holds\n" : "%d lines differ\n", differences);
  }
  return differences != 0;
}
