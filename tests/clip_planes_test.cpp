#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include "tests/support/library.h"
#include "tests/support/shading_host.h"

namespace {

using namespace test;

constexpr const char* kNear = "cameraNearClipPlane";
constexpr const char* kFar = "cameraFarClipPlane";

/// A sampler in its first frame.
class Sampler : public Instance {
 public:
  Sampler() : Instance("TexSampler") {
    plugin().renderBegin(nullptr);
    frameBegin();
  }
  float plane(const char* name, const ShadingHost& host) {
    return output<TextureFloatInterface>(name).getFloat(host.sc);
  }
};

/// A camera at the origin that looks down the negative z axis, and a box in front of it.
class ClipPlanes : public ::testing::Test {
 protected:
  ClipPlanes() { setBox({-1, -1, -20}, {1, 1, -5}); }

  void setBox(const Vector& lo, const Vector& hi) {
    host.scene.lo = lo;
    host.scene.hi = hi;
  }
  void expectPlanes(float nearPlane, float farPlane) {
    EXPECT_EQ(sampler.plane(kFar, host), farPlane);
    EXPECT_EQ(sampler.plane(kNear, host), nearPlane);
  }

  ShadingHost host;
  Sampler sampler;
};

TEST_F(ClipPlanes, EncloseTheBoxAndAreAtLeastATenthAway) {
  struct Row {
    Vector lo, hi;
    float nearPlane, farPlane;
  };
  const Row rows[] = {
      {{-1, -1, -20}, {1, 1, -5}, 5, 20},
      {{-1, -1, 5}, {1, 1, 20}, 0.1F, 0.1F},  // behind the camera
      {{-1, -1, -8}, {1, 1, 3}, 0.1F, 8},     // around the camera
      {{1, 1, -5}, {-1, -1, -20}, 5, 20},     // inverted
      {{0, 0, 0}, {0, 0, 0}, 0.1F, 0.1F},
      {{0, 0, kNaN}, {0, 0, -7}, 0.1F, 7},
      {{0, 0, -7}, {0, 0, kNaN}, 0.1F, 7},
      {{0, 0, -kInf}, {0, 0, -7}, 7, kInf},
      {{0, 0, -kInf}, {0, 0, -kInf}, 1e30F, kInf},
      {{0, 0, kInf}, {0, 0, kInf}, 0.1F, 0.1F},
      {{-kInf, 0, -20}, {1, 0, -5}, 0.1F, 20},  // 0 times infinity
      {{0, 0, -3e38F}, {0, 0, -2e30F}, 1e30F, 3e38F},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(&row - rows);
    setBox(row.lo, row.hi);
    sampler.frameBegin();
    expectPlanes(row.nearPlane, row.farPlane);
  }
}

TEST_F(ClipPlanes, AreComputedAndLoggedOnceAFrame) {
  EXPECT_TRUE(host.printer.lines.empty());
  expectPlanes(5, 20);
  setBox({0, 0, -3.14159F}, {0, 0, -2});
  expectPlanes(5, 20);
  const std::vector<std::string> first = {"Auto clipping planes : 5.00 20.00\n"};
  EXPECT_EQ(host.printer.lines, first);

  sampler.plugin().renderBegin(nullptr);  // binds, but begins no frame
  expectPlanes(5, 20);
  sampler.frameBegin();
  host.frame.worldToCamera.offset.z = -1;
  EXPECT_EQ(host.printer.lines, first) << "a frame without evaluations logs nothing";
  expectPlanes(3, 4.14159F);
  EXPECT_EQ(host.printer.lines.size(), 2U);
  EXPECT_EQ(host.printer.lines.back(), "Auto clipping planes : 3.00 4.14\n");

  Sampler other;
  EXPECT_EQ(other.plane(kNear, host), 3);
  EXPECT_EQ(host.printer.lines.size(), 3U) << "each instance has planes of its own";

  sampler.frameBegin();
  host.services.log = nullptr;
  setBox({0, 0, -2}, {0, 0, -1});
  expectPlanes(2, 3);
}

TEST_F(ClipPlanes, CanBeEvaluatedFromInsideTheLog) {
  host.printer.whilePrinting = [&] { expectPlanes(5, 20); };
  expectPlanes(5, 20);
  EXPECT_EQ(host.printer.lines.size(), 1U);
}

TEST_F(ClipPlanes, AHostThatThrowsLeavesTheLockFree) {
  host.scene.whileAsked = [] { throw "no scene"; };
  EXPECT_THROW(sampler.plane(kNear, host), const char*);
  host.scene.whileAsked = nullptr;
  host.printer.whilePrinting = [] { throw "no disk"; };
  EXPECT_THROW(sampler.plane(kFar, host), const char*) << "computed after the box failed";
  expectPlanes(5, 20);

  host.printer.whilePrinting = nullptr;
  setBox({0, 0, -4}, {0, 0, -3});
  sampler.frameBegin();
  expectPlanes(3, 4);
  EXPECT_EQ(host.printer.lines.size(), 2U);
}

TEST_F(ClipPlanes, OfOneInstanceAreNotHeldUpByThoseOfAnother) {
  Sampler other;
  ShadingHost otherHost;
  std::future<float> plane;
  host.scene.whileAsked = [&] {
    plane = std::async(std::launch::async, [&] { return other.plane(kNear, otherHost); });
    EXPECT_EQ(plane.wait_for(std::chrono::seconds(20)), std::future_status::ready);
  };
  expectPlanes(5, 20);
}

/// Holds threads until all have arrived; the last one does `work` before any goes on. std::barrier
/// of libstdc++ 12 loses wake-ups on systems without futexes.
class Barrier {
 public:
  Barrier(int threads, std::function<void()> work) : threads_(threads), work_(std::move(work)) {}

