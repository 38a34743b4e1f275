// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <vector>

/// What the validator asks of the system; one file per system answers.
namespace validate {

/// Loads a module once more; null if it cannot be, and why.
void* openModule(const std::string& path, std::string& why);
void closeModule(void* module);
void* symbolOf(void* module, const char* name);
bool isMapped(const std::string& path);
/// The names that a module exports.
std::vector<std::string> exportsOf(void* module);

/// How many bytes of the C library's heap are in use.
std::size_t heapInUse();

/// Whether whole pages of memory can be written.
void setWritable(void* pages, std::size_t size, bool writable);

/// What a module may forget to put back or to give up: how this process is set, and what it has.
/// Empty where nobody can tell.
std::set<std::string> settings();
std::set<std::string> possessions();

/// How a process came to its end, and what it wrote on its standard streams.
struct Ending {
  std::string output;
  std::string failure;  ///< "signal 11", "exit code 3" or the like; empty for exit code 0
};

/// The program without what `main` adds; returns the exit code.
int run(int argc, char** argv);

/// Executes `body`, which does not return, in a copy of this process, and takes what it writes to
/// the stream. On Linux alone.
Ending inCopy(int stream, double seconds, const std::function<void()>& body);

/// Runs this program with other arguments, for so many seconds at most.
Ending runAgain(const std::vector<std::string>& arguments, double seconds);

}  // namespace validate
