// SPDX-License-Identifier: MIT
#include <array>
#include <cinttypes>
#include <cstdlib>
#include <deque>
#include <sstream>
#include <string_view>

#include "validate/network.h"
#include "validate/samplerinfo/records.h"

namespace validate {

namespace {

constexpr int kGroups = 20, kGroupRows = 100, kPowerRows = 48, kModes = 11;

/// A plugin with inputs of its own, over random scenes: the row is the seed.
class Sweep {
 public:
  explicit Sweep(void* desc) : plugin_(desc) {
    bool hasMode = false;
    for (const ParameterInfo& info : parametersOf(desc)) {
      const std::string_view name = info.name;
      if (isOutput(info)) {
        outputs_.push_back(
            {plugin_.name() + '.' + info.name, info.name, kindOf(info), -1, name == "power", {}});
      }
      hasMode = hasMode || name == "mode";
    }
    for (int mode = 0; hasMode && mode < kModes; ++mode) {
      outputs_.push_back({plugin_.name() + ".mode=" + text(mode),
                          nullptr,
                          TextureKind::Color,
                          mode,
                          mode == 5,
                          {}});
    }
  }

  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    for (int row = 0; row < kGroups * kGroupRows; ++row) {
      Random random(static_cast<std::uint32_t>(row));
      const Samples samples(random);
      const std::deque<Leaf> leaves = connectLeaves(random);
      for (Output& output : outputs_) {
        for (const Question question : {Question::Value, Question::Bounds, Question::Gradient}) {
          float numbers[12];
          const int count = askOutput(output, question, samples.contexts[0], numbers);
          if (output.usesPower && question != Question::Gradient) {
            if (row < kPowerRows) {
              lines.push_back(powerLine(output, question, row, {numbers, numbers + count}));
            }
          } else {
            digest(output.digests[question][static_cast<std::size_t>(row / kGroupRows)], numbers,
                   count);
          }
        }
      }
    }
    for (const Output& output : outputs_) {
      for (const Question question : {Question::Value, Question::Bounds, Question::Gradient}) {
        if (output.digests[question][0] != 0) lines.push_back(digestLine(output, question));
      }
    }
    return lines;
  }

 private:
  struct Output {
    std::string name;
    const char* parameter;  ///< null: the plugin's own texture in a mode
    TextureKind kind;
    std::int32_t mode;
    bool usesPower;
    std::array<std::array<std::uint64_t, kGroups>, kQuestionCount> digests;
  };

  /// One input in eight is absent.
  std::deque<Leaf> connectLeaves(Random& random) {
    std::deque<Leaf> leaves;
    for (const ParameterInfo& info : parametersOf(plugin_.desc())) {
      if (!isTextureInput(info)) continue;
      Leaf& leaf = leaves.emplace_back(info, random);
      plugin_.connect(info.name, random.oneIn(8) ? nullptr : &leaf);
    }
    plugin_.set("invert", ParameterKind::Boolean, static_cast<std::int32_t>(random.below(2)));
    return leaves;
  }

  /// In a new frame.
  int askOutput(const Output& output, Question question, const ShadingContext& sc, float* numbers) {
    plugin_.set("mode", ParameterKind::Integer, output.mode);
    plugin_.beginFrame();
    void* const texture = output.parameter != nullptr
                              ? plugin_.texture(output.parameter)
                              : PluginBase::getInterface(plugin_.object(), EXT_TEXTURE);
    return ask(texture, output.kind, question, sc, numbers);
  }

  /// FNV-1a, of words instead of bytes.
  static void digest(std::uint64_t& digest, const float* numbers, int count) {
    if (count != 0 && digest == 0) digest = 0xCBF29CE484222325;
    for (int i = 0; i < count; ++i) digest = (digest ^ bitsOf(numbers[i])) * 0x100000001B3;
  }

  static std::string powerLine(const Output& output, Question question, int row,
                               const std::vector<float>& numbers) {
    std::string line = output.name + ' ' + kQuestionNames[question] + ' ' + text(row);
    for (const float number : numbers) line += formatted(" %08" PRIx32, bitsOf(number));
    return line;
  }
  static std::string digestLine(const Output& output, Question question) {
    std::string line = output.name + ' ' + kQuestionNames[question];
    for (const std::uint64_t digest : output.digests[question]) {
      line += formatted(" %08" PRIx32, static_cast<std::uint32_t>(digest ^ digest >> 32));
    }
    return line;
  }

  Instance plugin_;
  std::vector<Output> outputs_;
};

// ---- The comparison ----

constexpr std::string_view kRecord[] = {
#include "results.inc"
};

/// Position of a number among all floats, so that neighbours differ by 1.
std::int64_t positionOf(const std::string& bits) {
  const unsigned long number = std::strtoul(bits.c_str(), nullptr, 16);
  return (number & 0x80000000) != 0 ? -static_cast<std::int64_t>(number & 0x7FFFFFFF)
                                    : static_cast<std::int64_t>(number);
}

/// An output, a question, the row of a power, and the numbers behind them.
struct Line {
  std::string key;
  int row = -1;
  std::vector<std::string> numbers;

  explicit Line(std::string_view line) {
    std::istringstream words{std::string(line)};
    std::string question;
    words >> key >> question;
    key += ' ' + question;
    for (std::string word; words >> word;) {
      if (word.size() < 8) {
        row = std::atoi(word.c_str());
      } else {
        numbers.push_back(word);
      }
    }
  }
};

// All systems have to agree to the bit, but `powf` may differ in the last place.
void compare(const Line& line, const Line& recorded) {
  expect("output and question", line.key, recorded.key);
  expect(line.key + ": row", line.row, recorded.row);
  for (std::size_t i = 0; i < line.numbers.size() && i < recorded.numbers.size(); ++i) {
    const std::int64_t distance = positionOf(line.numbers[i]) - positionOf(recorded.numbers[i]);
    if (std::abs(distance) <= (line.row >= 0 ? 1 : 0)) continue;
    const int row = line.row >= 0 ? line.row : static_cast<int>(i) * kGroupRows;
    failExpectation(line.key + ", from row " + text(row), line.numbers[i], recorded.numbers[i]);
  }
  expect(line.key + ": how many numbers", static_cast<std::int32_t>(line.numbers.size()),
         static_cast<std::int32_t>(recorded.numbers.size()));
}

CHECK(samplerinfo, results,
      "every output answers 2000 rows of random inputs as recorded, to the bit; powers 48 rows, to "
      "the last place") {
  expectRecorded(resultLines());
}

}  // namespace

void expectRecorded(const std::vector<std::string>& lines) {
  for (std::size_t i = 0; i < lines.size() || i < std::size(kRecord); ++i) {
    compare(Line(i < lines.size() ? lines[i] : "no more"),
            Line(i < std::size(kRecord) ? kRecord[i] : "no more"));
  }
}

std::vector<std::string> resultLines() {
  std::vector<std::string> all;
  for (void* desc : descriptors()) {
    for (std::string& line : Sweep(desc).lines()) all.push_back(std::move(line));
  }
  return all;
}

}  // namespace validate
