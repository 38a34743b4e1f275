#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <future>
#include <thread>

#include "tests/support/library.h"
#include "tests/support/shading_host.h"

namespace {

using namespace test;

/// A sampler in its first frame.
struct Sampler : Instance {
  Sampler() : Instance("TexSampler") {
    plugin().renderBegin(nullptr);
    frameBegin();
  }
  const TextureFloatInterface& nearPlane = plane("cameraNearClipPlane");
  const TextureFloatInterface& farPlane = plane("cameraFarClipPlane");

 private:
  TextureFloatInterface& plane(const char* output) const {
    return static_cast<TextureFloatInterface&>(*texture(output));
  }
};

/// A camera at the origin that looks down the negative z axis, and a box in front of it.
class ClipPlanes : public ::testing::Test {
 protected:
  ClipPlanes() { setBox(5, 20); }

  void setBox(float nearest, float farthest) {
    host.boxLo = {0, 0, -farthest};
    host.boxHi = {0, 0, -nearest};
  }
  void expectPlanes(float nearPlane, float farPlane) {
    EXPECT_EQ(sampler.farPlane.getFloat(host.sc), farPlane);
    EXPECT_EQ(sampler.nearPlane.getFloat(host.sc), nearPlane);
  }

  ShadingHost host;
  Sampler sampler;
};

TEST_F(ClipPlanes, AreComputedAndLoggedOnceAFrame) {
  expectPlanes(5, 20);
  setBox(2, 3);
  sampler.plugin().renderBegin(nullptr);  // binds, but begins no frame
  expectPlanes(5, 20);
  EXPECT_EQ(host.printed, 1);
  sampler.frameBegin();
  EXPECT_EQ(host.printed, 1) << "a frame without evaluations logs nothing";
  expectPlanes(2, 3);
  EXPECT_EQ(host.printed, 2);
  EXPECT_EQ(Sampler().nearPlane.getFloat(host.sc), 2);
  EXPECT_EQ(host.printed, 3) << "each instance has planes of its own";
}

TEST_F(ClipPlanes, CanBeEvaluatedFromInsideTheLog) {
  host.whilePrinting = [&] { expectPlanes(5, 20); };
  expectPlanes(5, 20);
  EXPECT_EQ(host.printed, 1);
}

TEST_F(ClipPlanes, AHostThatThrowsLeavesTheLockFree) {
  host.whileBoxIsAsked = [] { throw "no scene"; };
  EXPECT_THROW(sampler.nearPlane.getFloat(host.sc), const char*);
  host.whileBoxIsAsked = nullptr;
  host.whilePrinting = [] { throw "no disk"; };
  EXPECT_THROW(sampler.farPlane.getFloat(host.sc), const char*) << "computed after the box failed";
  expectPlanes(5, 20);
  host.whilePrinting = nullptr;
  setBox(3, 4);
  sampler.frameBegin();
  expectPlanes(3, 4);
  EXPECT_EQ(host.printed, 2);
}

TEST_F(ClipPlanes, OfOneInstanceAreNotHeldUpByThoseOfAnother) {
  Sampler other;
  ShadingHost otherHost;
  std::future<float> plane;
  host.whileBoxIsAsked = [&] {
    plane = std::async(std::launch::async, [&] { return other.nearPlane.getFloat(otherHost.sc); });
    EXPECT_EQ(plane.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  };
  expectPlanes(5, 20);
}

TEST_F(ClipPlanes, AreTheSameForAllThreadsThatRaceForTheFirstSample) {
  // Three of four threads come early: nobody gets a box before all of these are about to evaluate.
  // The others come when the planes are there, with nothing but the planes' own flag to order them.
  constexpr unsigned kThreads = 8;
  constexpr unsigned kEarly = kThreads / 4 * 3;
  const char* const wanted = std::getenv("SAMPLERINFO_RACE_FRAMES");
  const int frames = wanted != nullptr ? std::atoi(wanted) : 2000;
  std::atomic<unsigned> arrived, evaluated;
  host.whileBoxIsAsked = [&] {
    while (arrived < kEarly) std::this_thread::yield();
  };
  for (int frame = 1; frame <= frames; ++frame) {
    const auto nearest = static_cast<float>(frame);
    setBox(nearest, 5000);
    sampler.frameBegin();
    arrived = evaluated = 0;
    std::jthread threads[kThreads];
    for (unsigned i = 0; i < kThreads; ++i) {
      threads[i] = std::jthread([&, i] {
        if (i < kEarly) ++arrived;
        while (i >= kEarly && evaluated.load(std::memory_order_relaxed) == 0) {
          std::this_thread::yield();
        }
        const auto& plane = i % 2 == 0 ? sampler.nearPlane : sampler.farPlane;
        EXPECT_EQ(plane.getFloat(host.sc), i % 2 == 0 ? nearest : 5000);
        evaluated.store(1, std::memory_order_relaxed);
      });
    }
    for (std::jthread& thread : threads) thread.join();
    EXPECT_EQ(host.printed, frame);
  }
}

}  // namespace
