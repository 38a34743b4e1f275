#pragma once

#include <stdexcept>
#include <string>

/// Errors of the user's making. Each is one line; the program ends with exit code 2.
namespace preview {

class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Something wrong in the scene file, at `place` in it ("nodes.tint.params.mode"; may be empty).
class SceneError : public std::runtime_error {
 public:
  SceneError(const std::string& place, const std::string& text)
      : std::runtime_error(place.empty() ? text : place + ": " + text) {}
};

}  // namespace preview
