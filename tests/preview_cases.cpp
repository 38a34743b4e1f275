// SPDX-License-Identifier: MIT
#include <ImfChannelList.h>
#include <ImfFrameBuffer.h>
#include <ImfHeader.h>
#include <ImfInputFile.h>
#include <gtest/gtest.h>
#include <png.h>
#include <sys/wait.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// Runs the preview as its users do. The cases are the text files in tests/preview; the README.md
// there says how they are written.

namespace {

namespace fs = std::filesystem;

struct Step {
  std::string verb, text;
  int line;
};
struct Case {
  std::string file, name;
  std::vector<Step> steps;
};
void PrintTo(const Case& which, std::ostream* out) { *out << which.name; }

/// The cases of a file. What stands before the first belongs to each of them.
std::vector<Case> readCases(const fs::path& path) {
  Case common{path.string(), "", {}};
  std::vector<Case> cases;
  std::ifstream stream(path);
  std::string line;
  for (int number = 1; std::getline(stream, line); ++number) {
    std::vector<Step>& steps = cases.empty() ? common.steps : cases.back().steps;
    if (line.empty() || line[0] == '#') continue;
    if (line.starts_with("  ") && !steps.empty()) {
      steps.back().text += "\n" + line.substr(2);
      continue;
    }
    const std::size_t space = std::min(line.find(' '), line.size());
    const Step step{line.substr(0, space), line.substr(std::min(space + 1, line.size())), number};
    if (step.verb == "case") {
      cases.push_back({common.file, step.text, common.steps});
    } else {
      steps.push_back(step);
    }
  }
  return cases;
}

/// Whether a line is as expected: `*` stands for anything, and the last digits of numbers that are
/// not whole may differ.
bool matches(const char* expected, const char* got) {
  constexpr double kTolerance = 1e-5;  // relative above 1
  for (;; ++expected, ++got) {
    if (*expected == '*') {
      for (; !matches(expected + 1, got); ++got) {
        if (*got == '\0') return false;
      }
      return true;
    }
    char* afterExpected = nullptr;
    char* afterGot = nullptr;
    const double a = std::strtod(expected, &afterExpected);
    const double b = std::strtod(got, &afterGot);
    if (afterExpected != expected && afterGot != got && *expected != ' ' && *got != ' ') {
      const auto isWhole = [](const char* from, const char* to) {
        return std::all_of(from, to, [](char c) { return c == '-' || (c >= '0' && c <= '9'); });
      };
      const bool exact = isWhole(expected, afterExpected) && isWhole(got, afterGot);
      if (std::abs(a - b) <= (exact ? 0 : kTolerance * std::max(1.0, std::abs(a)))) {
        return matches(afterExpected, afterGot);
      }
    }
    if (*expected != *got) return false;
    if (*got == '\0') return true;
  }
}

/// The words of a line with one blank between them.
std::string withoutColumns(const std::string& line) {
  std::istringstream words(line);
  std::string text;
  for (std::string word; words >> word;) text += (text.empty() ? "" : " ") + word;
  return text;
}

bool isLike(const std::string& expected, const std::string& got) {
  return matches(withoutColumns(expected).c_str(), withoutColumns(got).c_str());
}

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<std::string> linesOf(const fs::path& file) {
  std::vector<std::string> lines;
  std::ifstream stream(file);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "\n  " + line;
  return text;
}

/// Every file below a folder, hidden ones included, with its content.
std::map<std::string, std::string> filesIn(const fs::path& folder) {
  std::map<std::string, std::string> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    files[entry.path().string()] = entry.is_regular_file() ? contentOf(entry.path()) : "";
  }
  return files;
}

struct Png {
  png_image image = {};
  std::vector<std::uint8_t> bytes;

  explicit Png(const fs::path& file) {
    image.version = PNG_IMAGE_VERSION;
    png_image_begin_read_from_file(&image, file.c_str());
    const bool isRgb = image.format == PNG_FORMAT_RGB;
    bytes.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
    if (!isRgb || image.warning_or_error != 0) {
      throw std::runtime_error(file.string() + ": no RGB picture: " + image.message);
    }
  }
};

