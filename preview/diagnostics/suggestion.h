// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "preview/diagnostics/one_line.h"

namespace preview {

/// `; did you mean "NAME"?` for the candidate nearest to `name`, or nothing if none is near.
std::string suggestion(std::string_view name, const std::vector<std::string>& candidates);

/// For a name that is none of `candidates`: `missing`, as in "no node" or "ramp has no parameter",
/// then the name and a suggestion.
std::string unknown(const std::string& missing, const std::string& name,
                    const std::vector<std::string>& candidates);

}  // namespace preview
