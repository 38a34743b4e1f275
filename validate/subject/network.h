// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "validate/subject/host.h"
#include "validate/subject/subject.h"

/// Random networks of the module's plugins, over samples of a random scene.
namespace validate {

/// From -8 to 8, with 20 bits behind the point.
inline float ordinaryOf(std::uint32_t bits) {
  return static_cast<float>(static_cast<std::int32_t>(bits >> 8) - 0x800000) / 0x100000;
}

class Random {
 public:
  explicit Random(std::uint32_t seed, bool ordinaryAlone = false)
      : engine_(seed), ordinaryAlone_(ordinaryAlone) {}

  std::uint32_t bits() { return static_cast<std::uint32_t>(engine_()); }
  std::uint32_t below(std::size_t n) { return bits() % static_cast<std::uint32_t>(n); }
  bool oneIn(std::uint32_t n) { return below(n) == 0; }
  float ordinary() { return ordinaryOf(bits()); }
  float number();  ///< ordinary, special, or any bits, unless it is to be ordinary
  Vector vector() { return {number(), number(), number()}; }
  DVector preciseVector() { return {number() / 3.0, number() / 3.0, number() / 3.0}; }

 private:
  std::mt19937 engine_;
  bool ordinaryAlone_;
};

/// A scene in one frame, and samples of it, on memory pages of their own.
struct alignas(4096) Samples {
  static constexpr std::size_t kCount = 16;
  explicit Samples(Random& random);
  void nextFrame(Random& random);  ///< has frame data of its own

  Host host;
  QuorFrameData nextFrameData{};
  std::array<ShadingContext, kCount> contexts;
};

/// A host's thread has one record, which it fills anew for each question.
inline constinit thread_local ShadingContext record{};

/// An input that has numbers for each sample; its bounds are the same at all of them.
struct Leaf : Input {
  Leaf(const ParameterInfo& parameter, Random& random);

  const ParameterInfo& info;
  const TextureKind kind;
  std::array<std::array<float, 15>, Samples::kCount> numbersAt;
};

/// Bits of an answer; all NaNs are one.
using Answer = std::array<std::uint32_t, 12>;

/// Plugins whose inputs are connected to nothing, to leaves of their own, or to plugins made before
/// them.
class Network : private Unique {
 public:
  struct Plan {
    std::vector<void*> descs;
    std::uint32_t seed;
    int plugins = 6;
    bool ordinary = false;  ///< the numbers
    bool begins = true;     ///< the first frame
  };
  explicit Network(const Plan& plan);

  void beginFrame() const;
  void endRender() const;
  /// Of the inputs a third each is left as it is, set anew, and taken away; the next frame has
  /// other frame data: the same ones in networks of the same plan.
  void changeInputs();
  void changeFrame() { samples_.nextFrame(random_); }

  /// The n-th of all questions to all outputs at all samples.
  std::size_t questions() const { return questions_.size() * Samples::kCount; }
  Answer answer(std::size_t n) const;
  Answer answer(std::size_t n, const ShadingContext& context) const;
  std::vector<Answer> answers() const;  ///< to as many questions as there is time for
  struct Asked {
    std::size_t plugin;  ///< from 1 on
    const std::string& output;
    void* texture;
    TextureKind kind;
    Question question;
    const ShadingContext& context;
  };
  Asked asked(std::size_t n) const;
  std::string question(std::size_t n) const;
  void expectSame(const char* when, std::size_t n, const Answer& got, const Answer& expected) const;
  void expectAnswer(const char* when, std::size_t n, const Answer& expected) const {
    expectSame(when, n, answer(n), expected);
  }
  /// To the first questions, of which the answers are known.
  void expectAnswers(const char* when, const std::vector<Answer>& expected) const;

  const std::deque<Instance>& plugins() const { return plugins_; }
  std::deque<Leaf>& leaves() { return leaves_; }
  Samples& samples() { return samples_; }

 private:
  struct Output {
    std::size_t plugin;
    std::string name;
    void* texture;
    TextureKind kind;
  };
  struct PluginInput {
    const Instance& plugin;
    const ParameterInfo& info;
    std::size_t outputs;  ///< how many there were before the plugin
  };

  void addPlugin(void* desc);
  void addOutputs(const Instance& plugin);
  void set(const PluginInput& input);
  void noteInputs(const Asked& now) const;  ///< what they answer the plugin that is asked

  Random random_;
  Samples samples_;
  std::deque<Leaf> leaves_;
  std::deque<Instance> plugins_;
  std::vector<PluginInput> inputs_;
  std::vector<Output> outputs_;
  std::vector<std::pair<std::size_t, Question>> questions_;  ///< to which output
};

/// Whether a check has evaluated for long enough: `--seconds`, or 20 s, on Windows 8 s, if modules
/// or machines are slow.
bool isTimeUp();

/// Calls `round` with one seed after the other, so many times, or for `--seconds`, and notes how
/// many evaluations it says that it did. A failure names the seed that has it come first.
template <class Round>
void forSeeds(int times, const Round& round, const char* ifNone = "no plugin has an output") {
  std::size_t evaluations = 0;
  for (int i = 0; !isTimeUp() && (trial.seconds > 0 || i < times); ++i, ++trial.seed) {
    evaluations += round(trial.useSeed());
  }
  if (evaluations == 0 && ifNone != nullptr) skip(ifNone);
  note(std::to_string(evaluations) + " evaluations");
}

/// Asks networks of one plugin each, and tells of each input that a question asks more than once,
/// or with a context of the plugin's own. Returns the inputs that were asked at all.
std::set<const ParameterInfo*> watchInputs(
    int networks,
    const std::function<void(const std::string& question, const std::string& got)>& tell);

}  // namespace validate
