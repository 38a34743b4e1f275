// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

#include "tests/support/subject.h"

// What a person can work out on paper.

namespace {

using namespace test;

/// A word of a row, and the numbers after it.
struct Entry {
  std::string word;
  std::vector<double> numbers;
};

std::vector<Entry> entriesOf(const std::string& row) {
  std::istringstream words(row);
  std::vector<Entry> entries;
  for (std::string word; words >> word;) {
    char* end = nullptr;
    const double number = std::strtod(word.c_str(), &end);
    const bool isNumber = *end == '\0';
    if (!isNumber) entries.push_back({word, {}});
    if (isNumber) entries.back().numbers.push_back(number);
  }
  return entries;
}

void setQuantity(ShadingHost& host, const std::string& name, const std::vector<double>& numbers) {
  const std::map<std::string, Vector*> vectors = {
      {"normal", &host.sc.normal}, {"rayDirection", &host.sc.rayDirection},
      {"uvw", &host.uvw},          {"uvwA", &host.uvwA},
      {"uvwB", &host.uvwB},        {"uvwC", &host.uvwC},
      {"boxLo", &host.boxLo},      {"boxHi", &host.boxHi}};
  const auto vector = vectors.find(name);
  if (vector != vectors.end()) {
    *vector->second = twins::narrow({numbers[0], numbers[1], numbers[2]});
  }
  const auto integer = static_cast<std::int32_t>(std::lround(numbers[0]));
  if (name == "offers") host.object.offers = host.surface.offers = integer != 0;
  if (name == "moving") host.services.cameraMoving = integer;
  if (name == "imageX") host.sc.imageX = numbers[0];
  if (name == "imageY") host.sc.imageY = numbers[0];
  if (name == "imageHeight") host.frame.imageHeight = integer;
}

void expectRow(const std::string& text) {
  std::vector<Entry> row = entriesOf(text);
  const Answer expected = {row.back().numbers};
  Subject subject({row[0].word, row[1].word == "itself" ? "" : row[1].word});
  ShadingHost host;
  for (std::size_t i = 3; i + 1 < row.size(); ++i) {
    const auto& [name, numbers] = row[i];
    row[i].numbers.resize(4);
    const Vector v = twins::narrow({numbers[0], numbers[1], numbers[2]});
    const AColor color = {v.x, v.y, v.z, twins::narrow(numbers[3])};
    if (name == "to") {
      subject.inputs.back()->hi = color;
    } else if (name == "gradient") {
      subject.inputs.back()->gradient = v;
    } else if (name == "mode" || name == "invert") {
      subject.set(name, static_cast<std::int32_t>(numbers[0]));
    } else if (row[0].word == "TexSampler") {
      setQuantity(host, name, numbers);
    } else {
      Input& input = *subject.inputs.emplace_back(std::make_unique<Input>(name, subject.log));
      input.value = input.lo = color;
      EXPECT_TRUE(subject.plugin.connect(name, input.texture())) << text;
    }
  }
  subject.plugin.plugin().renderBegin(nullptr);
  subject.plugin.frameBegin();
  const auto* const question = std::ranges::find(kQuestionNames, row[2].word);
  const auto asked = static_cast<Question>(question - kQuestionNames);
  EXPECT_EQ(ask(subject.output(), asked, host.sc), expected) << text;
}

TEST(WorkedRows, AreAnsweredAsOnPaper) {
  std::ifstream file(WORKED_ROWS);
  ASSERT_TRUE(file.is_open()) << WORKED_ROWS;
  for (std::string text; std::getline(file, text);) {
    if (!text.empty() && !text.starts_with('#')) expectRow(text);
  }
}

}  // namespace
