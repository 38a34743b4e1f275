// SPDX-License-Identifier: MIT
#include "validate/harness/check.h"

#include <utf8.h>

#include <bit>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

#include "validate/harness/contract.h"

namespace validate {

Check* firstCheck = nullptr;
Trial trial;
std::FILE* reports = stdout;

Check::Check(const char* dottedName, const char* whatMustHold, void (*body)())
    : name(dottedName), sentence(whatMustHold), run(body) {
  Check** link = &firstCheck;
  while (*link != nullptr && std::strcmp((*link)->name, name) < 0) link = &(*link)->next;
  next = std::exchange(*link, this);
}

namespace {

// The parent process reads these lines; what else is printed is the module's.
void report(const char* what, const std::string& line) {
  std::fprintf(reports, "\n#%s %s\n", what, printable(line).c_str());
  std::fflush(reports);
}

}  // namespace

std::string printable(const std::string& text) {
  std::string result;
  for (const char c : text) {
    const bool isPlain = c >= ' ' && c <= '~';
    result += isPlain ? std::string(1, c) : formatted("\\x%02X", static_cast<unsigned char>(c));
  }
  return result;
}

const char* called() {
  static char text[512];
  const auto [operation, of, sample, setting] = calling;
  if (operation == nullptr) return isOurThread ? "the check" : "a thread of somebody else";
  char at[32] = "";
  if (sample >= 0) std::snprintf(at, sizeof at, " at sample %d", sample);
  std::snprintf(text, sizeof text, "%s%s%s%s%s", of != nullptr ? of : "", of != nullptr ? "." : "",
                operation, at, setting);
  return text;
}

const char* seedText() {
  static char text[24];
  if (trial.isRandom) std::snprintf(text, sizeof text, " (seed %" PRIu32 ")", trial.seed);
  return text;
}

void fail(const std::string& line) {
  constexpr std::size_t kEnough = 400;
  report("failed", (line.size() > kEnough ? line.substr(0, kEnough) + "..." : line) + seedText());
  std::_Exit(1);
}

void skip(const std::string& reason) {
  report("skipped", reason);
  std::_Exit(0);
}

void note(const std::string& line) { report("note", line); }

void failExpectation(const std::string& asked, const std::string& got,
                     const std::string& expected) {
  fail(asked + ": got " + got + ", expected " + expected);
}

std::string text(bool value) { return value ? "yes" : "no"; }
std::string text(std::int32_t value) { return std::to_string(value); }
std::string text(std::uint32_t value) { return std::to_string(value); }
std::string text(std::uint64_t value) { return formatted("0x%08" PRIx64, value); }
std::string text(float value) {
  return formatted("%.9g [%08" PRIx32 "]", static_cast<double>(value),
                   std::bit_cast<std::uint32_t>(value));
}
std::string text(const std::string& value) { return '"' + value + '"'; }
std::string text(const char* value) { return value == nullptr ? "null" : text(std::string(value)); }
std::string text(const void* value) {
  return value == nullptr
             ? "null"
             : formatted("object at 0x%" PRIxPTR, reinterpret_cast<std::uintptr_t>(value));
}

void expectName(const std::string& asked, const char* got) {
  expectUtf8(asked, got);
  if (*got == '\0') failExpectation(asked, text(got), "a name");
}

void expectUtf8(const std::string& asked, const char* got) {
  if (got == nullptr) failExpectation(asked, text(got), "a text");
  if (!utf8::is_valid(std::string_view(got))) failExpectation(asked, text(got), "UTF-8");
}

}  // namespace validate
