// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <deque>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "validate/host.h"
#include "validate/subject.h"

/// Random networks of the module's plugins, over samples of a random scene.
namespace validate {

class Random {
 public:
  explicit Random(std::uint32_t seed, bool ordinaryAlone = false)
      : engine_(seed), ordinaryAlone_(ordinaryAlone) {}

  std::uint32_t bits() { return static_cast<std::uint32_t>(engine_()); }
  std::uint32_t below(std::size_t n) { return bits() % static_cast<std::uint32_t>(n); }
  bool oneIn(std::uint32_t n) { return below(n) == 0; }
  float ordinary();  ///< from -8 to 8
  float number();    ///< ordinary, special, or any bits, unless it is to be ordinary
  Vector vector() { return {number(), number(), number()}; }
  DVector preciseVector() { return {number() / 3.0, number() / 3.0, number() / 3.0}; }

 private:
  std::mt19937 engine_;
  bool ordinaryAlone_;
};

/// A scene in one frame, and samples of it.
struct Samples {
  static constexpr int kCount = 16;
  explicit Samples(Random& random);

  Host host;
  std::array<ShadingContext, kCount> contexts;
};

/// An input that has numbers for each sample; its bounds are the same at all of them.
struct Leaf : Input {
  Leaf(TextureKind kind, const Samples& samples, Random& random);

  const TextureKind kind;
  const Samples& samples;
  std::array<std::array<float, 15>, Samples::kCount> numbersAt;

  bool counts = false;  ///< by one thread alone
  std::array<int, QUESTIONS> asked{};
  std::array<const ShadingContext*, QUESTIONS> askedWith{};
};

/// Bits of an answer; all NaNs are one.
using Answer = std::array<std::uint32_t, 12>;

/// Plugins whose inputs are connected to nothing, to leaves of their own, or to plugins made before
/// them; in their first frame.
class Network {
 public:
  struct Plan {
    std::vector<void*> descs;
    std::uint32_t seed;
    int plugins = 6;
    bool ordinary = false;      ///< the numbers
    std::uint32_t without = 0;  ///< leaves out what `takeAway` with this number takes away
  };
  explicit Network(const Plan& plan);
  Network(const Network&) = delete;
  void operator=(const Network&) = delete;

  void beginFrame() const;
  /// Takes a third of the connections away.
  void takeAway(std::uint32_t without) const;

  /// The n-th of all questions to all outputs at all samples.
  int questions() const { return static_cast<int>(questions_.size()) * Samples::kCount; }
  Answer answer(int n) const;
  std::vector<Answer> answers() const;
  struct Asked {
    const std::string& output;
    void* texture;
    TextureKind kind;
    Question question;
    const ShadingContext& context;
  };
  Asked asked(int n) const;
  std::string question(int n) const;
  void expectAnswer(const char* when, int n, const Answer& expected) const;
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
  struct AskedOutput {
    std::size_t output;
    Question question;
  };
  struct Connection {
    const Instance& plugin;
    const char* input;
    void* texture;
  };

  void addPlugin(void* desc);
  void addOutputs(const Instance& plugin);
  void setInput(const Instance& plugin, const ParameterInfo& info);

  Random random_;
  Samples samples_;
  std::deque<Leaf> leaves_;
  std::deque<Instance> plugins_;
  std::vector<Connection> connections_;
  std::vector<Output> outputs_;
  std::vector<AskedOutput> questions_;
};

/// Calls `round` with one seed after the other, so many times, or as often as a busy machine can in
/// 20 s, or as long as `--seconds` says, and notes how many evaluations it says that it did. A
/// failure names the seed that has it come first.
template <class Round>
void forSeeds(int times, const Round& round) {
  using Clock = std::chrono::steady_clock;
  const bool soak = trial.seconds > 0;
  const auto end = Clock::now() + std::chrono::duration<double>(soak ? trial.seconds : 20);
  std::uint64_t evaluations = 0;
  for (int i = 0; Clock::now() < end && (soak || i < times); ++i, ++trial.seed)
    evaluations += static_cast<std::uint64_t>(round(trial.seed));
  note(std::to_string(evaluations) + " evaluations");
}

}  // namespace validate
