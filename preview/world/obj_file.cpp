// SPDX-License-Identifier: MIT
#include "preview/world/obj_file.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>

#include "preview/diagnostics/errors.h"
#include "preview/diagnostics/number_text.h"
#include "preview/system/regular_file.h"
#include "preview/world/polygon.h"

namespace preview {

namespace {

constexpr double kMaxNumber = 1e9;         // what is made of it stays within floats
constexpr int kMaxCorners = 10'000;        // cutting a face into triangles takes their square
constexpr std::size_t kMaxLine = 1 << 20;  // bytes; the longest face is a third of it

class Reader {
 public:
  explicit Reader(const std::filesystem::path& path) : path_(path) {}

  ObjTriangles read() {
    std::ifstream file = openRegularFile(path_);
    std::vector<char> buffer(kMaxLine);
    std::string line;
    for (; line.size() < kMaxLine && file.getline(buffer.data(), std::ssize(buffer)); ++line_) {
      const std::streamsize end = file.eof() ? 0 : 1;  // is counted
      line.append(buffer.data(), static_cast<std::size_t>(file.gcount() - end));
      constexpr const char* kByteOrderMark = "\xEF\xBB\xBF";  // some editors write it
      if (line_ == 1 && line.starts_with(kByteOrderMark)) line.erase(0, 3);
      if (continues(line)) continue;
      readLine(line);
      line.clear();
    }
    readLine(line);
    if (file.bad() || !file.is_open()) fail("cannot be read");
    if (!file.eof()) failAtLine("is longer than " + std::to_string(kMaxLine - 1) + " characters");
    if (faces_.empty()) fail("has no faces");
    for (const Face& face : faces_) cut(face);
    return std::move(result_);
  }

 private:
  using Corner = ObjTriangles::Corner;
  static constexpr std::uint32_t kNotGiven = ObjTriangles::kNotGiven;
  struct Face {
    int line;
    std::size_t first, count;  // corners
  };
  static constexpr const char* kKinds[] = {"v", "vt", "vn"};  // in the order of a corner's indices

  [[noreturn]] void fail(const std::string& what) const {
    throw InputError(shownPath(path_) + ": " + what);
  }
  [[noreturn]] void failAtLine(const std::string& what) const {
    fail("line " + std::to_string(line_) + ": " + what);
  }
  [[noreturn]] void failWithout(std::size_t kind, const std::string& index) const {
    failAtLine("there is no " + (kKinds[kind] + (" " + index)));
  }

  /// Takes away the sign that a line goes on in the next, if it is there and not in a comment.
  static bool continues(std::string& line) {
    const std::size_t last = line.find_last_not_of('\r');
    if (last == std::string::npos || line[last] != '\\' || line.find('#') != std::string::npos) {
      return false;
    }
    line.replace(last, std::string::npos, " ");
    return true;
  }

  void readLine(const std::string& line) {
    std::istringstream words(line.substr(0, line.find('#')));
    std::string word;
    words >> word;
    if (word == "f") readFace(words);
    const auto* const kind = std::ranges::find(kKinds, word);
    if (kind == std::end(kKinds)) return;
    lists_[kind - kKinds]->push_back(readNumbers(words, word == "vt" ? 1 : 3));
  }

  V3d readNumbers(std::istream& words, int needed) const {
    V3d numbers(0);
    int count = 0;
    for (std::string word; words >> word; ++count) {
      const char* begin = word.data() + (word.front() == '+' ? 1 : 0);
      const char* end = word.data() + word.size();
      double value = 0;
      const auto [behind, error] = std::from_chars(begin, end, value);
      if (error != std::errc() || behind != end || !(std::abs(value) <= kMaxNumber)) {
        failAtLine("\"" + shortened(word) + "\" is not a number from " + numberText(-kMaxNumber) +
                   " to " + numberText(kMaxNumber));
      }
      if (count < 3) numbers[count] = value;
    }
    if (count < needed) failAtLine("a number is missing");
    return numbers;
  }

  void readFace(std::istream& words) {
    const std::size_t first = corners_.size();
    for (std::string word; words >> word;) corners_.push_back(readCorner(word));
    const std::size_t count = corners_.size() - first;
    if (count < 3 || count > kMaxCorners) {
      failAtLine("expected a face of 3 to " + std::to_string(kMaxCorners) + " corners, found " +
                 std::to_string(count));
    }
    faces_.push_back({line_, first, count});
  }

  /// "1", "1/1", "1//1" or "1/1/1".
  Corner readCorner(const std::string& word) const {
    Corner corner = {kNotGiven, kNotGiven, kNotGiven};
    const char* at = word.data();
    const char* end = at + word.size();
    for (std::size_t kind = 0;; ++kind, ++at) {
      const bool mayLack = kind == 1 && at != end && *at == '/';
      if (!mayLack) corner[kind] = readIndex(at, end, kind, word);
      if (at == end) return corner;
      if (*at != '/' || kind == 2) failAtLine("\"" + shortened(word) + "\" is no corner");
    }
  }

  /// Reads an index, which counts from 1, or from -1 backwards from the line.
  std::uint32_t readIndex(const char*& at, const char* end, std::size_t kind,
                          const std::string& word) const {
    const char* begin = at;
    std::int32_t index = 0;
    const auto [behind, error] = std::from_chars(begin, end, index);
    if (error == std::errc::invalid_argument) {
      failAtLine("\"" + shortened(word) + "\" is no corner");
    }
    at = behind;
    const auto count = static_cast<std::int64_t>(lists_[kind]->size());
    if (error != std::errc() || index == 0 || -std::int64_t{index} > count) {
      failWithout(kind, shortened({begin, behind}));
    }
    return static_cast<std::uint32_t>(index > 0 ? index - 1 : count + index);
  }

  void cut(const Face& face) try {
    line_ = face.line;
    const std::span<Corner> corners(&corners_[face.first], face.count);
    std::vector<V3d> positions;
    for (const Corner& corner : corners) {
      for (std::size_t kind = 0; kind < std::size(kKinds); ++kind) {
        if (corner[kind] == kNotGiven || corner[kind] < lists_[kind]->size()) continue;
        failWithout(kind, std::to_string(corner[kind] + 1));
      }
      positions.push_back(result_.positions[corner[0]]);
    }
    if (std::ranges::any_of(corners, [](const Corner& c) { return c[1] == kNotGiven; })) {
      for (Corner& corner : corners) corner[1] = kNotGiven;
    }
    for (const Triangle& triangle : triangulate(positions)) {
      for (const std::uint32_t i : triangle) result_.corners.push_back(corners[i]);
    }
  } catch (const std::invalid_argument& e) {
    failAtLine(e.what());
  }

  const std::filesystem::path& path_;
  int line_ = 1;
  std::vector<Corner> corners_;
  std::vector<Face> faces_;
  ObjTriangles result_;
  std::vector<V3d>* lists_[3] = {&result_.positions, &result_.uvw, &result_.normals};
};

}  // namespace

ObjTriangles readObj(const std::filesystem::path& path) { return Reader(path).read(); }

}  // namespace preview
