// SPDX-License-Identifier: MIT
#pragma once

#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "preview/diagnostics/one_line.h"

/// Errors, each of one line. Those of the user's making, `InputError` and `SceneError`, end the
/// program with exit code 2.
namespace preview {

class InputError : public std::runtime_error {
 public:
  explicit InputError(const std::string& text) : std::runtime_error(oneLine(text)) {}
};

/// Of what is being caught, in a line.
inline std::string textOfThrown() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return "out of memory";
  } catch (const std::system_error& e) {
    // Its text does not say that it is a thread that could not be started.
    const bool isThread = e.code() == std::errc::resource_unavailable_try_again;
    return (isThread ? "no thread can be started: " : "") + oneLine(e.what());
  } catch (const std::exception& e) {
    return oneLine(e.what());
  } catch (const char* text) {  // as plugins of this contract throw
    return text != nullptr ? oneLine(text) : "a null text was thrown";
  } catch (...) {
    return "an exception without a text";
  }
}

/// Calls a plugin, and puts the name in front of the text of what it throws. Memory that is short
/// stays `std::bad_alloc`.
template <class Call>
auto callPlugin(const std::string& name, const Call& call) try {
  return call();
} catch (const std::bad_alloc&) {
  throw;
} catch (...) {
  throw std::runtime_error(name + ": " + textOfThrown());
}

/// For something that stands in the place of something else.
inline std::string unexpected(const std::string& found, const std::string& expected) {
  return "expected " + expected + ", found " + found;
}

/// In a file: counted from 1, columns in characters; line 0 stands for "unknown".
struct Position {
  int line = 0, column = 0;
};

/// ":LINE:COLUMN" to stand behind the name of a file; empty if unknown.
inline std::string positionText(Position position) {
  if (position.line == 0) return "";
  return ":" + std::to_string(position.line) + ":" + std::to_string(position.column);
}

/// Something wrong in the scene file, at `place` in it ("nodes.tint.params.mode"; may be empty).
class SceneError : public std::runtime_error {
 public:
  SceneError(std::string where, const std::string& text, Position at = {})
      : std::runtime_error(where.empty() ? oneLine(text)
                                         : shownPlace(where) + ": " + oneLine(text)),
        place(std::move(where)),
        position(at) {}

  std::string place;
  Position position;

 private:
  static std::string shownPlace(const std::string& where) {
    constexpr std::size_t kMax = 100;  // a valid place has no longer names
    return oneLine(where, kMax);
  }
};

}  // namespace preview