/// "8x6 255 0 255" for a PNG, "A 1 B 0.2 … facing.V 0.5" with all channels for an EXR.
std::string pixelText(const fs::path& file, std::size_t x, std::size_t y) {
  std::ostringstream text;
  if (file.extension() == ".png") {
    const Png png(file);
    text << png.image.width << "x" << png.image.height;
    for (std::size_t c = 0; c < 3; ++c) {
      text << " " << int{png.bytes.at((y * png.image.width + x) * 3 + c)};
    }
    return text.str();
  }
  Imf::InputFile exr(file.c_str());
  const Imf::ChannelList& channels = exr.header().channels();
  const Imath::Box2i& window = exr.header().dataWindow();
  const auto width = static_cast<std::size_t>(window.max.x) + 1;
  for (auto channel = channels.begin(); channel != channels.end(); ++channel) {
    std::vector<float> values(width * (static_cast<std::size_t>(window.max.y) + 1));
    Imf::FrameBuffer frameBuffer;
    frameBuffer.insert(channel.name(),
                       Imf::Slice(Imf::FLOAT, reinterpret_cast<char*>(values.data()), sizeof(float),
                                  width * sizeof(float)));
    exr.setFrameBuffer(frameBuffer);
    exr.readPixels(0, window.max.y);
    if (channel.channel().type != Imf::FLOAT) text << "half ";
    text << channel.name() << " " << values.at(y * width + x) << " ";
  }
  return text.str().substr(0, text.str().size() - 1);
}

/// The fraction of the pixels in which two pictures differ visibly; 1 if their sizes differ.
double difference(const Png& a, const Png& b) {
  constexpr int kVisible = 12;  // of 255
  if (a.image.width != b.image.width || a.bytes.size() != b.bytes.size()) return 1;
  std::set<std::size_t> pixels;
  for (std::size_t i = 0; i < a.bytes.size(); ++i) {
    if (std::abs(a.bytes[i] - b.bytes[i]) > kVisible) pixels.insert(i / 3);
  }
  return 3.0 * static_cast<double>(pixels.size()) / static_cast<double>(a.bytes.size());
}

