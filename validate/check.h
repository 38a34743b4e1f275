// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <type_traits>

/// How a check is written. Each runs in a process of its own, which ends at the first failure.
///
///   CHECK("registration.twice", "a descriptor that is registered twice is announced twice") {
///     ...
///     expect("announcements of " + name, announced, 2);
///   }
namespace validate {

struct Check {
  const char* name;
  const char* promise;  ///< one sentence: what must hold
  void (*run)();
  Check* next = nullptr;

  Check(const char* dottedName, const char* sentence, void (*body)());
};
/// All checks, in the order of their names.
extern Check* firstCheck;

#define CHECK(name, promise) CHECK_IN_LINE(__LINE__, name, promise)
#define CHECK_IN_LINE(line, name, promise) CHECK_NAMED(line, name, promise)
#define CHECK_NAMED(line, name, promise)                                    \
  static void check##line();                                                \
  static const ::validate::Check checkOf##line(name, promise, check##line); \
  static void check##line()

/// What was given on the command line.
struct Trial {
  std::string module;
  std::uint32_t seed = 1;  ///< of everything random
  double seconds = 0;      ///< how long the evaluation checks go on; 0 for a short run
};
extern Trial trial;

/// Whether this program and the module are built with a sanitizer, which has an allocator and
/// threads of its own.
#ifdef VALIDATE_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

/// End the check: it fails, or it cannot be done here. From any thread, and from inside the module.
[[noreturn]] void fail(const std::string& line);
[[noreturn]] void leaveOut(const std::string& reason);

/// A line for the report, whatever comes out.
void note(const std::string& line);

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

[[noreturn]] void failExpectation(const std::string& asked, const std::string& came,
                                  const std::string& expected);

/// Fails unless what came is what was expected; texts are compared as texts, floats as bits.
template <class T>
void expect(const std::string& asked, const T& came, const std::type_identity_t<T>& expected) {
  if (text(came) != text(expected)) failExpectation(asked, text(came), text(expected));
}

/// Fails unless the text is there and UTF-8; that of a name is not empty.
void expectUtf8(const std::string& asked, const char* came);
void expectName(const std::string& asked, const char* came);

}  // namespace validate
