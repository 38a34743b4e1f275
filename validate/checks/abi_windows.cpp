// SPDX-License-Identifier: MIT
// What compilers for 32-bit Windows take for granted of the functions that they call, and what only
// that system has.
#include <malloc.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>

#include "validate/checks/added_interface.h"
#include "validate/subject/network.h"
#include "validate/system/process.h"

namespace validate {

namespace {

// ---- Calls ----

/// Static, so that it is in reach whatever the registers and the stack are.
struct {
  // before the call
  void *function, *self, *stack;
  bool givesFloat;
  // after it
  void* stackAfter;
  std::uint32_t eax, edx, ebx, esi, edi, ebp, flags;
  std::uint32_t x87[7];  ///< its environment, without the answer
  float st0;
  // of the caller
  void *esp, *frame;
} now;

constexpr std::uint32_t kEbx = 0xB1B1B1B1, kEsi = 0x51515151, kEdi = 0xD1D1D1D1, kEbp = 0xBEBEBEBE;

/// Calls with these words on a stack that lies so many bytes above a multiple of 16.
[[gnu::noinline]] void enter(const std::vector<std::uint32_t>& words, std::uint32_t above) {
  const std::size_t size = words.size() * sizeof words[0];
  const auto room = reinterpret_cast<std::uintptr_t>(alloca(size + 32));
  now.stack = reinterpret_cast<void*>((room + 15) / 16 * 16 + above);
  std::memcpy(now.stack, words.data(), size);
  asm volatile(
      "movl %%esp, %[esp]\n movl %%ebp, %[frame]\n movl %[stack], %%esp\n movl %[self], %%ecx\n"
      "movl %[kEbx], %%ebx\n movl %[kEsi], %%esi\n movl %[kEdi], %%edi\n movl %[kEbp], %%ebp\n"
      "call *%[function]\n"
      "movl %%esp, %[stackAfter]\n movl %[esp], %%esp\n"
      "movl %%ebp, %[ebp]\n movl %[frame], %%ebp\n"
      "movl %%ebx, %[ebx]\n movl %%esi, %[esi]\n movl %%edi, %[edi]\n"
      "movl %%eax, %[eax]\n movl %%edx, %[edx]\n"
      "pushfl\n popl %[flags]\n cld\n"
      "cmpb $0, %[givesFloat]\n je 0f\n fstps %[st0]\n0: fnstenv %[x87]\n fldenv %[x87]"
      : [esp] "+m"(now.esp), [frame] "+m"(now.frame), [stackAfter] "=m"(now.stackAfter),
        [flags] "=m"(now.flags), [x87] "=m"(now.x87), [eax] "=m"(now.eax), [edx] "=m"(now.edx),
        [ebx] "=m"(now.ebx), [esi] "=m"(now.esi), [edi] "=m"(now.edi), [ebp] "=m"(now.ebp),
        [st0] "=m"(now.st0)
      : [function] "m"(now.function), [self] "m"(now.self), [stack] "m"(now.stack),
        [givesFloat] "m"(now.givesFloat), [kEbx] "i"(kEbx), [kEsi] "i"(kEsi), [kEdi] "i"(kEdi),
        [kEbp] "i"(kEbp)
      : "eax", "ecx", "edx", "ebx", "esi", "edi", "cc", "memory", "st", "st(1)", "st(2)", "st(3)",
        "st(4)", "st(5)", "st(6)", "st(7)", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6",
        "xmm7");
}

std::uint32_t alignment;  ///< of the stack in the calls that follow

std::string stack() { return "esp " + text(alignment) + " above a multiple of 16"; }

void expectWord(const char* what, std::uint32_t got, std::uint32_t expected) {
  if (got == expected) return;
  expect(called() + (", " + stack()) + ": " + what, std::uint64_t{got}, expected);
}

/// Makes a call and looks at what it leaves behind. A record lies between words that no one may
/// write.
void callByHand(void* function, void* self, std::vector<std::uint32_t> arguments,
                const ByHand::Answer& answer) {
  constexpr std::uint32_t kGuard = 0x6A6A6A6A;
  constexpr std::size_t kFence = 4;
  const std::size_t width = answer.size / sizeof kGuard;
  std::vector<std::uint32_t> record(kFence + width + kFence, kGuard);
  const auto place = std::bit_cast<std::uint32_t>(&record[kFence]);
  if (answer.isRecord) arguments.insert(arguments.begin(), place);
  now.function = function;
  now.self = self;
  now.givesFloat = answer.isFloat;
  const Calling calledNow = calling;
  ByHand::call = nullptr;  // what is asked in the course of it
  enter(arguments, alignment);
  ByHand::call = callByHand;
  calling = calledNow;

  expectWord("bytes that it takes off the stack",
             static_cast<std::uint32_t>(static_cast<char*>(now.stackAfter) -
                                        static_cast<char*>(now.stack)),
             4 * arguments.size());
  expectWord("ebx", now.ebx, kEbx);
  expectWord("esi", now.esi, kEsi);
  expectWord("edi", now.edi, kEdi);
  expectWord("ebp", now.ebp, kEbp);
  expectWord("direction flag", now.flags & 0x400, 0);
  expectWord("x87 registers that are free", now.x87[2] & 0xFFFF, 0xFFFF);
  const std::uint32_t integer[] = {now.eax, now.edx};
  const void* got = answer.isFloat ? static_cast<const void*>(&now.st0) : integer;
  if (answer.isRecord) {
    for (std::size_t i = 0; i < kFence; ++i) {
      expectWord("before the answer", record[i], kGuard);
      expectWord("behind the answer", record[kFence + width + i], kGuard);
    }
    expectWord("eax, where the record is", now.eax, place);
    got = &record[kFence];
  }
  std::memcpy(answer.place, got, answer.size);
}

CHECK(abi, stack,
      "on a stack aligned to 4 bytes, however it lies, a question is answered with the same bits") {
  forSeeds(20, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    const std::vector<Answer> expected = network.answers();
    ByHand::call = callByHand;
    for (alignment = 0; alignment < 16; alignment += 4) {
      network.expectAnswers(stack().c_str(), expected);
    }
    ByHand::call = nullptr;
    return 5 * expected.size();
  });
}

/// Checks by one thread that ask for all but evaluations.
constexpr std::string_view kOthers[] = {"enumeration.",
                                        "identifiers.announced",
                                        "identifiers.descriptors",
                                        "identifiers.instances",
                                        "identifiers.outputs",
                                        "interfaces.",
                                        "life_cycle.two_instances",
                                        "registration.twice",
                                        "tables."};

CHECK(abi, registers,
      "a call keeps ebx, esi, edi and ebp, leaves the direction flag clear and the x87 registers "
      "free, takes its arguments off the stack, and writes nothing beside its answer") {
  ByHand::call = callByHand;
  for (alignment = 0; alignment < 16; alignment += 4) {
    for (const Check* check = firstCheck; check != nullptr; check = check->next) {
      const auto begins = [check](std::string_view with) {
        return std::string_view(check->name).starts_with(with);
      };
      if (std::ranges::any_of(kOthers, begins)) check->run();
    }
    for (void* desc : descriptors()) PluginDesc::getExtraInfo(desc);
  }
}

// ---- Memory ----

/// Destroys a new plugin through the part with that identifier, if it has one. An `id` of 0 stands
/// for the plugin itself.
void destroy(void* desc, std::uint64_t id, std::uint32_t flags) {
  constexpr Operation<slot(1), void*(std::uint32_t flags)> kDestructor{"the destructor"};
  const std::string asked = nameOf(desc) + ", destroyed through " +
                            (id != 0 ? text(id) : "itself") + " with " + text(flags);
  const std::size_t before = heapInUse();
  void* const plugin = PluginDesc::newPlugin(desc, nullptr);
  if (heapInUse() == before) skip("the module does not allocate in msvcrt.dll");
  void* const part = id != 0 ? PluginBase::getInterface(plugin, id) : plugin;
  if (part == nullptr) return PluginDesc::deletePlugin(desc, plugin);
  {
    AddedInterface added(1);
    PluginBase::addInterface(plugin, &added, 1);
    ByHand::call = callByHand;
    kDestructor(part, flags);
    ByHand::call = nullptr;
    expect(asked + ": releases", added.releases, 1);
  }
  expect(asked + ": memory is left", heapInUse() != before, flags == 0);
  if (flags == 0) std::free(plugin);
  expect(asked + ": all memory is given back", heapInUse() == before, true);
}

CHECK(abi, deleting,
      "through any part the destructor's argument says whether it gives the memory back") {
  for (alignment = 0; alignment < 16; alignment += 4) {
    for (void* desc : descriptors()) {
      for (const std::uint64_t id : {std::uint64_t{0}, EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_RTTEX}) {
        for (const std::uint32_t flags : {0, 1}) destroy(desc, id, flags);
      }
    }
  }
}

}  // namespace

}  // namespace validate
