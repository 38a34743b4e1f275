// SPDX-License-Identifier: MIT
#pragma once

#include <iosfwd>
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

  std::string name = {};    ///< as a member of an object
  std::string option = {};  ///< of the command line, if it is from there
  Position position = {};   ///< of the name; without one, of the value

  const JsonValue* find(const std::string& member) const;

  /// The member of that name; an empty object, if there has been none.
  JsonValue& at(const std::string& member);
};

/// Reads JSON with comments, in a time that grows with its length. Throws `SceneError` if it is
/// none; two members of a name are only noted.
JsonValue parseJson(const std::string& text, Diagnostics& diagnostics);

/// The same of a file, which may be one that cannot be read.
JsonValue readJson(std::istream& file, Diagnostics& diagnostics);

}  // namespace preview
