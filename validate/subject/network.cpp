// SPDX-License-Identifier: MIT
#include "validate/subject/network.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <iterator>

namespace validate {

// ---- Random numbers ----

float Random::number() {
  static constexpr std::uint32_t kSpecial[] = {
      0x00000000, 0x80000000, 0x3F800000, 0xBF800000, 0x3F000000,  // 0, -0, 1, -1, 0.5
      0x7F7FFFFF, 0xFF7FFFFF, 0x00800000, 0x80800000,              // greatest, least normal
      0x00000001, 0x80000001, 0x007FFFFF, 0x807FFFFF,              // denormal
      0x7F800000, 0xFF800000, 0x7FC00000, 0x7F800001,              // infinities, NaNs
      0x501502F9, 0x3F7FFFFF, 0x3F800001, 0x4B800000, 0x4F000000,  // 1e10, beside 1, 2^24, 2^31
  };
  if (ordinaryAlone_) return ordinary();
  const std::uint32_t choice = below(8);
  if (choice == 0) return std::bit_cast<float>(bits());
  if (choice <= 2) return std::bit_cast<float>(kSpecial[below(std::size(kSpecial))]);
  return ordinary();
}

// ---- What is sampled ----

namespace {

PreciseTransform transform(Random& random) {
  return {random.vector(), random.vector(), random.vector(), random.preciseVector()};
}

void fill(QuorFrameData& frame, Random& random) {
  frame.frameTime = static_cast<double>(random.number()) / 3;
  frame.worldToCamera = transform(random);
  frame.cameraToWorld = transform(random);
  frame.imageHeight = static_cast<std::int32_t>(random.below(4096));
  frame.worldOffset = random.preciseVector();
}

}  // namespace

void Samples::nextFrame(Random& random) {
  nextFrameData = host.frameData;
  fill(nextFrameData, random);
  host.renderContext.frameData = &nextFrameData;
  host.scene.lo = random.vector();
  host.scene.hi = random.vector();
}

Samples::Samples(Random& random) {
  fill(host.frameData, random);
  host.services.cameraMoving = static_cast<std::int32_t>(random.below(2));
  host.services.log = nullptr;  // as several threads may print
  host.scene.lo = random.vector();
  host.scene.hi = random.vector();
  host.surface.a = random.vector();
  host.surface.b = random.vector();
  host.surface.c = random.vector();
  host.surface.uvw = random.vector();
  host.surface.materialId = static_cast<std::int32_t>(random.bits());
  for (ShadingContext& sc : contexts) {
    sc = host.sc;
    if (random.oneIn(8)) sc.object = nullptr;
    if (random.oneIn(8)) sc.surface = nullptr;
    sc.rayDirection = random.vector();
    sc.rayTime = static_cast<double>(random.ordinary()) / 3;
    sc.imageX = static_cast<double>(random.ordinary()) * 100;
    sc.imageY = static_cast<double>(random.ordinary()) * 100;
    sc.shadingPoint = random.preciseVector();
    sc.normal = random.vector();
    sc.geometricNormal = random.vector();
    sc.backfacing = static_cast<std::int32_t>(random.below(2));
    // In the last bits, and so in any copy of a context, stands which sample it is.
    const auto index = static_cast<std::uint64_t>(&sc - contexts.data());
    sc.imageX = std::bit_cast<double>(std::bit_cast<std::uint64_t>(sc.imageX) | index);
  }
  contexts[1].object = contexts[2].surface = &host.bare;
}

namespace {

const float* numbersOfLeaf(Input* input, Question question, const ShadingContext* sc) {
  Leaf& leaf = *static_cast<Leaf*>(input);
  if (question == Question::Bounds) return leaf.numbersAt[0].data();
  return leaf.numbersAt[std::bit_cast<std::uint64_t>(sc->imageX) % Samples::kCount].data();
}

}  // namespace

Leaf::Leaf(const ParameterInfo& parameter, Random& random)
    : Input(kindOf(parameter)), info(parameter), kind(kindOf(info)) {
  numbersFor = numbersOfLeaf;
  for (auto& row : numbersAt) {
    std::generate(row.begin(), row.end(), [&] { return random.number(); });
  }
}

// ---- The network ----

Network::Network(const Plan& plan) : random_(plan.seed, plan.ordinary), samples_(random_) {
  if (plan.descs.empty()) skip("the library has no plugins");
  for (int i = 0; i < plan.plugins; ++i) addPlugin(plan.descs[random_.below(plan.descs.size())]);
  for (std::size_t i = 0; i < outputs_.size(); ++i) {
    for (const Question question : {Question::Value, Question::Bounds, Question::Gradient}) {
      const bool answersValueAlone = outputs_[i].kind >= TextureKind::Integer;
      if (question == Question::Value || !answersValueAlone) questions_.emplace_back(i, question);
    }
  }
  for (const Instance& plugin : plugins_) plugin.beginRender();
  if (plan.begins) beginFrame();
}

void Network::addPlugin(void* desc) {
  const Instance& plugin = plugins_.emplace_back(desc);
  for (const ParameterInfo& info : parametersOf(desc)) {
    if (isOutput(info)) continue;
    inputs_.push_back({plugin, info, outputs_.size()});
    if (!random_.oneIn(4)) set(inputs_.back());
  }
  addOutputs(plugin);
}

void Network::set(const PluginInput& input) {
  const auto& [plugin, info, outputs] = input;
  if (info.type == ParameterType::Boolean) {
    plugin.set(info.name, ParameterKind::Boolean, static_cast<std::int32_t>(random_.below(2)));
  } else if (info.type == ParameterType::Integer) {
    const std::uint32_t around = static_cast<std::uint32_t>(info.initial) + random_.below(20) - 2;
    plugin.set(info.name, ParameterKind::Integer, static_cast<std::int32_t>(around));
  } else {
    const Output* const output = outputs != 0 ? &outputs_[random_.below(outputs)] : nullptr;
    const bool fits = output != nullptr && output->kind == kindOf(info);
    plugin.connect(info.name, fits ? output->texture : &leaves_.emplace_back(info, random_));
  }
}

void Network::addOutputs(const Instance& plugin) {
  const std::string& name = plugin.name();
  const auto add = [&](const std::string& outputName, void* texture, TextureKind kind) {
    if (texture != nullptr) outputs_.push_back({plugins_.size(), outputName, texture, kind});
  };
  for (const ParameterInfo& info : parametersOf(plugin.desc())) {
    if (isOutput(info)) add(name + '.' + info.name, plugin.texture(info.name), kindOf(info));
  }
  for (const TextureKind kind : {TextureKind::Color, TextureKind::Float, TextureKind::Vector,
                                 TextureKind::Integer, TextureKind::Transform}) {
    add(name, PluginBase::getInterface(plugin.object(), kTextureIds[kind].id), kind);
  }
}

void Network::beginFrame() const {
  for (const Instance& plugin : plugins_) plugin.beginFrame();
}

void Network::endRender() const {
  for (const Instance& plugin : plugins_) plugin.endRender();
}

void Network::changeInputs() {
  for (const PluginInput& input : inputs_) {
    const std::uint32_t choice = random_.below(3);
    if (choice == 0) set(input);
    if (choice == 1 && isTextureInput(input.info)) input.plugin.connect(input.info.name, nullptr);
  }
}

// ---- Its questions ----

Network::Asked Network::asked(std::size_t n) const {
  const auto& [index, question] = questions_[n / Samples::kCount];
  const Output& output = outputs_[index];
  return {output.plugin, output.name, output.texture,
          output.kind,   question,    samples_.contexts[n % Samples::kCount]};
}

Answer Network::answer(std::size_t n) const {
  record = samples_.contexts[n % Samples::kCount];
  return answer(n, record);
}

Answer Network::answer(std::size_t n, const ShadingContext& context) const {
  const Asked now = asked(n);
  float numbers[std::tuple_size_v<Answer>];
  calling.of = now.output.c_str();
  calling.sample = static_cast<int>(n % Samples::kCount);
  calling.setting = plugins_[now.plugin - 1].setting();
  const int count = ask(now.texture, now.kind, now.question, context, numbers);
  Answer answer{};
  for (int i = 0; i < count; ++i) {
    answer[static_cast<std::size_t>(i)] = now.kind == TextureKind::Integer
                                              ? std::bit_cast<std::uint32_t>(numbers[i])
                                              : bitsOf(numbers[i]);
  }
  return answer;
}

std::vector<Answer> Network::answers() const {
  std::vector<Answer> answers;
  answers.reserve(questions());
  for (std::size_t n = 0; n < questions(); ++n) {
    if (n % Samples::kCount == 0 && isTimeUp()) break;  // the clock costs as much as an answer
    answers.push_back(answer(n));
  }
  return answers;
}

std::string Network::question(std::size_t n) const {
  const Asked now = asked(n);
  return "plugin " + std::to_string(now.plugin) + ", " + now.output + ", " +
         kQuestionNames[now.question] + " at sample " + std::to_string(n % Samples::kCount);
}

void Network::noteInputs(const Asked& now) const {
  for (const auto& [plugin, info, outputs] : inputs_) {
    if (&plugin != &plugins_[now.plugin - 1]) continue;
    const auto& value = plugin.parameter(info.name).value;
    std::string line = "input " + std::string(info.name) + ':';
    if (!isTextureInput(info)) {
      line += ' ' + text(info.type == ParameterType::Boolean ? value.boolean : value.integer);
    } else if (value.iface == nullptr) {
      line += " not connected";
    } else {
      for (int question = Question::Value; question <= now.question; ++question) {
        float numbers[12];
        const int count =
            ask(value.iface, kindOf(info), static_cast<Question>(question), now.context, numbers);
        line += std::string(" ") + kQuestionNames[question];
        for (int i = 0; i < count; ++i) line += ' ' + text(numbers[i]);
      }
    }
    note(line);
  }
}

void Network::expectSame(const char* when, std::size_t n, const Answer& got,
                         const Answer& expected) const {
  if (got == expected) return;
  noteInputs(asked(n));
  const auto different = std::mismatch(got.begin(), got.end(), expected.begin());
  failExpectation(question(n) + ", " + when, text(std::bit_cast<float>(*different.first)),
                  text(std::bit_cast<float>(*different.second)));
}

void Network::expectAnswers(const char* when, const std::vector<Answer>& expected) const {
  for (std::size_t n = 0; n < expected.size(); ++n) expectAnswer(when, n, expected[n]);
}

std::set<const ParameterInfo*> watchInputs(
    int networks,
    const std::function<void(const std::string& question, const std::string& got)>& tell) {
  std::set<const ParameterInfo*> inputs;
  const auto ask = [&](std::uint32_t seed) {
    Network network({.descs = descriptors(), .seed = seed, .plugins = 1});
    std::size_t n = 0;
    std::set<std::pair<const Leaf*, Question>> asked;
    for (Leaf& leaf : network.leaves()) {
      leaf.whenAsked = [&](Question question, const ShadingContext* sc) {
        inputs.insert(&leaf.info);
        if (!asked.emplace(&leaf, question).second) {
          tell(network.question(n), "an input asked again");
        }
        if (sc != nullptr && sc != &record) {
          tell(network.question(n), "an input asked with another context");
        }
      };
    }
    for (; n < network.questions() && !isTimeUp(); ++n) {
      asked.clear();
      network.answer(n);
    }
    return n;
  };
  forSeeds(networks, ask, nullptr);
  return inputs;
}

bool isTimeUp() {
  using Clock = std::chrono::steady_clock;
  constexpr double kMost = kMicrosoft ? 8 : 20;
  static const Clock::time_point begin = Clock::now();
  const std::chrono::duration<double> most(trial.seconds > 0 ? trial.seconds : kMost);
  return Clock::now() - begin >= most;
}

}  // namespace validate
