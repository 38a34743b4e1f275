// SPDX-License-Identifier: MIT
#include "preview/scene/json_file.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "preview/system/memory.h"

namespace preview {

namespace {

/// Leads the parser through a text, and knows how far it is.
class TextIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  TextIterator(const char* at, const char*& reached) : at_(at), reached_(&reached) {}
  reference operator*() const { return *at_; }
  TextIterator& operator++() {
    *reached_ = ++at_;
    return *this;
  }
  TextIterator operator++(int) {
    TextIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const TextIterator& other) const { return at_ == other.at_; }

 private:
  const char* at_;
  const char** reached_;
};

/// Builds the values from what the parser tells, each time just behind the end of a token; behind a
/// number it has seen one character more.
class Builder {
 public:
  Builder(const std::string& text, const char*& reached, JsonValue& root, Diagnostics& diagnostics)
      : text_(text),
        reached_(reached),
        counted_(text.data()),
        root_(root),
        diagnostics_(diagnostics) {}

  // The parser calls them by these names.
  // NOLINTBEGIN(readability-identifier-naming)
  bool null() { return literal({.kind = JsonValue::Kind::Null, .written = "null"}); }
  bool boolean(bool value) {
    return literal(
        {.kind = JsonValue::Kind::Boolean, .boolean = value, .written = value ? "true" : "false"});
  }
  bool number_integer(std::int64_t value) {
    return number(static_cast<double>(value), std::to_string(value));
  }
  bool number_unsigned(std::uint64_t value) {
    return number(static_cast<double>(value), std::to_string(value));
  }
  bool number_float(double value, const std::string& written) { return number(value, written); }
  bool string(std::string& value) {
    const char* begin = beginOfText();
    add(begin, {.kind = JsonValue::Kind::Text,
                .text = std::move(value),
                .written = shortened({begin, reached_})});
    return true;
  }
  bool binary(nlohmann::json::binary_t& /*value*/) { return false; }  // of other formats

  bool start_object(std::size_t /*size*/) { return open(JsonValue::Kind::Object); }
  bool start_array(std::size_t /*size*/) { return open(JsonValue::Kind::List); }
  bool end_object() { return close(); }
  bool end_array() { return close(); }
  bool key(std::string& name) {
    Level& level = open_.back();
    level.position = positionAt(beginOfText());
    if (!level.names.insert(name).second) {
      diagnostics_.add({place() + name, "occurs twice", level.position});
    }
    level.name = std::move(name);
    return true;
  }

  [[noreturn]] bool parse_error(std::size_t /*position*/, const std::string& last,
                                const nlohmann::detail::exception& error) {
    constexpr int kNumberOverflow = 406;
    if (error.id == kNumberOverflow) {
      throw SceneError(openPlace(), shortened(last) + " is greater than any number",
                       positionAt(beginOfNumber()));
    }
    // "[json.exception.parse_error.101] parse error at line 1, column 2: ..."
    const std::string text = error.what();
    const std::size_t prefix = text.find("column ");
    const std::size_t reason = text.find(": ", prefix == std::string::npos ? 0 : prefix);
    const char* lastRead = reached_ == text_.data() ? reached_ : reached_ - 1;
    throw SceneError("", reason == std::string::npos ? text : text.substr(reason + 2),
                     positionAt(lastRead));
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
    std::string name;  // of the member that comes next
    Position position;
    std::unordered_set<std::string> names;
  };

  const char* beginOfText() const {
    const char* begin = reached_ - 1;
    for (bool escaped = true; escaped;) {
      while (*--begin != '"') {
      }
      escaped = false;
      for (const char* before = begin; before != text_.data() && *--before == '\\';) {
        escaped = !escaped;
      }
    }
    return begin;
  }

  const char* beginOfNumber() const {
    const char* begin = reached_;
    const auto before = [&] { return static_cast<unsigned char>(begin[-1]); };
    while (begin != text_.data() && std::isdigit(before()) == 0) --begin;
    while (begin != text_.data() &&
           (std::isalnum(before()) != 0 || before() == '.' || before() == '-' || before() == '+')) {
      --begin;
    }
    return begin;
  }

  bool literal(JsonValue value) {
    const char* begin = reached_ - value.written.size();
    add(begin, std::move(value));
    return true;
  }

  bool number(double number, const std::string& written) {
    add(beginOfNumber(),
        {.kind = JsonValue::Kind::Number, .number = number, .written = shortened(written)});
    return true;
  }

  JsonValue* add(const char* begin, JsonValue value) {
    if (open_.empty()) {
      value.position = positionAt(begin);
      return &(root_ = std::move(value));
    }
    Level& level = open_.back();
    if (level.value->kind == JsonValue::Kind::List) {
      value.position = positionAt(begin);
    } else {
      value.name = std::move(level.name);
      value.position = level.position;
    }
    return &level.value->members.emplace_back(std::move(value));
  }

  bool open(JsonValue::Kind kind) {
    constexpr std::size_t kMaxDepth = 32;  // a scene has 7
    if (open_.size() == kMaxDepth) {
      throw SceneError(
          "", "more than " + std::to_string(kMaxDepth) + " lists and objects in each other",
          positionAt(reached_ - 1));
    }
    JsonValue* value = add(reached_ - 1, {.kind = kind});
    open_.push_back({value, {}, {}, {}});
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  /// Where a member of the innermost object stands, but for its name.
  std::string place() const {
    std::string place;
    for (std::size_t i = 0; i + 1 < open_.size(); ++i) {
      const JsonValue& value = *open_[i].value;
      if (value.kind == JsonValue::Kind::List) {
        if (!place.empty()) place.pop_back();
        place += "[" + std::to_string(value.members.size() - 1) + "].";
      } else {
        place += value.members.back().name + ".";
      }
    }
    return place;
  }

  /// Where the value that comes next stands.
  std::string openPlace() const {
    if (open_.empty()) return "";
    const Level& level = open_.back();
    std::string result = place();
    if (level.value->kind == JsonValue::Kind::Object) return result + level.name;
    result.resize(result.empty() ? 0 : result.size() - 1);
    return result + "[" + std::to_string(level.value->members.size()) + "]";
  }

  const std::string& text_;
  const char*& reached_;
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

JsonValue readJson(const std::filesystem::path& file, Diagnostics& diagnostics) {
  constexpr std::size_t kMaxBytes = std::size_t{1} << 24;  // its values take up to 80 times that
  std::ifstream stream(file, std::ios::binary);
  std::string text;
  for (char block[4096]; stream.read(block, sizeof block), stream.gcount() > 0;) {
    text.append(block, static_cast<std::size_t>(stream.gcount()));
    if (text.size() > kMaxBytes) throw SceneError("", "is larger than " + memoryText(kMaxBytes));
  }
  if (!stream.eof()) throw SceneError("", "cannot be read");
  JsonValue root;
  const char* reached = text.data();
  Builder builder(text, reached, root, diagnostics);
  // The parser would take it for the end.
  if (const std::size_t nul = text.find('\0'); nul != std::string::npos) {
    throw SceneError("", unexpected("a NUL", "text"), builder.positionAt(text.data() + nul));
  }
  nlohmann::json::sax_parse(TextIterator(text.data(), reached),
                            TextIterator(text.data() + text.size(), reached), &builder,
                            nlohmann::json::input_format_t::json, true, true);
  return root;
}

}  // namespace preview
