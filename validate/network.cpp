// SPDX-License-Identifier: MIT
#include "validate/network.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace validate {

// ---- Random numbers ----

float Random::ordinary() {
  return static_cast<float>(static_cast<std::int32_t>(bits() >> 8) - 0x800000) / 0x100000;
}

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

}  // namespace

Samples::Samples(Random& random) {
  QuorFrameData& frame = host.frameData;
  frame.frameTime = static_cast<double>(random.number()) / 3;
  frame.worldToCamera = transform(random);
  frame.cameraToWorld = transform(random);
  frame.imageHeight = static_cast<std::int32_t>(random.below(4096));
  frame.worldOffset = random.preciseVector();
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
  }
}

namespace {

const float* numbersOfLeaf(Input* input, Question question, const ShadingContext* sc) {
  Leaf& leaf = *static_cast<Leaf*>(input);
  if (leaf.counts) {
    ++leaf.asked[question];
    leaf.askedWith[question] = sc;
  }
  if (question == BOUNDS) return leaf.numbersAt[0].data();
  const ShadingContext* const first = leaf.samples.contexts.data();
  if (sc < first || sc >= first + Samples::kCount)
    fail("an input is asked with a shading context that is not the host's");
  return leaf.numbersAt[static_cast<std::size_t>(sc - first)].data();
}

}  // namespace

Leaf::Leaf(TextureKind textureKind, const Samples& samplesOfAll, Random& random)
    : Input(textureKind), kind(textureKind), samples(samplesOfAll) {
  numbersFor = numbersOfLeaf;
  for (auto& row : numbersAt)
    std::generate(row.begin(), row.end(), [&] { return random.number(); });
}

// ---- The network ----

Network::Network(const Plan& plan) : random_(plan.seed, plan.ordinary), samples_(random_) {
  for (int i = 0; i < plan.plugins; ++i) addPlugin(plan.descs[random_.below(plan.descs.size())]);
  Random choice(plan.without);
  for (const Connection& each : connections_) {
    if (plan.without == 0 || !choice.oneIn(3)) each.plugin.connect(each.input, each.texture);
  }
  for (std::size_t i = 0; i < outputs_.size(); ++i) {
    for (const Question question : {VALUE, BOUNDS, GRADIENT}) {
      const bool answersValueAlone = outputs_[i].kind >= INTEGER;
      if (question == VALUE || !answersValueAlone) questions_.push_back({i, question});
    }
  }
  for (const Instance& plugin : plugins_) QuorPluginInterface::renderBegin(plugin.part(), nullptr);
  beginFrame();
}

void Network::addPlugin(void* desc) {
  const Instance& plugin = plugins_.emplace_back(desc);
  for (const ParameterInfo& info : parametersOf(desc)) {
    if (!isOutput(info)) setInput(plugin, info);
  }
  addOutputs(plugin);
}

void Network::setInput(const Instance& plugin, const ParameterInfo& info) {
  if (info.type == PARAM_BOOLEAN) {
    plugin.set(info.name, KIND_BOOLEAN, static_cast<std::int32_t>(random_.below(2)));
  } else if (info.type == PARAM_INTEGER) {
    const std::uint32_t any = random_.bits(), small = random_.below(20) - 2;
    plugin.set(info.name, KIND_INTEGER, static_cast<std::int32_t>(any % 8 == 0 ? any : small));
  } else if (!random_.oneIn(4)) {
    const Output* const output =
        outputs_.empty() ? nullptr : &outputs_[random_.below(outputs_.size())];
    if (output != nullptr && output->kind == kindOf(info)) {
      connections_.push_back({plugin, info.name, output->texture});
    } else {
      Leaf& leaf = leaves_.emplace_back(kindOf(info), samples_, random_);
      connections_.push_back({plugin, info.name, &leaf});
    }
  }
}

void Network::addOutputs(const Instance& plugin) {
  const std::string name = plugin.name();
  const auto add = [&](const std::string& outputName, void* texture, TextureKind kind) {
    if (texture != nullptr) outputs_.push_back({plugins_.size(), outputName, texture, kind});
  };
  for (const ParameterInfo& info : parametersOf(plugin.desc())) {
    if (isOutput(info)) add(name + '.' + info.name, plugin.texture(info.name), kindOf(info));
  }
  for (const TextureKind kind : {COLOR, NUMBER, VECTOR, INTEGER, TRANSFORM})
    add(name, PluginBase::getInterface(plugin.object(), kTextureIds[kind].id), kind);
}

void Network::beginFrame() const {
  for (const Instance& plugin : plugins_) plugin.beginFrame();
}

void Network::takeAway(std::uint32_t without) const {
  Random choice(without);
  for (const Connection& each : connections_) {
    if (choice.oneIn(3)) each.plugin.connect(each.input, nullptr);
  }
}

// ---- Its questions ----

Network::Asked Network::asked(int n) const {
  const auto& [index, question] = questions_[static_cast<std::size_t>(n / Samples::kCount)];
  const Output& output = outputs_[index];
  return {output.name, output.texture, output.kind, question,
          samples_.contexts[static_cast<std::size_t>(n % Samples::kCount)]};
}

Answer Network::answer(int n) const {
  const Asked now = asked(n);
  float numbers[std::tuple_size_v<Answer>];
  const int count = ask(now.texture, now.kind, now.question, now.context, numbers);
  Answer answer{};
  for (int i = 0; i < count; ++i) {
    const auto bits = std::bit_cast<std::uint32_t>(numbers[i]);
    const bool isNaN = now.kind != INTEGER && (bits & 0x7FFFFFFF) > 0x7F800000;
    answer[static_cast<std::size_t>(i)] = isNaN ? 0x7FC00000 : bits;
  }
  return answer;
}

std::vector<Answer> Network::answers() const {
  std::vector<Answer> answers(static_cast<std::size_t>(questions()));
  for (int n = 0; n < questions(); ++n) answers[static_cast<std::size_t>(n)] = answer(n);
  return answers;
}

std::string Network::question(int n) const {
  constexpr const char* kNames[] = {"value", "bounds", "gradient"};
  const std::size_t plugin =
      outputs_[questions_[static_cast<std::size_t>(n / Samples::kCount)].output].plugin;
  return "plugin " + std::to_string(plugin) + ", " + asked(n).output + ", " +
         kNames[asked(n).question] + " at sample " + std::to_string(n % Samples::kCount);
}

void Network::expectAnswer(const char* when, int n, const Answer& expected) const {
  const Answer came = answer(n);
  if (came == expected) return;
  const auto different = std::mismatch(came.begin(), came.end(), expected.begin());
  failExpectation(question(n) + ", " + when, text(std::bit_cast<float>(*different.first)),
                  text(std::bit_cast<float>(*different.second)));
}

void Network::expectAnswers(const char* when, const std::vector<Answer>& expected) const {
  for (int n = 0; n < questions(); ++n)
    expectAnswer(when, n, expected[static_cast<std::size_t>(n)]);
}

}  // namespace validate
