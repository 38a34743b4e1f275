/* usage: refusal_test LIBRARY
 * What a host sees when the library is refused memory. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "c_host.h"

typedef struct {
  uint32_t total, free, blocks;
  int32_t status;
} HeapFigures;

static char debugText[512];
static char* hugeName; /* its copy needs a block that there is no room for */
enum { HUGE = 64 << 20 };

#ifdef _WIN32

/* A debugger is told of debug output, and everybody of C++ exceptions, by system exceptions; a
 * handler of them all looks on. */

#include <setjmp.h>
#include <windows.h>

enum { CPP_EXCEPTION = 0xE06D7363, DEBUG_PRINT = 0x40010006, LARGEST_HOLE = 16 << 20 };

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

static void prepare(void) {
  hugeName = VirtualAlloc(NULL, HUGE, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
  while (VirtualAlloc(NULL, LARGEST_HOLE, MEM_RESERVE, PAGE_NOACCESS) != NULL) {
  }
  AddVectoredExceptionHandler(1, lookOn);
}

/* What was thrown, as Microsoft's runtime says it on 32-bit x86: attributes, two functions, and a
 * list of types that catch it. Of each it has the properties and a descriptor, where the name comes
 * after two pointers. */
static void checkThrown(void) {
  void** info = (void**)thrown[2];
  void** types = info[3];
  void **first = types[1], **second = types[2];
  CHECK(thrown[0] == 0x19930520);
  CHECK(info[0] == NULL); /* else a const one, which a handler of `char *` does not get */
  CHECK(types[0] == (void*)2);
  CHECK(strcmp((char*)first[1] + 8, ".PAD") == 0);  /* char * */
  CHECK(strcmp((char*)second[1] + 8, ".PAX") == 0); /* void * */
}

static const char* refusedName(void* plugin) {
  debugText[0] = '\0';
  if (setjmp(afterThrow) == 0) {
    Plugin_setPluginName(plugin, hugeName);
    return NULL;
  }
  checkThrown();
  return *(const char**)thrown[1];
}

static HeapFigures heapFigures(void) {
  HeapFigures heap = {0, 0, 0, 0};
  _HEAPINFO entry = {0};
  while ((heap.status = _heapwalk(&entry)) == _HEAPOK) {
    ++heap.blocks;
    heap.total += entry._size;
    if (entry._useflag != _USEDENTRY) heap.free += entry._size;
  }
  return heap;
}

/* The compiler takes nobody but this function to be interested in the block, hence `volatile`. */
static void checkDamagedHeap(void* plugin) {
  enum { HEADER = 8 };
  volatile char* block = malloc(64);
  char intact[HEADER];
  const char* message;
  for (int i = 0; i < HEADER; ++i) {
    intact[i] = block[i - HEADER];
    block[i - HEADER] = 0x55;
  }
  message = refusedName(plugin);
  for (int i = 0; i < HEADER; ++i) block[i - HEADER] = intact[i];
  free((void*)block);

  CHECK(message != NULL && strcmp(message, " Heap is reported damaged.\n") == 0);
  CHECK(_heapchk() == _HEAPOK);
}

#else

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

static int debugOutput[2];
static struct mallinfo2 before;

const char* thrownBy(void (*call)(void*, const char*), void* self, const char* text);

static void prepare(void) {
  hugeName = malloc(HUGE);
  CHECK(pipe(debugOutput) == 0 && dup2(debugOutput[1], STDERR_FILENO) == STDERR_FILENO);
}

static const char* refusedName(void* plugin) {
  struct rlimit limit, none = {.rlim_cur = 1};
  void* volatile refused;
  const char* message;
  getrlimit(RLIMIT_AS, &limit);
  none.rlim_max = limit.rlim_max;
  setrlimit(RLIMIT_AS, &none);
  refused = malloc(HUGE); /* merges free blocks, as any large request does */
  before = mallinfo2();
  message = refused == NULL ? thrownBy(Plugin_setPluginName, plugin, hugeName) : NULL;
  setrlimit(RLIMIT_AS, &limit);
  if (message != NULL) debugText[read(debugOutput[0], debugText, sizeof debugText - 1)] = '\0';
  return message;
}

static HeapFigures heapFigures(void) {
  const HeapFigures heap = {before.arena + before.hblkhd, before.fordblks,
                            before.ordblks + before.smblks + before.hblks, -5};
  return heap;
}

static void checkDamagedHeap(void* plugin) {} /* the C library ends the process */

#endif

static void checkRefusal(void* plugin) {
  const char* message = refusedName(plugin);
  const HeapFigures heap = heapFigures();
  char debug[sizeof debugText], text[sizeof debugText];
  place = "refusal";
  CHECK(message != NULL);
  if (message == NULL) return;
  snprintf(debug, sizeof debug,
           "[operator new] failed (size is %d)\n"
           "[getFreeHeapMemory] Getting free heap memory.\n"
           "[getFreeHeapMemory] heapstatus=%d\n"
           "[getFreeHeapMemory] Number of blocks visited: %u\n",
           HUGE, (int)heap.status, (unsigned)heap.blocks);
  CHECK(strcmp(debugText, debug) == 0);
  snprintf(text, sizeof text,
           "Memory allocation failure; %u bytes requested; %u bytes already in heap; %u bytes free "
           "heap space.",
           HUGE, (unsigned)heap.total, (unsigned)heap.free);
  CHECK(strcmp(message, text) == 0);
  CHECK(heap.status == -5 && heap.blocks > 0 && heap.total > heap.free);
}

int main(int argc, char** argv) {
  void *desc, *plugin;
  setvbuf(stdout, NULL, _IONBF, 0);
  desc = findDesc(loadLibrary(argv[1]), "TexFloatOp");
  plugin = PluginDesc_newPlugin(desc, NULL);
  prepare();
  memset(hugeName, 'x', HUGE - 1);
  hugeName[HUGE - 1] = '\0';

  checkRefusal(plugin);
  checkDamagedHeap(plugin);
  checkRefusal(plugin); /* nothing is left behind */
  Plugin_setPluginName(plugin, "small");
  PluginDesc_deletePlugin(desc, plugin);
  unloadLibrary();
  return finish();
}