  void arriveAndWait() {
    std::unique_lock lock(mutex_);
    if (++arrived_ == threads_) {
      work_();
      arrived_ = 0;
      ++round_;
      everybody_.notify_all();
      return;
    }
    everybody_.wait(lock, [this, round = round_] { return round_ != round; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable everybody_;
  int threads_;
  int arrived_ = 0;
  int round_ = 0;
  std::function<void()> work_;
};

TEST_F(ClipPlanes, AreTheSameForAllThreadsThatRaceForTheFirstSample) {
  constexpr int kThreads = 16;
  const char* const wanted = std::getenv("SAMPLERINFO_RACE_FRAMES");
  const int frames = wanted != nullptr ? std::atoi(wanted) : 2000;
  Vector planes[kThreads] = {};
  int frame = 0;
  // Three of four threads come early: nobody gets a box before all of these are about to evaluate.
  // The others come when the planes are there, with nothing but the planes' own flag to order them.
  constexpr int kEarly = kThreads / 4 * 3;
  std::atomic<int> arrived{0};
  std::atomic<int> evaluated{0};
  host.scene.whileAsked = [&] {
    while (arrived < frame * kEarly) std::this_thread::yield();
  };
  // Runs while all threads wait: checks the frame that is over and begins the next one.
  const auto nextFrame = [&] {
    for (const Vector& got : planes) {
      EXPECT_TRUE(frame == 0 || (got.x == static_cast<float>(frame) && got.y == 5000));
    }
    EXPECT_EQ(host.printer.lines.size(), static_cast<std::size_t>(frame));
    ++frame;
    setBox({0, 0, -5000}, {0, 0, -static_cast<float>(frame)});
    sampler.frameBegin();
  };
  Barrier barrier(kThreads, nextFrame);
  const auto& nearPlane = sampler.output<TextureFloatInterface>(kNear);
  const auto& farPlane = sampler.output<TextureFloatInterface>(kFar);

  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < frames; ++round) {
        barrier.arriveAndWait();
        if (i < kEarly) ++arrived;
        while (i >= kEarly && evaluated.load(std::memory_order_relaxed) != frame) {
          std::this_thread::yield();
        }
        Vector& mine = planes[i];
        if (i % 2 == 0) mine.x = nearPlane.getFloat(host.sc);
        mine.y = farPlane.getFloat(host.sc);
        if (i % 2 != 0) mine.x = nearPlane.getFloat(host.sc);
        evaluated.store(frame, std::memory_order_relaxed);
      }
      barrier.arriveAndWait();
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(frame, frames + 1);
}

}  // namespace
