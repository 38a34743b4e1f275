// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "preview/diagnostics/diagnostics.h"

namespace preview {

/// A value in a JSON file.
struct JsonValue {
  enum class Kind { Null, Boolean, Number, Text, List, Object };

  Kind kind = Kind::Null;
  bool boolean = false;
  double number = 0;
  std::string text = {};
  std::string written = {};  ///< as it stands in the file, shortened; of members the bracket alone
  std::vector<JsonValue> members = {};  ///< of an object or a list

  std::string name = {};   ///< as a member of an object
  Position position = {};  ///< of the name; without one, of the value

  const JsonValue* find(const std::string& member) const;
};

/// Reads a JSON file with comments, in a time that grows with its length. Throws `SceneError` if it
/// cannot be read as such; two members of a name are only noted.
JsonValue readJson(const std::filesystem::path& file, Diagnostics& diagnostics);

}  // namespace preview
