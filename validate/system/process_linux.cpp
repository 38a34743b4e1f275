// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <getopt.h>
#include <link.h>
#include <malloc.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>

#include "validate/check.h"
#include "validate/system/process.h"

namespace validate {

namespace {

// `dlopen` looks for a name without a folder where the system has its libraries.
std::string withFolder(const std::string& path) {
  return path.find('/') == std::string::npos ? "./" + path : path;
}

}  // namespace

void* openModule(const std::string& path, std::string& why) {
  void* module = dlopen(withFolder(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) why = dlerror();
  return module;
}
void closeModule(void* module) { dlclose(module); }
void* symbolOf(void* module, const char* name) { return dlsym(module, name); }

bool isMapped(const std::string& path) {
  void* module = dlopen(withFolder(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (module != nullptr) dlclose(module);
  return module != nullptr;
}

// What older linkers export on their own account.
constexpr const char* kOfLinker[] = {"_init", "_fini", "_edata", "_end", "__bss_start"};

namespace {

/// How many symbols a hash table in GNU's format covers.
std::size_t symbolsOf(const std::uint32_t* table) {
  const std::uint32_t buckets = table[0], first = table[1], bloomWords = table[2];
  const auto* const bucket = table + 4 + bloomWords * (sizeof(ElfW(Addr)) / sizeof *table);
  const std::uint32_t last = buckets == 0 ? 0 : *std::max_element(bucket, bucket + buckets);
  if (last < first) return first;
  const std::uint32_t* const chain = bucket + buckets - first;
  std::size_t symbol = last;
  while ((chain[symbol] & 1) == 0) ++symbol;
  return symbol + 1;
}

}  // namespace

// From the dynamic segment: a module may be stripped of its sections.
std::vector<std::string> exportsOf(void* module) {
  const link_map* map = nullptr;
  if (dlinfo(module, RTLD_DI_LINKMAP, &map) != 0) fail(dlerror());
  const ElfW(Sym)* symbols = nullptr;
  const char* texts = "";
  std::size_t count = 0;
  for (const ElfW(Dyn)* entry = map->l_ld; entry->d_tag != DT_NULL; ++entry) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader's own form of an address
    const auto* const table = reinterpret_cast<const std::uint32_t*>(entry->d_un.d_ptr);
    if (entry->d_tag == DT_SYMTAB) symbols = reinterpret_cast<const ElfW(Sym)*>(table);
    if (entry->d_tag == DT_STRTAB) texts = reinterpret_cast<const char*>(table);
    if (entry->d_tag == DT_HASH) count = table[1];
    if (entry->d_tag == DT_GNU_HASH) count = symbolsOf(table);
  }
  std::vector<std::string> names;
  for (std::size_t i = 0; symbols != nullptr && i < count; ++i) {
    const std::string name = texts + symbols[i].st_name;
    const bool isGlobal = symbols[i].st_info >> 4 != STB_LOCAL;
    const bool isOfLinker = std::ranges::find(kOfLinker, name) != std::end(kOfLinker);
    if (isGlobal && symbols[i].st_shndx != SHN_UNDEF && symbols[i].st_shndx != SHN_ABS &&
        !isOfLinker) {
      names.push_back(name);
    }
  }
  return names;
}

std::size_t heapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

void setWritable(void* pages, std::size_t size, bool writable) {
  mprotect(pages, size, writable ? PROT_READ | PROT_WRITE : PROT_READ);
}

// Goes on in a copy of this process: an emulator of another processor could not execute the program
// anew.
Ending runAgain(const std::vector<std::string>& arguments, double seconds) {
  std::vector<char*> argv{const_cast<char*>("samplerinfo-validate")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::fflush(nullptr);  // or the child would write it once more
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0) return {"", "no pipe"};
  const pid_t child = fork();
  if (child < 0) return {"", "no process"};
  if (child == 0) {
    dup2(pipe[1], STDOUT_FILENO);
    optind = 0;  // for `getopt` to begin anew
    std::exit(run(static_cast<int>(argv.size()) - 1, argv.data()));
  }
  close(pipe[1]);

  Ending ending;
  using Clock = std::chrono::steady_clock;
  auto end = Clock::now() + std::chrono::duration<double>(seconds);
  pollfd readable{pipe[0], POLLIN, 0};
  char buffer[4096];
  for (ssize_t length = 1; length > 0;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    if (left <= 0 || poll(&readable, 1, static_cast<int>(left)) == 0) {
      const bool stopping = !ending.failure.empty();
      kill(child, stopping ? SIGKILL : SIGTERM);  // the first one lets it say what it is doing
      if (stopping) break;
      ending.failure = "still running after " + std::to_string(std::lround(seconds)) + " s";
      end = Clock::now() + std::chrono::seconds(1);
      continue;
    }
    length = read(pipe[0], buffer, sizeof buffer);
    if (length > 0) ending.output.append(buffer, static_cast<std::size_t>(length));
  }
  close(pipe[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!ending.failure.empty()) return ending;
  if (WIFSIGNALED(status)) {
    ending.failure =
        "signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
  } else if (WEXITSTATUS(status) != 0) {
    ending.failure = "exit code " + std::to_string(WEXITSTATUS(status));
  }
  return ending;
}

}  // namespace validate