class Preview : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "preview-XXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    base_ = name;
    fs::create_directory(folder_ = base_ / "case");
  }
  void TearDown() override { fs::remove_all(base_); }

  static bool isExpectation(const Step& step) {
    static const std::set<std::string> kVerbs = {"out", "err", "exit", "refuses"};
    return kVerbs.contains(step.verb);
  }

  void fail(int line, const std::string& what) const {
    ADD_FAILURE_AT(case_.file.c_str(), line) << case_.name << ": " << what;
  }

  /// Runs a command, or the usual one, and compares what comes with what the next steps expect.
  std::vector<Step>::const_iterator runAndCheck(std::vector<Step>::const_iterator step) {
    const int line = step->line;
    const std::string text = step->verb == "$" ? (step++)->text : command_;
    const auto before = filesIn(folder_);
    const std::string command = "exec >'" + (base_ / "out").string() + "' 2>'" +
                                (base_ / "err").string() + "' </dev/null; cd '" + folder_.string() +
                                "'; preview='" PREVIEW
                                "'; preview() { \"$preview\" \"$@\"; }; scenes='" SCENES
                                "'; modules='" MODULES "'\n" +
                                text;
    const int status = std::system(command.c_str());
    const std::vector<std::string> out = linesOf(base_ / "out");
    const std::vector<std::string> err = linesOf(base_ / "err");

    int exitCode = 0;
    std::vector<std::string> expectedErr;
    for (; step != case_.steps.end() && isExpectation(*step); ++step) {
      if (step->verb == "out" &&
          std::ranges::none_of(out, [&](const auto& got) { return isLike(step->text, got); })) {
        fail(step->line, "no such line of output: " + step->text + "\nGot:" + joined(out));
      }
      if (step->verb == "exit") exitCode = std::stoi(step->text);
      if (step->verb == "err" || step->verb == "refuses") expectedErr.push_back(step->text);
      if (step->verb == "refuses") {
        exitCode = 2;
        if (!out.empty()) fail(step->line, "expected no output. Got:" + joined(out));
        if (filesIn(folder_) != before) fail(step->line, "files have changed");
      }
    }
    if (!std::ranges::equal(expectedErr, err, isLike)) {
      fail(line, "expected on the error stream:" + joined(expectedErr) + "\nGot:" + joined(err));
    }
    const int got = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (got != exitCode) {
      fail(line, "expected exit code " + std::to_string(exitCode) + ", got " + std::to_string(got));
    }
    return step;
  }

  void compare(const fs::path& picture, const fs::path& recorded, int line) const {
    constexpr double kTolerated = 0.001;  // of the pixels
    const double differing = difference(Png(picture), Png(recorded));
    if (differing <= kTolerated) return;
    const fs::path kept = fs::path(testing::TempDir()) / recorded.filename();
    fs::copy_file(picture, kept, fs::copy_options::overwrite_existing);
    fail(line, std::to_string(100 * differing) + " % of the pixels differ from " +
                   recorded.string() + "\nGot " + kept.string());
  }

  void take(const Step& step) try {
    std::istringstream words(step.text);
    std::string name, second;
    words >> name;
    if (step.verb == "command") {
      command_ = step.text;
    } else if (step.verb == "scene") {
      std::getline(words >> std::ws, sections_[name], '\0');
      std::string text;
      for (const auto& [section, content] : sections_) {
        if (content.empty()) continue;
        text.append(text.empty() ? "{" : ",\n").append("\"" + section + "\": ").append(content);
      }
      std::ofstream(folder_ / "scene.json") << text << "}\n";
    } else if (step.verb == "file") {
      const std::size_t begin = step.text.find('\n');
      fs::create_directories((folder_ / name).parent_path());
      std::ofstream(folder_ / name)
          << (begin == std::string::npos ? "" : step.text.substr(begin + 1) + "\n");
    } else if (step.verb == "pixel") {
      std::size_t x = 0, y = 0;
      char comma = 0;
      words >> x >> comma >> y;
      std::getline(words >> std::ws, second);
      const std::string got = pixelText(folder_ / name, x, y);
      if (!isLike(second, got)) fail(step.line, "expected " + second + "\nGot      " + got);
    } else if (step.verb == "picture") {
      words >> second;
      const fs::path recorded = fs::path(case_.file).parent_path() / second;
      if (!fs::is_directory(recorded)) return compare(folder_ / name, recorded, step.line);
      for (const fs::directory_entry& each : fs::directory_iterator(recorded)) {
        compare(folder_ / name / each.path().filename(), each.path(), step.line);
      }
    } else {
      fail(step.line, "unknown verb " + step.verb);
    }
  } catch (const std::exception& e) {
    fail(step.line, e.what());
  }

 private:
  const Case& case_ = GetParam();
  fs::path base_, folder_;
  std::map<std::string, std::string> sections_;
  std::string command_;
};

TEST_P(Preview, GivesWhatIsExpected) {
  const std::vector<Step>& steps = GetParam().steps;
  for (auto step = steps.begin(); step != steps.end();) {
    if (step->verb == "$" || isExpectation(*step)) {
      step = runAndCheck(step);
    } else {
      take(*step++);
    }
  }
}

std::vector<Case> allCases() {
  std::vector<Case> cases;
  for (const fs::directory_entry& entry : fs::directory_iterator(CASES)) {
    if (entry.path().extension() == ".txt") {
      std::ranges::move(readCases(entry.path()), std::back_inserter(cases));
    }
  }
  return cases;
}

/// "probes_the_nearest_of_three"
std::string testName(const testing::TestParamInfo<Case>& info) {
  std::string name = fs::path(info.param.file).stem().string() + "_" + info.param.name;
  std::ranges::replace_if(
      name, [](char c) { return std::isalnum(c) == 0; }, '_');
  return name;
}
INSTANTIATE_TEST_SUITE_P(Case, Preview, testing::ValuesIn(allCases()), testName);

}  // namespace
