// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <getopt.h>
#include <link.h>
#include <malloc.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <csignal>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>

#include "validate/harness/check.h"
#include "validate/harness/contract.h"
#include "validate/system/process.h"

namespace validate {

// `dlopen` looks for a name without a folder where the system has its libraries.
void* openModule(const std::string& path, std::string& why) {
  calling = {"loading"};
  void* module = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) why = dlerror();
  return module;
}
void closeModule(void* module) {
  calling = {"unloading"};
  dlclose(module);
  calling = {};
}
void* symbolOf(void* module, const char* name) { return dlsym(module, name); }

bool isMapped(const std::string& path) {
  void* module = dlopen(std::filesystem::absolute(path).c_str(), RTLD_NOW | RTLD_NOLOAD);
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

std::set<std::string> settings() {
  std::error_code error;
  std::set<std::string> lines{
      "working folder " + std::filesystem::current_path(error).string(),
      std::string("locale ") + std::setlocale(LC_ALL, nullptr),
      "terminate handler " + text(reinterpret_cast<const void*>(std::get_terminate()))};
  for (char** variable = environ; *variable != nullptr; ++variable) {
    lines.insert(std::string("environment ") + *variable);
  }
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    const auto* const handler = reinterpret_cast<const void*>(action.sa_handler);
    lines.insert("handler of signal " + text(signal) + ' ' + text(handler));
  }
  itimerval timer{};
  getitimer(ITIMER_REAL, &timer);
  lines.insert(timerisset(&timer.it_value) ? "alarm set" : "alarm not set");
  return lines;
}

std::set<std::string> possessions() {
  std::set<std::string> lines;
  std::error_code error;
  for (const auto& [what, folder] : {std::pair{"file", "fd"}, std::pair{"thread", "task"}}) {
    const std::filesystem::path all = std::filesystem::path("/proc/self") / folder;
    for (const auto& entry : std::filesystem::directory_iterator(all, error)) {
      const std::string file = std::filesystem::read_symlink(entry, error).string();
      if (file.starts_with("/proc/")) continue;  // this loop's own
      lines.insert(formatted(file.empty() ? "%s %s" : "%s %s %s", what,
                             entry.path().filename().c_str(), file.c_str()));
    }
  }
  std::ifstream timers("/proc/self/timers"), maps("/proc/self/maps");
  for (std::string line; std::getline(timers, line);) {
    if (line.starts_with("ID")) lines.insert("timer " + line);
  }
  std::uint64_t bytes = 0, begin = 0, end = 0;
  char dash = 0;
  for (maps >> std::hex; maps >> begin >> dash >> end; maps.ignore(8192, '\n')) {
    bytes += end - begin;
  }
  static const auto* const heap = static_cast<const char*>(sbrk(0));  // which may grow
  const auto grown = static_cast<std::uint64_t>(static_cast<const char*>(sbrk(0)) - heap);
  if (!kSanitized) lines.insert("mapped " + text(bytes - grown));
  return lines;
}

namespace {

bool isForking;

/// Before a module's own `fork`.
void refuseFork() {
  if (!isForking) failExpectation(called(), "another process", "none");
}

}  // namespace

Ending inCopy(int stream, double seconds, const std::function<void()>& body) {
  std::fflush(nullptr);  // or the child would write it once more
  int pipe[2];
  if (pipe2(pipe, O_CLOEXEC) != 0) return {"", "no pipe"};
  const pid_t parent = getpid();
  isForking = true;
  const pid_t child = fork();
  isForking = false;
  if (child < 0) return {"", "no process"};
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) _exit(1);
    dup2(pipe[1], stream);
    body();
  }
  close(pipe[1]);

  Ending ending;
  using Clock = std::chrono::steady_clock;
  auto end = Clock::now() + std::chrono::duration<double>(seconds);
  pollfd readable{pipe[0], POLLIN, 0};
  char buffer[4096];
  for (ssize_t length = 1; length > 0;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    const bool isEndless = ending.output.size() > 64 << 20;
    if (left <= 0 || isEndless) {
      const bool stopping = !ending.failure.empty();
      kill(child, stopping ? SIGKILL : SIGTERM);  // the first one lets it say what it is doing
      if (stopping) break;
      ending.failure =
          isEndless ? "output without end" : formatted("still running after %.0f s", seconds);
      if (isEndless) ending.output.clear();
      end = Clock::now() + std::chrono::seconds(1);
    }
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOHANG | WNOWAIT);
    if (poll(&readable, 1, 100) == 0) {
      if (ended.si_pid != 0) break;  // though another process may have the pipe open
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

// Goes on in a copy of this process: an emulator of another processor could not execute the program
// anew.
Ending runAgain(const std::vector<std::string>& arguments, double seconds) {
  std::vector<char*> argv{const_cast<char*>("samplerinfo-validate")};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  return inCopy(STDOUT_FILENO, seconds, [&] {
    pthread_atfork(refuseFork, nullptr, nullptr);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 1 << 20);
    pthread_setattr_default_np(&attributes);
    if (!kSanitized) dup2(STDOUT_FILENO, STDERR_FILENO);  // a sanitizer's reports are to be seen
    optind = 0;                                           // for `getopt` to begin anew
    std::exit(run(static_cast<int>(argv.size()) - 1, argv.data()));
  });
}

}  // namespace validate
