// What no C program can do: catch what the library throws.

extern "C" const char* thrownBy(void (*call)(void*, const char*), void* self, const char* text) {
  try {
    call(self, text);
  } catch (char* message) {
    return message;
  }
  return nullptr;
}
