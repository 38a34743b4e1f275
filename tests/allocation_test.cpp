#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "frame/allocator.h"
#include "host/shading_context.h"
#include "standin/host_objects.h"
#include "standin/introspection.h"
#include "standin/textures.h"
#include "tests/contract/refusal.h"
#include "tests/support/fake_platform.h"
#include "tests/support/library.h"

extern "C" QUtils::PluginLibDesc* getLibDesc();

// clang declares these only on demand.
void operator delete(void* block, std::size_t size) noexcept;
void operator delete[](void* block, std::size_t size) noexcept;

namespace test {
QUtils::PluginLibDesc& library() { return *getLibDesc(); }
}  // namespace test

namespace {

using namespace test;
using namespace QUtils;

constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

/// The text that a refused request of `size` bytes throws.
std::string refusal(std::size_t size) {
  fakePlatform().grants = 0;
  void* block = nullptr;
  char* message = nullptr;
  try {
    block = samplerinfo::allocate(size);
  } catch (char* text) {
    message = text;
  }
  fakePlatform().grants = kUnlimited;
  EXPECT_EQ(block, nullptr);
  return message != nullptr ? message : "(nothing thrown)";
}

class AllocationTest : public ::testing::Test {
 protected:
  void SetUp() override { fakePlatform() = {}; }
};

TEST_F(AllocationTest, ARefusedRequestDiagnosesTheHeapAndThrowsItsMessage) {
  fakePlatform().total = 4000000000U;
  fakePlatform().walk = {123456, 789, -5};
  const Refusal expected = expectedRefusal(3000000000U, 4000000000U, 123456, 789, -5);
  EXPECT_EQ(refusal(3000000000U), expected.message);
  EXPECT_EQ(fakePlatform().debugText, expected.debug);
}

TEST_F(AllocationTest, ADamagedHeapReplacesTheMessage) {
  fakePlatform().heapIntact = false;
  EXPECT_EQ(refusal(16), " Heap is reported damaged.\n");
  EXPECT_NE(fakePlatform().debugText.find("(size is 16)"), std::string::npos);
}

TEST_F(AllocationTest, EveryFormOfNewAndDeleteUsesTheOneAllocator) {
  fakePlatform().grants = 0;
  char* one = nullptr;
  char* array = nullptr;
  try {
    ::operator delete(::operator new(8));
  } catch (char* text) {
    one = text;
  }
  try {
    ::operator delete[](::operator new[](0));
  } catch (char* text) {
    array = text;
  }
  fakePlatform().grants = kUnlimited;
  ASSERT_NE(one, nullptr);
  ASSERT_NE(array, nullptr);
  EXPECT_NE(std::strstr(one, " 8 bytes requested"), nullptr) << "overwritten by the next message";
  EXPECT_NE(std::strstr(array, " 0 bytes requested"), nullptr);

  fakePlatform() = {};
  ::operator delete(::operator new(8));
  ::operator delete[](::operator new[](8));
  ::operator delete (::operator new(8), std::size_t{8});
  ::operator delete[](::operator new[](8), std::size_t{8});
  samplerinfo::release(samplerinfo::allocate(0));
  samplerinfo::release(nullptr);
  EXPECT_EQ(fakePlatform().blocks, 5U);
  EXPECT_EQ(fakePlatform().freed, 5U);
  EXPECT_EQ(fakePlatform().debugText, "");
}

TEST_F(AllocationTest, FormatBoundedKeepsItsReturnRules) {
  struct Row {
    const char* text;
    int size;
    int result;
    const char* left;
  };
  const Row rows[] = {
      {"abc", 0, 0, "........"},       {"abc", -4, 0, "........"}, {"", 8, 0, ""},
      {"1234567", 8, 7, "1234567"},    // just fits
      {"12345678", 8, -1, "1234567"},  // fills the buffer, so its last character is lost
      {"123456789", 8, -1, "1234567"}, {"x", 1, -1, ""},
  };
  for (const Row& row : rows) {
    char buffer[] = "........";
    EXPECT_EQ(samplerinfo::formatBounded(buffer, row.size, "%s", row.text), row.result)
        << row.text << " in " << row.size;
    EXPECT_STREQ(buffer, row.left) << row.text << " in " << row.size;
  }
  // The terminator takes nothing away from a text that ends in one itself.
  char buffer[] = "........";
  EXPECT_EQ(samplerinfo::formatBounded(buffer, 8, "%s%c", "1234567", '\0'), 8);
  EXPECT_STREQ(buffer, "1234567");
}

TEST_F(AllocationTest, DebugPrintCutsAtFiveHundredAndElevenCharacters) {
  samplerinfo::debugPrint("%s", std::string(511, 'x').c_str());
  EXPECT_EQ(fakePlatform().debugText, std::string(511, 'x'));
  fakePlatform().debugText.clear();
  samplerinfo::debugPrint("%s", std::string(600, 'y').c_str());
  EXPECT_EQ(fakePlatform().debugText, std::string(511, 'y'));
}

TEST_F(AllocationTest, APluginThatCannotBeMadeLeavesNothingBehind) {
  QuorPluginDesc& desc = descriptor("TexFloatOp");
  int refusals = 0;
  PluginBase* plugin = nullptr;
  for (std::uint64_t grants = 0; plugin == nullptr; ++grants) {
    fakePlatform() = {};
    fakePlatform().grants = grants;
    const char* message = nullptr;
    try {
      plugin = desc.newPlugin(nullptr);
    } catch (char* text) {
      message = text;
    }
    fakePlatform().grants = kUnlimited;
    if (plugin != nullptr) break;
    ++refusals;
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(std::strncmp(message, "Memory allocation failure; ", 27), 0);
    EXPECT_EQ(fakePlatform().freed, grants);
  }
  desc.deletePlugin(plugin);
  // The later ones come from inside the constructor, if the host's library shares the allocator.
  EXPECT_GE(refusals, 1);
}

TEST_F(AllocationTest, MessagesStayReadableThroughManyMoreRefusals) {
  fakePlatform().grants = 0;
  char* messages[256] = {};
  for (std::size_t size = 1; size <= std::size(messages); ++size) {
    try {
      samplerinfo::release(samplerinfo::allocate(size));
    } catch (char* text) {
      messages[size - 1] = text;
    }
  }
  fakePlatform().grants = kUnlimited;
  for (std::size_t size = 1; size <= std::size(messages); ++size) {
    const std::string expected = "; " + std::to_string(size) + " bytes requested;";
    ASSERT_NE(std::string(messages[size - 1]).find(expected), std::string::npos);
  }
}

/// Asks a texture of any kind everything there is to ask.
void evaluate(PluginInterface& texture, const ShadingContext& sc) {
  switch (texture.getInterfaceId()) {
    case EXT_TEXTURE: {
      auto& color = static_cast<TextureInterface&>(texture);
      AColor lo{};
      AColor hi{};
      color.getColor(sc);
      color.getColorBounds(lo, hi);
      color.getGradient(sc);
      break;
    }
    case EXT_TEXTURE_FLOAT: {
      auto& number = static_cast<TextureFloatInterface&>(texture);
      float lo = 0;
      float hi = 0;
      number.getFloat(sc);
      number.getFloatBounds(lo, hi);
      number.getGradient(sc);
      break;
    }
    case EXT_TEXTURE_VECTOR: {
      auto& vector = static_cast<TextureVectorInterface&>(texture);
      Vector lo{};
      Vector hi{};
      vector.getVector(sc);
      vector.getVectorBounds(lo, hi);
      vector.getGradient(sc);
      break;
    }
    case EXT_TEXTURE_INT:
      static_cast<TextureIntInterface&>(texture).getInt(sc);
      break;
    case EXT_TEXTURE_TRANSFORM:
      static_cast<TextureTransformInterface&>(texture).getTransform(sc);
      break;
    default:
      ADD_FAILURE() << "not a texture";
  }
}

/// A host around a shading context: a still camera, a scene of one box, a log that counts its lines
/// and how many of them were written under a lock.
struct Host {
  struct Log final : RenderLog {
    int lines = 0;
    std::uint64_t underLock = 0;
    void print(const char* /*format*/, ...) override {
      ++lines;
      underLock += fakePlatform().held;
    }
  };
  struct Motion final : CameraMotion {
    DVector pointToRayTime(const DVector& point, double) override { return point; }
    Vector vectorToRayTime(const Vector& vector, double) override { return vector; }
    DVector pointFromRayTime(const DVector& point, double) override { return point; }
    Vector vectorFromRayTime(const Vector& vector, double) override { return vector; }
  };

