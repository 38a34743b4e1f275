// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "standin/introspection.h"
#include "standin/shader_source.h"
#include "tests/support/subject.h"

// What a person can work out on paper, and what holds for every output alike.

namespace {

using namespace test;

/// What the host does by itself: the plugin's fields get their values, its outputs do not.
void writeFieldsOnly(Instance& plugin) { plugin.plugin().QuorPluginInterface::frameBegin(nullptr); }

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
  if (vector != vectors.end())
    *vector->second = twins::narrow({numbers[0], numbers[1], numbers[2]});
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
    } else if (name == "slope") {
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

// ------------------------------------------------------------------------------------------------

/// Connects all inputs, with one kind of numbers, so that none leaves an answer unchanged.
void fill(Subject& subject) {
  float next = 1;
  for (const auto& input : subject.inputs) {
    next += 0.5F;
    input->value = input->hi = {next, next + 1, next + 2, next + 3};
    input->lo = {-next, 1, 2, 3};
    input->gradient = {next, 2, 3};
  }
  subject.connect(~0U);
  subject.connectTwin(~0U);
  subject.plugin.frameBegin();
}

TEST(EveryOutput, SeesItsConnectionsFromTheNextFrameOn) {
  for (const twins::Pair& pair : twins::pairs()) {
    Subject subject(pair);
    fill(subject);
    for (unsigned i = 0; i < pair.inputs.size(); ++i) {
      for (const unsigned which : {~(1U << i), ~0U}) {
        subject.connect(which);
        writeFieldsOnly(subject.plugin);
        EXPECT_TRUE(subject.agree()) << pair.inputs[i] << " came or went too early";
        subject.connectTwin(which);
        subject.plugin.frameBegin();
        EXPECT_TRUE(subject.agree()) << pair.inputs[i] << " came or went too late";
      }
    }
  }
}

TEST(EveryOutput, FollowsItsModeAtOnceAndIsInvertedFromTheNextFrameOn) {
  for (const twins::Pair& pair : twins::pairs()) {
    if (pair.setting.empty()) continue;
    Subject subject(pair);
    fill(subject);
    for (const std::int32_t other : {0, 1, 3}) {
      subject.set(pair.setting, other);
      subject.plugin.frameBegin();
      subject.set(pair.setting, pair.setTo);
      writeFieldsOnly(subject.plugin);
      const bool atOnce = pair.setting == "mode" || (other != 0) == (pair.setTo != 0);
      EXPECT_EQ(static_cast<bool>(subject.agree()), atOnce) << pair.name() << " after " << other;
      subject.plugin.frameBegin();
      EXPECT_TRUE(subject.agree());
    }
  }
}

TEST(EveryOutput, HasATwinAndItsPlace) {
  for (QuorPluginDesc* desc : standin::descriptorsOf(library())) {
    Instance plugin(desc->getPluginName());
    std::set<std::string> outputs;
    const PluginInterface* last = nullptr;
    for (const twins::Pair& pair : twins::pairs()) {
      if (pair.plugin != desc->getPluginName() || pair.output.empty()) continue;
      PluginInterface& output = *plugin.texture(pair.output);
      EXPECT_TRUE(outputs.contains(pair.output) || std::less<>()(last, &output)) << pair.name();
      outputs.insert(pair.output);
      last = &output;
    }
    desc->paramListDesc->registerParameters(nullptr, desc);
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      EXPECT_EQ(outputs.contains(info.name), info.isOutput()) << info.name << " has no twin";
    }
  }
}

// ------------------------------------------------------------------------------------------------

// The field is written as a frame begins, and then copied into the intensity.
TEST(ShaderSource, IsThatOfTheFieldOrTheCopy) {
  Log log;
  Input color_a("color_a", log);
  Instance op("TexAColorOp");
  const auto textureFor = [](PluginBase& object, const char* valueKind) {
    ShaderSource source;
    OCLData oclData;
    auto& asker = static_cast<RTTexInterface&>(*object.getInterface(EXT_RTTEX));
    EXPECT_EQ(asker.getShaderSource(valueKind, "", "MaterialDescriptor", source, oclData), 1);
    return source.requests.at(0).texture;
  };
  PluginBase& intensity = *op.texture("intensity")->getPlugin();
  EXPECT_TRUE(op.connect("color_a", color_a.texture()));
  writeFieldsOnly(op);
  EXPECT_EQ(textureFor(op.object(), "color"), color_a.texture()) << "at once";
  EXPECT_EQ(textureFor(intensity, "float"), nullptr) << "too early";
  op.frameBegin();
  EXPECT_EQ(textureFor(intensity, "float"), color_a.texture());
}

}  // namespace
