#ifndef TESTS_CONTRACT_C_HOST_H
#define TESTS_CONTRACT_C_HOST_H

/* A host without C++: loads the library as the renderer does and makes the renderer's side of the
 * contract, objects and textures, from structs and tables of functions. */

#include "contract.h"

/* The library's descriptor. Ends the program if it cannot be had. */
void* loadLibrary(const char* path);
void unloadLibrary(void);

/* The descriptor of a kind of plugin, by name. */
void* findDesc(void* library, const char* name);

/* ---- Textures: a value, bounds and a gradient of choice ------------------------------------- */

typedef struct {
  void* const* table;
  float value, lo, hi;
  Vector gradient;
} FloatInput;
typedef struct {
  void* const* table;
  Vector value, lo, hi;
  Vector gradient;
} VectorInput;
typedef struct {
  void* const* table;
  AColor value, lo, hi;
  Vector gradient;
} ColorInput;

extern void* const floatInputTable[];
extern void* const vectorInputTable[];
extern void* const colorInputTable[];

/* The shading context that the last asked input was given. */
extern const ShadingContext* seenContext;

/* Connects an input of a plugin's `QuorPluginInterface`, or sets a number of `kind`; returns what
 * the plugin answers. */
int32_t connectInput(void* pluginInterface, const char* name, void* texture);
int32_t setNumber(void* pluginInterface, const char* name, int32_t kind, int32_t value);

/* The texture of an output; null if there is none. */
void* outputOf(void* pluginInterface, const char* name);

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
  struct {
    void* const* table;
  } cameraMotion;
  struct {
    void* const* table;
    void* interfaces;
  } object;
  struct {
    void* const* table;
    void* interfaces;
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
