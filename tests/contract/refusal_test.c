/* usage: refusal_test LIBRARY
 * Windows: what a host sees when the library is refused memory. A debugger is told of debug output,
 * and everybody of C++ exceptions, by system exceptions; a handler of them all looks on. */

#include "refusal.h"

#include <setjmp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <windows.h>

#include "c_host.h"

enum { CPP_EXCEPTION = 0xE06D7363, DEBUG_PRINT = 0x40010006 };

/* What a C++ exception carries, as Microsoft's runtime lays it out on 32-bit x86. */
typedef struct {
  void *table, *spare;
  char name[];
} TypeDescriptor;
typedef struct {
  uint32_t properties;
  TypeDescriptor* type;
} CatchableType;
typedef struct {
  int32_t count;
  CatchableType* types[];
} CatchableTypes;
typedef struct {
  uint32_t attributes;
  void *destructor, *forwardHandler;
  CatchableTypes* catchable;
} ThrowInfo;

static char debugText[512];
static jmp_buf afterThrow;
static ULONG_PTR thrown[3]; /* a mark, the address of the thrown object, its ThrowInfo */

static LONG CALLBACK lookOn(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
  if (record->ExceptionCode == (DWORD)DEBUG_PRINT) {
    const char* text = (const char*)record->ExceptionInformation[1];
    strncat(debugText, text, sizeof debugText - 1 - strlen(debugText));
  }
  if (record->ExceptionCode != (DWORD)CPP_EXCEPTION) return EXCEPTION_CONTINUE_SEARCH;
  memcpy(thrown, record->ExceptionInformation, sizeof thrown);
  longjmp(afterThrow, 1);
}

static char* hugeName; /* needs a block that no hole in the address space can take */
enum { HUGE = 64 << 20, LARGEST_HOLE = 16 << 20 };

static void fillAddressSpace(void) {
  hugeName = VirtualAlloc(NULL, HUGE, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  memset(hugeName, 'x', HUGE - 1);
  while (VirtualAlloc(NULL, LARGEST_HOLE, MEM_RESERVE, PAGE_NOACCESS) != NULL) {
  }
}

/* Has `plugin` refused a name; returns the message that is thrown, or null if none is. */
static const char* refusedName(void* plugin) {
  debugText[0] = '\0';
  memset(thrown, 0, sizeof thrown);
  if (setjmp(afterThrow) == 0) {
    Plugin_setPluginName(plugin, hugeName);
    return NULL;
  }
  return *(const char**)thrown[1];
}

static void checkException(void) {
  const ThrowInfo* info = (const ThrowInfo*)thrown[2];
  const CatchableTypes* catchable = info->catchable;
  CHECK(thrown[0] == 0x19930520);
  CHECK(info->attributes == 0); /* else a const one, which a handler of `char *` does not get */
  CHECK(catchable->count == 2);
  CHECK(strcmp(catchable->types[0]->type->name, ".PAD") == 0); /* char * */
  CHECK(strcmp(catchable->types[1]->type->name, ".PAX") == 0); /* void * */
}

/* The walk over the heap, taken by this program right after. */
static void walk(unsigned* total, unsigned* free, unsigned* blocks, int* status) {
  _HEAPINFO entry = {0};
  *total = *free = *blocks = 0;
  while ((*status = _heapwalk(&entry)) == _HEAPOK) {
    ++*blocks;
    *total += entry._size;
    if (entry._useflag != _USEDENTRY) *free += entry._size;
  }
}

static void checkRefusal(void* plugin) {
  Refusal expected;
  unsigned total, free, blocks;
  int status;
  const char* message = refusedName(plugin);
  walk(&total, &free, &blocks, &status);
  if (message == NULL) {
    CHECK(!"the name was refused");
    return;
  }
  checkException();
  expected = expectedRefusal(HUGE, total, free, blocks, status);
  CHECK(strcmp(message, expected.message) == 0);
  CHECK(strcmp(debugText, expected.debug) == 0);
  CHECK(status == _HEAPEND && blocks > 0 && total > free);
}

/* The compiler takes nobody but this function to be interested in the block, hence `volatile`. */
static void checkDamagedHeap(void* plugin) {
  enum { HEADER = 8 };
  volatile char* block = malloc(64);
  char intact[HEADER];
  const char* message;
  int lines = 0;
  for (int i = 0; i < HEADER; ++i) {
    intact[i] = block[i - HEADER];
    block[i - HEADER] = 0x55;
  }
  message = refusedName(plugin);
  for (int i = 0; i < HEADER; ++i) block[i - HEADER] = intact[i];
  free((void*)block);

  CHECK(message != NULL && strcmp(message, " Heap is reported damaged.\n") == 0);
  checkException();
  for (const char* c = debugText; *c != '\0'; ++c) lines += *c == '\n';
  CHECK(lines == 4);
  CHECK(_heapchk() == _HEAPOK);
}

int main(int argc, char** argv) {
  void *library, *desc, *plugin;
  if (argc != 2) {
    fprintf(stderr, "usage: refusal_test LIBRARY\n");
    return 2;
  }
  setvbuf(stdout, NULL, _IONBF, 0);
  library = loadLibrary(argv[1]);
  desc = findDesc(library, "TexFloatOp");
  plugin = PluginDesc_newPlugin(desc, NULL);
  fillAddressSpace();
  AddVectoredExceptionHandler(1, lookOn);

  checkRefusal(plugin);
  checkDamagedHeap(plugin);
  checkRefusal(plugin); /* nothing is left behind */
  Plugin_setPluginName(plugin, "small");
  PluginDesc_deletePlugin(desc, plugin);
  unloadLibrary();
  return finish();
}
