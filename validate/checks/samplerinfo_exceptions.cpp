// SPDX-License-Identifier: MIT
#include <random>

#include "validate/checks/refusal.h"
#include "validate/host.h"
#include "validate/subject.h"

namespace validate {

namespace {

void leaveOutForeignExceptions() {
  if (kMicrosoft)
    leaveOut("this program's exceptions are not those that the module's compiler knows");
}

/// Whether the call throws what the hosts here throw.
struct HostFailure {};
template <class Call>
bool throws(const Call& call) {
  try {
    call();
  } catch (const HostFailure&) {
    return true;
  }
  return false;
}

CHECK("samplerinfo.throwing_host",
      "a host that throws from its box or its log gets its exception back, and planes next time") {
  leaveOutForeignExceptions();
  Host host;
  host.frameData.worldToCamera.c2.z = 1;
  host.scene.lo.z = -20;
  host.scene.hi.z = -5;
  const Instance sampler(descriptor("TexSampler"));
  QuorPluginInterface::renderBegin(sampler.part(), nullptr);
  sampler.beginFrame();
  const auto nearPlane = [&] {
    return TextureFloatInterface::getFloat(sampler.texture("cameraNearClipPlane"), &host.sc);
  };
  const auto failing = [] { throw HostFailure(); };
  host.scene.whileAsked = failing;
  expect("a box that throws: the exception comes back", throws(nearPlane), true);
  host.scene.whileAsked = nullptr;
  host.log.whilePrinting = failing;
  expect("a log that throws: the exception comes back", throws(nearPlane), true);
  expect("cameraNearClipPlane in this frame", nearPlane(), 5);
  host.log.whilePrinting = nullptr;
  host.scene.hi.z = -3;
  sampler.beginFrame();
  expect("cameraNearClipPlane in the next frame", nearPlane(), 3);
  expect("lines in the log", host.log.lines, 1);
}

CHECK(
    "samplerinfo.throwing_input",
    "an input that throws has its exception passed on, and the next answer is as the one before") {
  leaveOutForeignExceptions();
  const Host host;
  for (void* desc : descriptors()) {
    const Instance instance(desc);
    std::vector<Input> inputs;
    inputs.reserve(parametersOf(desc).size());
    std::minstd_rand random(trial.seed);
    for (const ParameterInfo& info : parametersOf(desc)) {
      if (!isTextureInput(info)) continue;
      Input& input = inputs.emplace_back(kindOf(info));
      for (float& number : input.numbers) number = static_cast<float>(random() % 1000) / 64;
      instance.connect(info.name, &input);
    }
    QuorPluginInterface::renderBegin(instance.part(), nullptr);
    instance.beginFrame();
    for (const ParameterInfo& info : parametersOf(desc)) {
      for (int question = VALUE; isOutput(info) && question < QUESTIONS; ++question) {
        float numbers[12] = {}, again[12] = {};
        const auto asking = [&](float* answer) {
          return ask(instance.texture(info.name), kindOf(info), static_cast<Question>(question),
                     host.sc, answer);
        };
        const int count = asking(numbers);
        for (Input& failing : inputs) {
          bool asked = false;
          failing.whenAsked = [&](const ShadingContext* /*sc*/) {
            asked = true;
            throw HostFailure();
          };
          const bool thrown = throws([&] { asking(again); });
          const std::string output =
              instance.name() + '.' + info.name + ", question " + text(question);
          expect(output + ": the exception comes back", thrown, asked);
          failing.whenAsked = nullptr;
          asking(again);
          for (int i = 0; i < count; ++i) expect(output + ", asked again", again[i], numbers[i]);
        }
      }
    }
  }
}

// ---- Memory ----

void expectRefusal(void* plugin) {
  const Refusal refusal = refuseName(plugin);
  expect("setPluginName with no memory: it throws", refusal.thrown, true);
  expect("debug output", refusal.debugText,
         formatted("[operator new] failed (size is %d)\n"
                   "[getFreeHeapMemory] Getting free heap memory.\n"
                   "[getFreeHeapMemory] heapstatus=%d\n"
                   "[getFreeHeapMemory] Number of blocks visited: %u\n",
                   kRefusedSize, static_cast<int>(refusal.heap.status),
                   static_cast<unsigned>(refusal.heap.blocks)));
  expect("message", refusal.message,
         formatted("Memory allocation failure; %d bytes requested; %u bytes already in heap; %u "
                   "bytes free heap space.",
                   kRefusedSize, static_cast<unsigned>(refusal.heap.total),
                   static_cast<unsigned>(refusal.heap.free)));
  expect("how the walk over the heap ended", refusal.heap.status, -5);
  expect("the heap has blocks, some of them in use",
         refusal.heap.blocks > 0 && refusal.heap.total > refusal.heap.free, true);
}

CHECK("samplerinfo.refusal",
      "without memory a message with the figures of the heap is thrown, and debug output written; "
      "then all goes on") {
  if (kSanitized) leaveOut("a sanitizer has a heap of its own");
  const Instance instance(descriptor("TexFloatOp"));
  prepareRefusal();
  expectRefusal(instance.object());
  if (canDamageHeap())
    expect("message while the heap is damaged", refuseNameInDamagedHeap(instance.object()),
           " Heap is reported damaged.\n");
  expectRefusal(instance.object());
  Plugin::setPluginName(instance.object(), "small");
}

}  // namespace

}  // namespace validate
