#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "tests/support/library.h"
#include "tests/support/recording_textures.h"

namespace test {

/// A `TexAColorOp` between five recording inputs, all of which are connected at first.
class ColorOpTest : public ::testing::Test {
 protected:
  ColorOpTest() { connect({"color_a", "color_b", "mult_a", "mult_b", "result_alpha"}); }

  /// Connects the inputs of these names and no others. The next `frameBegin` sees it.
  void connectLater(const Calls& names) {
    connected = names;
    for (RecordingColor* input : {&color_a, &color_b}) {
      ASSERT_TRUE(op.connect(input->name.c_str(), isConnected(input->name) ? input : nullptr));
    }
    for (RecordingFloat* input : {&mult_a, &mult_b, &result_alpha}) {
      ASSERT_TRUE(op.connect(input->name.c_str(), isConnected(input->name) ? input : nullptr));
    }
  }

  void connect(const Calls& names) {
    connectLater(names);
    op.frameBegin();
  }

  bool isConnected(const std::string& name) const {
    return std::ranges::count(connected, name) != 0;
  }

  /// What the host does by itself: the plugin's fields get their values, its outputs do not.
  void writeFieldsOnly() { op.plugin().QuorPluginInterface::frameBegin(nullptr); }

  void setMode(std::int32_t mode) {
    ASSERT_TRUE(op.set("mode", mode));
    writeFieldsOnly();
  }

  QUtils::TextureInterface& color(const char* name) {
    return op.output<QUtils::TextureInterface>(name);
  }
  QUtils::TextureFloatInterface& number(const char* name) {
    return op.output<QUtils::TextureFloatInterface>(name);
  }
  QUtils::TextureInterface& mainTexture() {
    return *static_cast<QUtils::TextureInterface*>(op.object().getInterface(QUtils::EXT_TEXTURE));
  }

  /// The questions since the last time.
  Calls asked() { return std::exchange(calls, {}); }

  Calls calls;
  Calls connected;
  QUtils::ShadingContext sc{};
  RecordingColor color_a{calls, "color_a"};
  RecordingColor color_b{calls, "color_b"};
  RecordingFloat mult_a{calls, "mult_a"};
  RecordingFloat mult_b{calls, "mult_b"};
  RecordingFloat result_alpha{calls, "result_alpha"};
  Instance op{"TexAColorOp"};
};

}  // namespace test
