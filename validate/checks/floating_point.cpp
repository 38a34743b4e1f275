// SPDX-License-Identifier: MIT
#include "validate/subject/network.h"

namespace validate {

namespace {

/// What a thread has chosen for its arithmetic: rounding, masks of exceptions, flushing of
/// denormals, precision of the x87. Status flags are none of it.
struct Control {
  std::uint32_t sse = 0;
  std::uint16_t x87 = 0;
  bool operator==(const Control&) const = default;
};

#if defined(__i386__) || defined(__x86_64__)
constexpr bool kKnown = true;
constexpr std::uint32_t kStatusFlags = 0x3F;

Control control() {
  Control now;
  asm volatile("stmxcsr %0\n fnstcw %1" : "=m"(now.sse), "=m"(now.x87) : : "memory");
  now.sse &= ~kStatusFlags;
  return now;
}
void setControl(const Control& control) {
  asm volatile("ldmxcsr %0\n fldcw %1" : : "m"(control.sse), "m"(control.x87) : "memory");
}
#else
constexpr bool kKnown = false;
Control control() { return {}; }
void setControl(const Control& /*control*/) {}
#endif

/// Each rounding with denormals kept, flushed as results, taken for 0 as operands, or both. The x87
/// has each of its precisions in turn. Exceptions are masked, except the one of denormal operands
/// where there can be none, so that masking all of them is seen.
constexpr int kModes = 16;
class Mode : private Unique {
 public:
  explicit Mode(std::size_t n) {
    if (!kKnown) skip("the control bits of this processor are not known here");
    static constexpr std::uint16_t kPrecisions[] = {0x000, 0x200, 0x300};
    const auto rounding = static_cast<std::uint32_t>(n / 4);
    control_.sse = (n & 2 ? 0x1EC0U : 0x1F80U) | rounding << 13U | (n & 1 ? 0x8000U : 0U);
    control_.x87 = static_cast<std::uint16_t>(0x7FU | kPrecisions[n % 3] | rounding << 10U);
    setControl(control_);
  }
  ~Mode() { setControl(before_); }

  void expectKept(const std::string& asked) const {
    const Control now = control();
    if (now == control_) return;
    setControl(before_);
    failExpectation(asked + ": control of the arithmetic", inWords(now), inWords(control_));
  }

 private:
  static std::string inWords(const Control& control) {
    return formatted("rounding mode %u, results flushed %u, operands %u, masks %02x, x87 %04x",
                     control.sse >> 13U & 3, control.sse >> 15U, control.sse >> 6U & 1,
                     control.sse >> 7U & 0x3F, unsigned{control.x87});
  }

  const Control before_ = control();
  Control control_;
};

CHECK(floating_point, again,
      "in each rounding mode, denormals flushed or not, a question is answered the same again") {
  forSeeds(kSanitized ? 10 : 40, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    std::array<std::vector<Answer>, kModes> answers;
    std::size_t evaluations = 0;
    for (std::size_t n = 0; n < kModes; ++n) {
      const Mode mode(n);
      answers[n] = network.answers();
      evaluations += 2 * answers[n].size();
    }
    for (std::size_t n = kModes; n-- != 0;) {
      const Mode mode(n);
      network.expectAnswers("asked again in the same mode", answers[n]);
    }
    return evaluations;
  });
}

CHECK(floating_point, control,
      "rounding, exception masks, flushing and x87 precision stay, also where inputs are asked") {
  {
    const Mode mode(0);
    library();
    mode.expectKept("the module loaded");
  }
  forSeeds(10 * kModes, [&descs = descriptors()](std::uint32_t seed) {
    const Mode mode(seed % kModes);
    std::size_t n = 0;
    {
      Network network({.descs = descs, .seed = seed});
      mode.expectKept("plugins made, connected, in a frame");
      for (Leaf& leaf : network.leaves()) {
        leaf.whenAsked = [&](Question, const ShadingContext*) {
          mode.expectKept(network.question(n) + ", as it asks an input");
        };
      }
      for (; n < network.questions() && !isTimeUp(); ++n) {
        network.answer(n);
        mode.expectKept(network.question(n));
      }
    }
    mode.expectKept("plugins deleted");
    return n;
  });
}

}  // namespace

}  // namespace validate
