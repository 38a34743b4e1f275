// SPDX-License-Identifier: MIT
#include <array>
#include <cinttypes>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string_view>

#include "validate/samplerinfo/records.h"
#include "validate/subject/network.h"

namespace validate {

namespace {

constexpr int kGroups = 20, kGroupRows = 100, kPowerRows = 48;

std::string inHex(std::uint32_t number) { return formatted(" %08" PRIx32, number); }

/// A plugin with inputs of its own, over random scenes: the row is the seed.
void addLines(void* desc, std::vector<std::string>& lines) {
  std::map<std::pair<std::size_t, std::string>, std::array<std::uint64_t, kGroups>> digests;
  for (int row = 0; row < kGroups * kGroupRows; ++row) {
    const Network network({{desc}, static_cast<std::uint32_t>(row), 1});
    const QuorPluginParameter* const mode = network.plugins()[0].find("mode");
    for (std::size_t n = 0; n < network.questions(); n += Samples::kCount) {
      const Network::Asked asked = network.asked(n);
      const Answer answer = network.answer(n);
      const bool isPower = asked.output.ends_with(".power");
      const bool isInPowerMode =
          asked.output == nameOf(desc) && mode != nullptr && mode->value.integer == 5;
      std::string line =
          asked.output + (isInPowerMode ? ".mode=5 " : " ") + kQuestionNames[asked.question];
      if (asked.question == Question::Gradient || (!isPower && !isInPowerMode)) {
        std::uint64_t& digest = digests[{n, line}][static_cast<std::size_t>(row / kGroupRows)];
        for (const std::uint32_t bits : answer) digest = ((digest + 1) ^ bits) * 0x100000001B3;
      } else if (isInPowerMode || row < kPowerRows) {
        line += ' ' + text(row);
        const int count = kWidths[asked.kind] * (asked.question == Question::Bounds ? 2 : 1);
        for (int i = 0; i < count; ++i) line += inHex(answer[static_cast<std::size_t>(i)]);
        lines.push_back(line);
      }
    }
  }
  for (const auto& [question, groups] : digests) {
    lines.push_back(question.second);
    for (const std::uint64_t digest : groups) {
      lines.back() += inHex(static_cast<std::uint32_t>(digest ^ digest >> 32));
    }
  }
}

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
      "2000 rows of random inputs are answered as recorded, to the bit; powers to the last place") {
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
  std::vector<std::string> lines;
  for (void* desc : descriptors()) addLines(desc, lines);
  return lines;
}

}  // namespace validate
