// SPDX-License-Identifier: MIT
#include <malloc.h>
#include <windows.h>

#include <filesystem>

#include "validate/harness/check.h"
#include "validate/harness/contract.h"
#include "validate/system/process.h"

namespace validate {

void* openModule(const std::string& path, std::string& why) {
  // The host's library is looked for beside the module.
  const std::string full = std::filesystem::absolute(path).string();
  calling = {"loading"};
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  HMODULE module = LoadLibraryExA(full.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (module == nullptr) why = path + ": error " + std::to_string(GetLastError());
  return module;
}
void closeModule(void* module) {
  calling = {"unloading"};
  FreeLibrary(static_cast<HMODULE>(module));
  calling = {};
}
void* symbolOf(void* module, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

bool isMapped(const std::string& path) {
  return GetModuleHandleA(std::filesystem::path(path).filename().string().c_str()) != nullptr;
}

std::vector<std::string> exportsOf(void* module) {
  const char* const base = static_cast<const char*>(module);
  const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(
      base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
  const auto& table = header->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  if (table.VirtualAddress == 0) return {};
  const auto* exports =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + table.VirtualAddress);
  const auto* offsets = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  std::vector<std::string> names;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) names.emplace_back(base + offsets[i]);
  return names;
}

// That of msvcrt.dll, which is this program's too.
std::size_t heapInUse() {
  std::size_t size = 0;
  _HEAPINFO entry{};
  while (_heapwalk(&entry) == _HEAPOK) size += entry._useflag == _USEDENTRY ? entry._size : 0;
  return size;
}

void setWritable(void* pages, std::size_t size, bool writable) {
  DWORD before;
  VirtualProtect(pages, size, writable ? PAGE_READWRITE : PAGE_READONLY, &before);
}

std::set<std::string> settings() { return {}; }
std::set<std::string> possessions() { return {}; }

Ending runAgain(const std::vector<std::string>& arguments, double seconds) {
  char program[MAX_PATH];
  GetModuleFileNameA(nullptr, program, sizeof program);
  std::string command = "samplerinfo-validate";
  for (const std::string& argument : arguments) command += " \"" + argument + '"';

  // Nobody reads before the end, so everything has to fit into the pipe.
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  HANDLE readEnd, writeEnd;
  if (!CreatePipe(&readEnd, &writeEnd, &inherited, 1 << 20)) return {"", "no pipe"};
  SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
  STARTUPINFOA start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  start.hStdOutput = writeEnd;
  PROCESS_INFORMATION child{};
  if (!CreateProcessA(program, command.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start,
                      &child)) {
    return {"", "no process"};
  }
  CloseHandle(writeEnd);
  const HANDLE job = CreateJobObjectA(nullptr, nullptr);  // ends with this process at the latest
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
  AssignProcessToJobObject(job, child.hProcess);

  Ending ending;
  DWORD code = 0;
  if (WaitForSingleObject(child.hProcess, static_cast<DWORD>(seconds * 1000)) == WAIT_TIMEOUT) {
    TerminateProcess(child.hProcess, 1);
    WaitForSingleObject(child.hProcess, INFINITE);
    ending.failure = formatted("still running after %.0f s", seconds);
  } else if (GetExitCodeProcess(child.hProcess, &code) && code != 0) {
    ending.failure = formatted(code < 256 ? "exit code %lu" : "exception 0x%08lx", code);
  }
  CloseHandle(job);
  char buffer[4096];
  DWORD length = 0;
  while (ReadFile(readEnd, buffer, sizeof buffer, &length, nullptr) && length > 0) {
    ending.output.append(buffer, length);
  }
  CloseHandle(readEnd);
  CloseHandle(child.hProcess);
  CloseHandle(child.hThread);
  return ending;
}

}  // namespace validate
