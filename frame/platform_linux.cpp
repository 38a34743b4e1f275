// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "frame/platform.h"

namespace samplerinfo::platform {

void* heapBlock(std::size_t size) noexcept { return std::malloc(size); }

void freeHeapBlock(void* block) noexcept { std::free(block); }

// The C library counts its heap instead of letting it be walked. Of the entries it counts the free
// ones and those that are mappings of their own.
std::uint32_t heapTotal() noexcept {
  const struct mallinfo2 info = mallinfo2();
  return static_cast<std::uint32_t>(info.arena + info.hblkhd);
}

HeapWalk walkHeap() noexcept {
  constexpr std::int32_t kEndOfHeap = -5;
  const struct mallinfo2 info = mallinfo2();
  return {static_cast<std::uint32_t>(info.fordblks),
          static_cast<std::uint32_t>(info.ordblks + info.smblks + info.hblks), kEndOfHeap};
}

// Nothing can be asked: the C library ends the process when it finds its heap damaged.
bool heapIsIntact() noexcept { return true; }

int formatText(char* buffer, std::size_t size, const char* format,
               std::va_list arguments) noexcept {
  // The terminator takes the place of a last character that would just fit.
  const int length = std::vsnprintf(buffer, size, format, arguments);
  return length >= 0 && static_cast<std::size_t>(length) < size ? length : -1;
}

// One unbuffered write, so that nothing is allocated and lines of several threads do not mix. Where
// nobody reads it raises SIGPIPE, which is taken back unless the thread had one waiting.
void debugOutput(const char* text) noexcept {
  sigset_t brokenPipe;
  sigset_t mask;
  sigset_t waiting;
  sigemptyset(&brokenPipe);
  sigaddset(&brokenPipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &brokenPipe, &mask);
  sigpending(&waiting);
  const ssize_t written = ::write(STDERR_FILENO, text, std::strlen(text));
  if (written < 0 && errno == EPIPE && sigismember(&waiting, SIGPIPE) == 0) {
    constexpr timespec kAtOnce{};
    sigtimedwait(&brokenPipe, nullptr, &kAtOnce);
  }
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

static_assert(sizeof(Lock) >= sizeof(std::mutex));
static_assert(alignof(Lock) >= alignof(std::mutex));

namespace {
std::mutex& mutexIn(std::byte* storage) {
  return *std::launder(reinterpret_cast<std::mutex*>(storage));
}
}  // namespace

Lock::Lock() noexcept { new (storage_) std::mutex; }
Lock::~Lock() { mutexIn(storage_).~mutex(); }
void Lock::lock() { mutexIn(storage_).lock(); }
void Lock::unlock() { mutexIn(storage_).unlock(); }

}  // namespace samplerinfo::platform