  standin::BoxScene scene;
  Motion motion;
  Log log;
  RenderServices services{&log, &scene, &motion, 1};
  QuorFrameData frameData;
  RenderContext renderContext{&services, &frameData};
  standin::SurfacePoint surface;
  standin::SceneObject object;
  ShadingContext sc{};

  Host() {
    surface.hasUvw = surface.hasMaterialId = object.hasMapping = true;
    sc.renderContext = &renderContext;
    sc.surface = &surface;
    sc.object = &object;
  }
};

TEST_F(AllocationTest, EvaluationsAllocateNothingAndTakeNoLockButTheOneOfTheClippingPlanes) {
  const Host host;
  standin::ConstantFloat number(0.5F);
  standin::ConstantVector vector({1, 2, 3});
  standin::ConstantColor color({0.1F, 0.2F, 0.3F, 0.4F});
  for (QuorPluginDesc* desc : descriptors()) {
    SCOPED_TRACE(desc->getPluginName());
    desc->paramListDesc->registerParameters(nullptr, desc);
    Instance instance(desc->getPluginName());
    std::vector<PluginInterface*> textures;
    for (const standin::ParameterInfo& info : standin::registeredParameters(desc)) {
      if (info.type == standin::ParamType::Color) instance.connect(info.name, &color);
      if (info.type == standin::ParamType::Float) instance.connect(info.name, &number);
      if (info.type == standin::ParamType::Vector) instance.connect(info.name, &vector);
      if (!info.isOutput()) continue;
      textures.push_back(instance.plugin().getParameter(modifiable(info.name))->value.iface);
    }
    if (PluginInterface* own = instance.object().getInterface(EXT_TEXTURE)) textures.push_back(own);
    instance.plugin().renderBegin(nullptr);
    instance.frameBegin();

    const bool hasClipPlanes = std::strcmp(desc->getPluginName(), "TexSampler") == 0;
    for (const std::uint64_t locks : {hasClipPlanes ? 1U : 0U, 0U}) {
      const std::uint64_t blocksBefore = fakePlatform().blocks;
      const std::uint64_t locksBefore = fakePlatform().locks;
      for (PluginInterface* texture : textures) evaluate(*texture, host.sc);
      EXPECT_EQ(fakePlatform().blocks, blocksBefore);
      EXPECT_EQ(fakePlatform().locks - locksBefore, locks);
      EXPECT_EQ(fakePlatform().held, 0U);
    }
  }
  EXPECT_EQ(host.log.lines, 1);
  EXPECT_EQ(host.log.underLock, 1U);
}

}  // namespace
