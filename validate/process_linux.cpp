// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <getopt.h>
#include <link.h>
#include <malloc.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <fstream>

#include "validate/process.h"

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

std::vector<std::string> exportsOf(const std::string& path, void* /*module*/) {
  std::ifstream file(path, std::ios::binary);
  const auto read = [&file](auto& record, std::size_t offset, std::size_t size) {
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char*>(&record), static_cast<std::streamsize>(size));
  };
  ElfW(Ehdr) header{};
  read(header, 0, sizeof header);
  std::vector<ElfW(Shdr)> sections(header.e_shnum);
  if (!sections.empty()) read(sections[0], header.e_shoff, sections.size() * sizeof sections[0]);

  std::vector<std::string> names;
  for (const ElfW(Shdr) & section : sections) {
    if (section.sh_type != SHT_DYNSYM) continue;
    std::string texts(sections.at(section.sh_link).sh_size, '\0');
    read(texts[0], sections.at(section.sh_link).sh_offset, texts.size());
    for (std::size_t at = 0; at < section.sh_size; at += sizeof(ElfW(Sym))) {
      ElfW(Sym) symbol{};
      read(symbol, section.sh_offset + at, sizeof symbol);
      const bool isGlobal = symbol.st_info >> 4 != STB_LOCAL;
      const std::string name = &texts.at(symbol.st_name);
      const bool isOfLinker = std::ranges::find(kOfLinker, name) != std::end(kOfLinker);
      if (isGlobal && symbol.st_shndx != SHN_UNDEF && symbol.st_shndx != SHN_ABS && !isOfLinker) {
        names.push_back(name);
      }
    }
  }
  return names;
}

std::size_t heapInUse() {
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
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
