#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace preview {

/// `; did you mean "NAME"?` for the candidate nearest to `name`, or nothing if none is near.
std::string suggestion(std::string_view name, const std::vector<std::string>& candidates);

}  // namespace preview
