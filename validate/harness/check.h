// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

/// How a check is written. Each runs in a process of its own, which ends at the first failure.
///
///   CHECK(registration, twice, "a descriptor that is registered twice is announced twice") {
///     ...
///     expect("announcements of " + name, announced, 2);
///   }
namespace validate {

/// What is never copied.
struct Unique {
  Unique() = default;
  Unique(const Unique&) = delete;
  void operator=(const Unique&) = delete;
};

struct Check {
  const char* name;
  const char* sentence;  ///< what must hold
  void (*run)();
  Check* next = nullptr;

  Check(const char* dottedName, const char* whatMustHold, void (*body)());
};
/// All checks, in the order of their names.
extern Check* firstCheck;

#define CHECK(...) CHECK_OF_COUNT(__VA_ARGS__, CHECK_IN_PART, CHECK_IN_GROUP)(__VA_ARGS__)
#define CHECK_OF_COUNT(a, b, c, d, chosen, ...) chosen
#define CHECK_IN_GROUP(group, name, sentence) \
  CHECK_FUNCTION(check_##group##_##name, #group "." #name, sentence)
#define CHECK_IN_PART(group, part, name, sentence) \
  CHECK_FUNCTION(check_##group##_##part##_##name, #group "." #part "." #name, sentence)
#define CHECK_FUNCTION(function, name, sentence)                              \
  static void function();                                                     \
  static const ::validate::Check listed_##function(name, sentence, function); \
  static void function()

/// What was given on the command line.
struct Trial {
  std::string module;
  std::uint32_t seed = 1;  ///< of everything random
  bool isRandom = false;   ///< whether the seed has been used
  double seconds = 0;      ///< how long the evaluation checks go on; 0 for a short run

  std::uint32_t useSeed() {
    isRandom = true;
    return seed;
  }
};
extern Trial trial;

/// Whether this program and the module are built with a sanitizer, which has an allocator and
/// threads of its own.
#ifdef VALIDATE_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

/// What the module is asked at the moment, and the seed, if it has been used. They allocate
/// nothing: it may be the heap that is broken.
const char* called();
const char* seedText();

/// End the check: it fails, or it cannot be done here. From any thread, and from inside the module.
[[noreturn]] void fail(const std::string& line);
[[noreturn]] void skip(const std::string& reason);

/// Where the report goes; the standard output, unless that is watched.
extern std::FILE* reports;

/// A line for the report, whatever comes out.
void note(const std::string& line);

/// The text with what is not ASCII, or is no character, as `\xNN`.
std::string printable(const std::string& text);

/// As `printf` writes it.
template <class... Values>
std::string formatted(const char* format, Values... values) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, format, values...);
  return buffer;
}

std::string text(bool value);
std::string text(std::int32_t value);
std::string text(std::uint32_t value);
std::string text(std::uint64_t value);  ///< an identifier, in hexadecimal
std::string text(float value);          ///< with its bits
std::string text(const char* value);
std::string text(const std::string& value);
std::string text(const void* value);

[[noreturn]] void failExpectation(const std::string& asked, const std::string& got,
                                  const std::string& expected);

/// Fails unless what it got is what was expected; texts are compared as texts, floats as bits.
template <class T>
void expect(const std::string& asked, const T& got, const std::type_identity_t<T>& expected) {
  if (text(got) != text(expected)) failExpectation(asked, text(got), text(expected));
}

/// Fails unless the text is there and UTF-8; that of a name is not empty.
void expectUtf8(const std::string& asked, const char* got);
void expectName(const std::string& asked, const char* got);

}  // namespace validate
