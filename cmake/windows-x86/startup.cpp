// SPDX-License-Identifier: MIT
// Start-up of a DLL: what Visual Studio's runtime would link into it. Runs the static constructors
// when the DLL is loaded and the destructors when it goes, and gives the compiler and the linker
// the names that they expect to find.

#include <windows.h>

#include <cmath>
#include <cstdlib>

namespace {

using Function = void(__cdecl*)();

/// Destructors of static objects, in the order in which they were registered.
struct ExitList {
  Function* functions;
  int count;
  int capacity;
};
ExitList exitList;

}  // namespace

extern "C" {

// The compiler puts pointers to the constructors between these two: the linker sorts the sections
// by the name after the `$`.
__attribute__((section(".CRT$XCA"))) Function constructorsBegin = nullptr;
__attribute__((section(".CRT$XCZ"))) Function constructorsEnd = nullptr;

int __cdecl atexit(Function function) {
  if (exitList.count == exitList.capacity) {
    const int capacity = exitList.capacity + 32;
    void* grown =
        std::realloc(exitList.functions, static_cast<std::size_t>(capacity) * sizeof(Function));
    if (grown == nullptr) return -1;
    exitList.functions = static_cast<Function*>(grown);
    exitList.capacity = capacity;
  }
  exitList.functions[exitList.count++] = function;
  return 0;
}

BOOL __stdcall _DllMainCRTStartup(HINSTANCE module, DWORD reason, void* /*reserved*/) {
  if (reason == DLL_PROCESS_ATTACH) {
    for (Function* constructor = &constructorsBegin; constructor != &constructorsEnd;
         ++constructor) {
      if (*constructor != nullptr) (*constructor)();
    }
    DisableThreadLibraryCalls(module);
  } else if (reason == DLL_PROCESS_DETACH) {
    while (exitList.count != 0) exitList.functions[--exitList.count]();
    std::free(exitList.functions);
    exitList = {};
  }
  return TRUE;
}

// As Microsoft's 32-bit headers have it: the C runtime has no function of its own for it.
float __cdecl powf(float x, float y) {
  return static_cast<float>(std::pow(static_cast<double>(x), static_cast<double>(y)));
}

// Called when an exception leaves a function that promised none.
void __std_terminate() { std::abort(); }

// The compiler refers to it from every file that uses floating point.
int _fltused = 0;

// The load configuration: tells the system which exception handlers are ours, from a table that the
// linker makes.
extern void* __safe_se_handler_table[];
extern char __safe_se_handler_count;  // its address is the number
DWORD __security_cookie = 0xBB40E64E;

struct LoadConfiguration {
  DWORD size;
  DWORD unused[14];
  DWORD* securityCookie;
  void** handlerTable;
  char* handlerCount;
};
extern const LoadConfiguration _load_config_used = {sizeof(LoadConfiguration),
                                                    {},
                                                    &__security_cookie,
                                                    __safe_se_handler_table,
                                                    &__safe_se_handler_count};

// The virtual table of `type_info`. Every type descriptor points at it; nobody calls through it, as
// the runtime compares types by their names.
extern void* const typeInfoTable[2] asm("??_7type_info@@6B@");
void* const typeInfoTable[2] = {};
}

// Where the containers of the C++ library end up when they are asked for too much.
namespace std {
void __throw_length_error(const char* /*text*/) { std::abort(); }
void __throw_bad_alloc() { std::abort(); }
void __throw_bad_array_new_length() { std::abort(); }
}  // namespace std
