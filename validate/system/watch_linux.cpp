// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <malloc.h>
#include <pthread.h>
#include <sys/auxv.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

#include "validate/harness/check.h"
#include "validate/system/process.h"
#include "validate/system/watch.h"

// This program's `malloc` and its like, and its locks, are those of the module too: they come first
// where the loader looks for them. Nothing here allocates while it watches.

namespace validate {

namespace {

bool watching;
int refuseAt;
Watched watched;
Asker* refused = &watched.refused;

Block blocks[1 << 16];
std::size_t blockCount;

bool isFileOfModule(const char* path) {
  struct stat one, other;
  return stat(path, &one) == 0 && stat(trial.module.c_str(), &other) == 0 &&
         one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

std::vector<Block> guarded;  ///< whole pages
std::function<void(const unsigned char*)> tellWritten;
bool guarding;

int streams = -1;
int printedBefore;
void protect(bool writable) {
  for (const auto& [first, size] : guarded) {
    setWritable(const_cast<unsigned char*>(first), size, writable);
  }
  guarding = !writable;
}

struct sigaction beforeGuard;
// A fault of another kind comes again after this.
void onFault(int /*signal*/, siginfo_t* info, void* /*context*/) {
  endGuard();
  tellWritten(static_cast<const unsigned char*>(info->si_addr));
}

void* remember(void* block) {
  if (block != nullptr && blockCount < std::size(blocks)) {
    blocks[blockCount++] = {static_cast<unsigned char*>(block), malloc_usable_size(block)};
    ++watched.left;
  }
  return block;
}
void forget(const void* block) {
  if (guarding) endGuard();
  if (!watching) return;
  for (std::size_t i = blockCount; i-- != 0;) {
    if (blocks[i].first != block) continue;
    blocks[i] = blocks[--blockCount];
    --watched.left;
    return;
  }
}

/// What a request comes to, made by the function that a call returns to. The loader's are its own.
template <class Request>
void* answerTo(const void* caller, const Request& request) {
  if (guarding) endGuard();
  if (!watching) return request();
  Dl_info asker{};
  dladdr(caller, &asker);
  if (reinterpret_cast<std::uintptr_t>(asker.dli_fbase) == getauxval(AT_BASE)) return request();
  if (++watched.allocations != refuseAt) return remember(request());
  *refused = isFileOfModule(asker.dli_fname) ? Asker::Module : Asker::Other;
  errno = ENOMEM;
  return nullptr;
}

}  // namespace

const char* whyNotWatched() { return nullptr; }

int printedSoFar() {
  if (streams < 0) return 0;
  std::fflush(nullptr);
  return static_cast<int>(lseek(streams, 0, SEEK_CUR));
}

void watch(int refuse) {
  watched = {};
  printedBefore = printedSoFar();
  blockCount = 0;
  refuseAt = refuse;
  watching = true;
}
Watched stopWatching() {
  watching = false;
  watched.printed = printedSoFar() - printedBefore;
  return watched;
}
Asker refusedSoFar() { return watched.refused; }

std::vector<Block> blocksLeft() { return {blocks, blocks + blockCount}; }

namespace {

struct Search {
  const void* address;
  std::vector<Block> found;
};
int addVariables(dl_phdr_info* info, std::size_t /*size*/, void* data) {
  Search& search = *static_cast<Search*>(data);
  bool holdsAddress = false;
  std::vector<Block> writable;
  for (const ElfW(Phdr)* at = info->dlpi_phdr; at != info->dlpi_phdr + info->dlpi_phnum; ++at) {
    if (at->p_type != PT_LOAD) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr)
    const Block segment{reinterpret_cast<const unsigned char*>(info->dlpi_addr + at->p_vaddr),
                        at->p_memsz};
    if (segment.holds(search.address)) holdsAddress = true;
    if ((at->p_flags & PF_W) != 0) writable.push_back(segment);
  }
  if (holdsAddress) search.found = writable;
  return holdsAddress;
}

}  // namespace

std::vector<Block> variablesAround(const void* address) {
  Search search{address, {}};
  dl_iterate_phdr(addVariables, &search);
  return search.found;
}

void takeStreams() {
  if (streams >= 0) return;
  reports = fdopen(dup(STDOUT_FILENO), "w");
  streams = memfd_create("streams", MFD_CLOEXEC);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) dup2(streams, stream);
}

