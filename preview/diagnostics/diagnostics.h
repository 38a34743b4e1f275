// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "preview/diagnostics/errors.h"

namespace preview {

/// What is wrong in a scene, all of it, and where the places of the file stand.
class Diagnostics {
 public:
  /// Runs a step. What it finds wrong is kept; false if there was anything.
  template <class Step>
  bool attempt(Step step) {
    const std::size_t before = errors_.size();
    try {
      step();
    } catch (const SceneError& e) {
      add(e);
    }
    return errors_.size() == before;
  }
  void add(SceneError error) {
    error.position = positionOf(error);
    errors_.push_back(std::move(error));
  }

  /// In the order in which they were found.
  const std::vector<SceneError>& errors() const { return errors_; }
  void throwFirst() const {
    if (!errors_.empty()) throw SceneError(errors_.front());
  }

  /// As a line of a report: "FILE:LINE:COLUMN: SEVERITY: WHAT".
  std::string lineOf(const std::filesystem::path& file, const char* severity,
                     const SceneError& error) const {
    return shownPath(file) + positionText(positionOf(error)) + ": " + severity + ": " +
           error.what();
  }

  void setPosition(const std::string& place, Position position) { positions_[place] = position; }

  /// That of the error, or of its place, or of what this place is or would be in.
  Position positionOf(const SceneError& error) const {
    if (error.position.line != 0) return error.position;
    for (std::string place = error.place;;) {
      const auto known = positions_.find(place);
      if (known != positions_.end()) return known->second;
      if (place.empty()) return {};
      const std::size_t end = place.find_last_of(".[");
      place.resize(end == std::string::npos ? 0 : end);
    }
  }

 private:
  std::vector<SceneError> errors_;
  std::unordered_map<std::string, Position> positions_;
};

}  // namespace preview
