#ifndef TESTS_CONTRACT_C_HOST_H
#define TESTS_CONTRACT_C_HOST_H

/* A host without C++: loads the library as the renderer does and makes the renderer's side of the
 * contract, objects and textures, from structs and tables of functions. */

#include "contract.h"

/* The library's descriptor. Ends the program if it cannot be had. */
void* loadLibrary(const char* path);
void unloadLibrary(void);
int isLoaded(const char* path);

/* A visitor that notes the descriptors it is shown, and stops after `stopAt` of them if not 0. */
enum { DESCS = 16 };
typedef struct {
  void* const* table;
  void* descs[DESCS];
  int count;
  int stopAt;
} DescList;
extern void* const DescList_table[];

/* The descriptor of a kind of plugin, by name. */
void* findDesc(void* library, const char* name);

/* What the stand-in for the host's library keeps of the parameters that a descriptor describes: a
 * list is, as its compilers lay it out, three pointers. */
enum {
  PARAM_INTEGER = 3,
  PARAM_BOOLEAN = 4,
  PARAM_OUTPUT = 5
};                                                              /* inputs, and outputs from 5 on, */
enum TextureKind { COLOR, NUMBER, VECTOR, INTEGER, TRANSFORM }; /* in this order */
typedef struct {
  const char* name;
  int32_t type, initial, flags;
  const char *help, *text;
} ParameterInfo;
typedef struct {
  const ParameterInfo *begin, *end, *limit;
} ParameterInfos;
static inline const ParameterInfos* parametersOf(void* desc) {
  return ((void**)desc)[descriptor_parameters];
}

/* ---- Checks --------------------------------------------------------------------------------- */

extern int failures;
extern const char* place; /* what is being looked at, for the report */

void check(int holds, const char* text, int line);
#define CHECK(condition) check(!!(condition), #condition, __LINE__)

/* Prints the last line; returns what the program should. */
int finish(void);

/* ---- Textures ------------------------------------------------------------------------------- */

/* An input of one of the first three kinds: its value, lower bound and upper bound, each with as
 * many numbers as the kind has, and its gradient. */
typedef struct {
  void* const* table;
  float numbers[15];
} Input;
extern void* const ColorInput_table[];
extern void* const FloatInput_table[];
extern void* const VectorInput_table[];
extern void* const* const inputTables[]; /* of each kind */

/* Connects an input of a plugin's `QuorPluginInterface`, or sets a number of `kind`; returns what
 * the plugin answers. */
int32_t connectInput(void* pluginInterface, const char* name, void* texture);
int32_t setNumber(void* pluginInterface, const char* name, int32_t kind, int32_t value);

/* The texture of an output; null if there is none. */
void* outputOf(void* pluginInterface, const char* name);

/* Asks a texture in `host.sc`. Returns how many numbers the answer has, at most 12 (that of an
 * integer has its bits); 0 where there is no such question. */
enum Question { VALUE, BOUNDS, GRADIENT, QUESTIONS };
int ask(void* texture, enum TextureKind kind, enum Question question, float* numbers);

/* ---- The host's objects and records, one of each -------------------------------------------- */

typedef struct {
  struct {
    void* const* table;
    char text[128]; /* what was printed last */
    int lines;
  } log;
  struct {
    void* const* table;
    Vector lo, hi;
  } scene;
  void* const* cameraMotion;
  void* const* object;
  struct {
    void* const* table;
    Vector a, b, c; /* the uvw derivatives */
    Vector uvw;
    int32_t materialId;
  } surface;

  QuorFrameData frameData;
  RenderServices services;
  RenderContext renderContext;
  ShadingContext sc; /* connected with all the rest */
} Host;

extern Host host;

/* What the host's camera motion and object space do, so that each leaves a trace of its own:
 *   pointFromRayTime   x + 100 t        vectorFromRayTime   y + 4 t
 *   pointToRayTime     z + 16 t         vectorToRayTime     z + 8 t
 *   worldToObjectPoint 2 p              worldToObjectNormal -n */

#endif
