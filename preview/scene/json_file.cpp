// SPDX-License-Identifier: MIT
#include "preview/scene/json_file.h"

#include <algorithm>
#include <cstring>
#include <istream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <unordered_set>

#include "preview/system/memory.h"

namespace preview {

namespace {

/// Builds the values from the parser's events. Each is of one token, and steps through the text to
/// it: the parser has found it well-formed, but does not say where it is.
class Builder {
 public:
  Builder(const std::string& text, JsonValue& root, Diagnostics& diagnostics)
      : text_(text), at_(text.c_str()), counted_(at_), root_(root), diagnostics_(diagnostics) {}

  // The parser calls them by these names.
  // NOLINTBEGIN(readability-identifier-naming)
  bool null() { return add({.kind = JsonValue::Kind::Null}); }
  bool boolean(bool value) { return add({.kind = JsonValue::Kind::Boolean, .boolean = value}); }
  bool number_integer(std::int64_t value) { return number_float(static_cast<double>(value), ""); }
  bool number_unsigned(std::uint64_t value) { return number_float(static_cast<double>(value), ""); }
  bool number_float(double value, const std::string& /*written*/) {
    return add({.kind = JsonValue::Kind::Number, .number = value});
  }
  bool string(std::string& value) {
    return add({.kind = JsonValue::Kind::Text, .text = std::move(value)});
  }
  bool binary(nlohmann::json::binary_t& /*value*/) { return false; }  // of other formats

  bool start_object(std::size_t /*size*/) { return open(JsonValue::Kind::Object); }
  bool start_array(std::size_t /*size*/) { return open(JsonValue::Kind::List); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }
  bool key(std::string& name) {
    Level& level = open_.back();
    level.position = positionAt(nextToken().data());
    level.name = std::move(name);
    if (!level.names.insert(level.name).second) {
      diagnostics_.add({place(), "occurs twice", level.position});
    }
    return true;
  }

  [[noreturn]] bool parse_error(std::size_t charactersRead, const std::string& last,
                                const nlohmann::detail::exception& error) {
    constexpr int kNumberOverflow = 406;
    if (error.id == kNumberOverflow) {
      const char* compared = last.front() == '-' ? " is less" : " is greater";
      throw SceneError(place(), shortened(last) + compared + " than any number",
                       positionAt(nextToken().data()));
    }
    // "[json.exception.parse_error.101] parse error at line 1, column 2: ..."
    const std::string text = error.what();
    const std::size_t prefix = text.find("column ");
    const std::size_t reason = text.find(": ", prefix == std::string::npos ? 0 : prefix);
    const std::size_t read = std::max<std::size_t>(1, std::min(charactersRead, text_.size()));
    throw SceneError("", reason == std::string::npos ? text : text.substr(reason + 2),
                     positionAt(text_.c_str() + read - 1));
  }
  // NOLINTEND(readability-identifier-naming)

  /// Counts on from the last such position, which is not behind `to`.
  Position positionAt(const char* to) {
    for (; counted_ < to; ++counted_) {
      const bool continues = (static_cast<unsigned char>(*counted_) & 0xC0U) == 0x80;
      if (*counted_ == '\n') {
        position_ = {position_.line + 1, 1};
      } else if (!continues) {
        ++position_.column;
      }
    }
    return position_;
  }

 private:
  struct Level {
    JsonValue* value;
    std::string name;  // of the member that comes next, or is open
    Position position;
    std::unordered_set<std::string> names;
  };

  std::string_view nextToken() {
    for (;;) {
      at_ += std::strspn(at_, " \t\r\n,:\xEF\xBB\xBF");  // a byte order mark, too
      if (*at_ != '/') break;
      at_ = at_[1] == '*' ? std::strstr(at_ + 2, "*/") + 2 : at_ + std::strcspn(at_, "\r\n");
    }
    const char* first = at_;
    if (*at_ == '"') {
      while (*++at_ != '"') at_ += *at_ == '\\' ? 1 : 0;
    }
    at_ += std::max<std::size_t>(1, std::strcspn(at_, " \t\r\n,:[]{}/\""));
    return {first, at_};
  }

  /// Where the value that comes next stands, as in "camera.keys[1].target".
  std::string place() const {
    std::string place;
    for (const Level& level : open_) {
      if (level.value->kind == JsonValue::Kind::List) {
        const bool isInnermost = &level == &open_.back();
        const std::size_t count = level.value->members.size();
        place += "[" + std::to_string(isInnermost ? count : count - 1) + "]";
      } else {
        place += (place.empty() ? "" : ".") + level.name;
      }
    }
    return place;
  }

  bool add(JsonValue value) {
    const std::string_view token = nextToken();
    const bool hasName = !open_.empty() && open_.back().value->kind == JsonValue::Kind::Object;
    if (hasName) value.name = open_.back().name;
    value.position = hasName ? open_.back().position : positionAt(token.data());
    value.written = shortened(std::string(token));
    (open_.empty() ? root_ : open_.back().value->members.emplace_back()) = std::move(value);
    return true;
  }

  bool open(JsonValue::Kind kind) {
    constexpr std::size_t kMaxDepth = 32;  // a scene has 7
    if (open_.size() == kMaxDepth) {
      throw SceneError(
          "", "more than " + std::to_string(kMaxDepth) + " lists and objects in each other",
          positionAt(nextToken().data()));
    }
    add({.kind = kind});
    open_.push_back({open_.empty() ? &root_ : &open_.back().value->members.back(), {}, {}, {}});
    return true;
  }

  bool close() {
    nextToken();
    open_.pop_back();
    return true;
  }

  const std::string& text_;
  const char* at_;  // behind the last token
  const char* counted_;
  Position position_ = {1, 1};
  JsonValue& root_;
  std::vector<Level> open_;
  Diagnostics& diagnostics_;
};

}  // namespace

const JsonValue* JsonValue::find(const std::string& member) const {
  const auto found = std::ranges::find(members, member, &JsonValue::name);
  return found != members.end() ? &*found : nullptr;
}

JsonValue& JsonValue::at(const std::string& member) {
  const auto found = std::ranges::find(members, member, &JsonValue::name);
  if (found != members.end()) return *found;
  return members.emplace_back(
      JsonValue{.kind = Kind::Object, .name = member, .position = position});
}

JsonValue parseJson(const std::string& text, Diagnostics& diagnostics) {
  JsonValue root;
  Builder builder(text, root, diagnostics);
  // The parser would take it for the end.
  if (const std::size_t nul = text.find('\0'); nul != std::string::npos) {
    throw SceneError("", unexpected("a NUL", "text"), builder.positionAt(text.data() + nul));
  }
  nlohmann::json::sax_parse(text, &builder, nlohmann::json::input_format_t::json, true, true);
  return root;
}

JsonValue readJson(std::istream& file, Diagnostics& diagnostics) {
  constexpr std::size_t kMaxBytes = std::size_t{1} << 24;  // its values take up to 80 times that
  std::string text;
  for (char block[4096]; file.read(block, sizeof block), file.gcount() > 0;) {
    text.append(block, static_cast<std::size_t>(file.gcount()));
    if (text.size() > kMaxBytes) throw SceneError("", "is larger than " + memoryText(kMaxBytes));
  }
  if (!file.eof()) throw SceneError("", "cannot be read");
  return parseJson(text, diagnostics);
}

}  // namespace preview
