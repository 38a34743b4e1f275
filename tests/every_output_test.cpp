// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "standin/introspection.h"
#include "standin/shader_source.h"
#include "tests/support/subject.h"

// What an output sees of its plugin and from which frame on, and that each has a twin.

namespace {

using namespace test;

/// What the host does by itself: the plugin's fields get their values, its outputs do not.
void writeFieldsOnly(Instance& plugin) { plugin.plugin().QuorPluginInterface::frameBegin(nullptr); }

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
  EXPECT_EQ(textureFor(op.object(), "color"), nullptr) << "of none";
  EXPECT_TRUE(op.connect("color_a", color_a.texture()));
  writeFieldsOnly(op);
  EXPECT_EQ(textureFor(op.object(), "color"), color_a.texture()) << "at once";
  EXPECT_EQ(textureFor(intensity, "float"), nullptr) << "too early";
  op.frameBegin();
  EXPECT_EQ(textureFor(intensity, "float"), color_a.texture());
}

}  // namespace
