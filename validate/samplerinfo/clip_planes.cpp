// SPDX-License-Identifier: MIT
#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "validate/checks/at_once.h"
#include "validate/checks/throwing.h"
#include "validate/subject/network.h"

namespace validate {

namespace {

/// A sampler in its first frame. The camera is at the origin and looks down the negative z axis.
struct Sampler : Instance {
  Sampler() : Instance(descriptor("TexSampler")) { beginFrame(); }
  float nearPlane(const Host& host) const { return plane("cameraNearClipPlane", host); }
  float farPlane(const Host& host) const { return plane("cameraFarClipPlane", host); }

 private:
  float plane(const char* output, const Host& host) const {
    return TextureFloatInterface::getFloat(texture(output), &host.sc);
  }
};

/// A box in front of the camera.
struct BoxedHost : Host {
  BoxedHost() {
    frameData.worldToCamera.c2.z = 1;
    setBox(5, 20);
  }
  void setBox(float nearest, float farthest) {
    scene.lo.z = -farthest;
    scene.hi.z = -nearest;
  }
};

void expectPlanes(const std::string& when, const Sampler& sampler, const Host& host,
                  float nearPlane, float farPlane) {
  expect("cameraFarClipPlane " + when, sampler.farPlane(host), farPlane);
  expect("cameraNearClipPlane " + when, sampler.nearPlane(host), nearPlane);
}
void expectLines(const std::string& when, const Host& host, std::int32_t lines) {
  expect("lines in the log " + when, host.log.lines, lines);
}

CHECK(samplerinfo, clip_planes, frames,
      "the clipping planes are computed and logged once a frame and instance, if asked for") {
  BoxedHost host;
  const Sampler sampler;
  expectPlanes("in the first frame", sampler, host, 5, 20);
  expect("line in the log", std::string(host.log.text), "Auto clipping planes : 5.00 20.00\n");
  host.setBox(2, 3);
  QuorPluginInterface::renderBegin(sampler.part(), nullptr);  // binds, but begins no frame
  expectPlanes("later in it", sampler, host, 5, 20);
  expectLines("after the first frame", host, 1);
  sampler.beginFrame();
  expectLines("as the second frame begins", host, 1);
  expectPlanes("in the second frame", sampler, host, 2, 3);
  expectLines("after the second frame", host, 2);
  const Sampler other;
  expectPlanes("of another instance", other, host, 2, 3);
  expectLines("after another instance", host, 3);
}

CHECK(samplerinfo, clip_planes, log,
      "the clipping planes can be evaluated from inside the host's log") {
  BoxedHost host;
  const Sampler sampler;
  host.log.whilePrinting = [&] { expectPlanes("inside the log", sampler, host, 5, 20); };
  expectPlanes("", sampler, host, 5, 20);
  expectLines("", host, 1);
}

CHECK(samplerinfo, clip_planes, instances,
      "the clipping planes of one instance are not held up by those of another") {
  BoxedHost host, otherHost;
  const Sampler sampler, other;
  std::future<float> plane;
  host.scene.whileAsked = [&] {
    plane = std::async(std::launch::async, [&] { return other.nearPlane(otherHost); });
    expect("the other plane while the first is computed",
           plane.wait_for(std::chrono::seconds(20)) == std::future_status::ready, true);
  };
  expectPlanes("", sampler, host, 5, 20);
}

// Three of four threads come early: nobody gets a box before all of these are about to evaluate.
// The others come when the planes are there, with nothing but the planes' own flag to order them.
CHECK(samplerinfo, clip_planes, race,
      "16 threads that race for a frame's first sample get the same planes, logged once") {
  constexpr int kEarly = kThreads / 4 * 3, kFrames = 200;
  BoxedHost host;
  const Sampler sampler;
  std::atomic<int> arrived, evaluated;
  host.scene.whileAsked = [&] {
    while (arrived < kEarly) std::this_thread::yield();
  };
  int frame = 0;
  while (frame < kFrames && !isTimeUp()) {  // a busy machine gets fewer
    const auto nearest = static_cast<float>(++frame);
    const std::string when = "in frame " + text(frame);
    host.setBox(nearest, 5000);
    sampler.beginFrame();
    arrived = evaluated = 0;
    const auto evaluate = [&](std::size_t thread) {
      if (thread < kEarly) ++arrived;
      while (thread >= kEarly && evaluated.load(std::memory_order_relaxed) == 0) {
        std::this_thread::yield();
      }
      if (thread % 2 == 0) {
        expect("cameraNearClipPlane " + when, sampler.nearPlane(host), nearest);
      } else {
        expect("cameraFarClipPlane " + when, sampler.farPlane(host), 5000);
      }
      evaluated.store(1, std::memory_order_relaxed);
    };
    runAtOnce(evaluate, [] {});
    expectLines(when, host, frame);
  }
  note(text(frame) + " frames");
}

CHECK(samplerinfo, clip_planes, throwing_host,
      "a host that throws from its box or its log gets its exception back, and planes next time") {
  BoxedHost host;
  const Sampler sampler;
  const auto expectThrown = [&](const std::string& what) {
    expect(what + " that throws: the exception comes back",
           throws([&] { sampler.nearPlane(host); }), true);
  };
  host.scene.whileAsked = throwHostFailure;
  expectThrown("a box");
  const auto other = std::async(std::launch::async, [&] { expectThrown("a box"); });
  expect("another thread is held up by no lock",
         other.wait_for(std::chrono::seconds(10)) == std::future_status::ready, true);
  host.scene.whileAsked = nullptr;
  host.log.whilePrinting = throwHostFailure;
  expectThrown("a log");
  expectPlanes("in this frame", sampler, host, 5, 20);
  host.log.whilePrinting = nullptr;
  host.setBox(3, 20);
  sampler.beginFrame();
  expectPlanes("in the next frame", sampler, host, 3, 20);
  expectLines("", host, 1);
}

}  // namespace

}  // namespace validate
