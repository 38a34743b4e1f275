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
class Mode {
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
  Mode(const Mode&) = delete;
  void operator=(const Mode&) = delete;

  void expectKept(const std::string& asked) const {
    const Control now = control();
    if (now == control_) return;
    setControl(before_);
    static constexpr struct {
      const char* name;
      std::uint32_t sse, x87;
    } kParts[] = {{", rounding mode", 0x6000, 0xC00},
                  {", flushing of denormals", 0x8040, 0},
                  {", masks of exceptions", 0x1F80, 0x3F},
                  {", x87 precision", 0, 0x300}};
    std::string changed = asked;
    for (const auto& part : kParts) {
      const bool isKept =
          ((now.sse ^ control_.sse) & part.sse) == 0 && ((now.x87 ^ control_.x87) & part.x87) == 0;
      if (!isKept) changed += part.name;
    }
    failExpectation(changed + ": control bits, SSE and x87", inHex(now), inHex(control_));
  }

 private:
  static std::string inHex(const Control& control) {
    return formatted("%04x %04x", control.sse, unsigned{control.x87});
  }

  const Control before_ = control();
  Control control_;
};

CHECK(floating_point, again,
      "in each rounding mode, with denormals flushed or not, a question is answered with the same "
      "bits again") {
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
      "rounding, masks of exceptions, flushing and x87 precision stay as the caller has them, and "
      "are so for the inputs") {
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