void guard(const std::vector<Block>& all, std::function<void(const unsigned char*)> whenWritten) {
  static const auto page = static_cast<std::uintptr_t>(getpagesize());
  guarded.clear();
  for (const Block& block : all) {
    const std::uintptr_t before = reinterpret_cast<std::uintptr_t>(block.first) % page;
    guarded.push_back({block.first - before, before + block.size});
  }
  tellWritten = std::move(whenWritten);
  struct sigaction action {};
  action.sa_sigaction = onFault;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGSEGV, &action, &beforeGuard);
  protect(false);
}

void endGuard() {
  sigaction(SIGSEGV, &beforeGuard, nullptr);
  protect(true);
}

RefusedLoad loadRefusing(int refuse) {
  // The child tells what happened even if it dies.
  struct Progress {
    Asker refused;
    bool wentOn;
  };
  auto* const progress = static_cast<Progress*>(
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  if (progress == MAP_FAILED) fail("no memory");
  const Ending ending = inCopy(STDERR_FILENO, 20, [&] {
    std::set_terminate(std::abort);
    const rlimit none{0, 0};
    setrlimit(RLIMIT_CORE, &none);
    refused = &progress->refused;
    watch(refuse);
    []() noexcept {  // a loader handles no exceptions
      std::string why;
      openModule(trial.module, why);
    }();
    progress->wentOn = true;
    _exit(0);
  });
  RefusedLoad load{progress->refused, ending.failure, ending.output};
  if (ending.failure.empty() && !progress->wentOn) load.ending = "exit code 0";
  munmap(progress, sizeof(Progress));
  return load;
}

}  // namespace validate

// ---- The functions that come first ----

extern "C" {
// NOLINTBEGIN: they are named and declared by the C library
#define FIRST __attribute__((visibility("default")))

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* block, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
void __libc_free(void* block) noexcept;

#define ANSWER(request) validate::answerTo(__builtin_return_address(0), [&] { return request; })

FIRST void* malloc(std::size_t size) noexcept { return ANSWER(__libc_malloc(size)); }
FIRST void* calloc(std::size_t count, std::size_t size) noexcept {
  return ANSWER(__libc_calloc(count, size));
}
FIRST void* realloc(void* block, std::size_t size) noexcept {
  return validate::answerTo(__builtin_return_address(0), [&] {
    void* const answer = __libc_realloc(block, size);
    if (answer != nullptr || size == 0) validate::forget(block);
    return answer;
  });
}
FIRST void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return ANSWER(__libc_memalign(alignment, size));
}
FIRST void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return ANSWER(__libc_memalign(alignment, size));
}
FIRST int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
  void* const answer = ANSWER(__libc_memalign(alignment, size));
  if (answer != nullptr) *block = answer;
  return answer != nullptr ? 0 : ENOMEM;
}
FIRST void free(void* block) noexcept {
  validate::forget(block);
  __libc_free(block);
}

// What comes next is looked for beforehand: the loader, which then would have to answer, waits for
// the threads that a module joins as it goes.
#define COUNT_LOCKS(function, Lock)                                                            \
  static auto* next_##function() {                                                             \
    static const auto it = reinterpret_cast<decltype(&function)>(dlsym(RTLD_NEXT, #function)); \
    return it;                                                                                 \
  }                                                                                            \
  [[maybe_unused]] static auto* const found_##function = next_##function();                    \
  FIRST int function(Lock* lock) noexcept {                                                    \
    if (validate::watching) ++validate::watched.locks;                                         \
    return next_##function()(lock);                                                            \
  }
COUNT_LOCKS(pthread_mutex_lock, pthread_mutex_t)
COUNT_LOCKS(pthread_mutex_trylock, pthread_mutex_t)
COUNT_LOCKS(pthread_rwlock_rdlock, pthread_rwlock_t)
COUNT_LOCKS(pthread_rwlock_tryrdlock, pthread_rwlock_t)
COUNT_LOCKS(pthread_rwlock_wrlock, pthread_rwlock_t)
COUNT_LOCKS(pthread_rwlock_trywrlock, pthread_rwlock_t)
COUNT_LOCKS(pthread_spin_lock, pthread_spinlock_t)
COUNT_LOCKS(pthread_spin_trylock, pthread_spinlock_t)
#undef COUNT_LOCKS
#undef ANSWER
#undef FIRST
// NOLINTEND

}  // extern "C"
