// SPDX-License-Identifier: MIT
// What compilers for 32-bit Windows take for granted of the functions that they call, and what only
// that system has.
#include <malloc.h>
#include <windows.h>

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstdlib>
#include <cstring>

#include "validate/checks/added_interface.h"
#include "validate/checks/throwing.h"
#include "validate/network.h"
#include "validate/samplerinfo/records.h"
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

constexpr std::uint32_t kGuard = 0x6A6A6A6A;

/// A place for an answer, between words that no one may write.
template <class Answer>
struct Guarded {
  std::uint32_t before[4] = {kGuard, kGuard, kGuard, kGuard};
  Answer answer{};
  std::uint32_t after[4] = {kGuard, kGuard, kGuard, kGuard};
};

void expectWord(const char* name, const char* what, std::uint32_t got, std::uint32_t expected) {
  if (got == expected) return;
  failExpectation(name + (", " + stack()) + ": " + what,
                  formatted("%08x", static_cast<unsigned>(got)),
                  formatted("%08x", static_cast<unsigned>(expected)));
}

template <class Answer>
void expectGuards(const char* name, const Guarded<Answer>& guarded) {
  for (const std::uint32_t word : guarded.before) {
    expectWord(name, "before the answer", word, kGuard);
  }
  for (const std::uint32_t word : guarded.after) {
    expectWord(name, "behind the answer", word, kGuard);
  }
}

/// Calls an operation and looks at what it leaves behind.
template <int number, class Result, class... Parameters>
Result call(const char* name, const Operation<number, Result(Parameters...)>& /*operation*/,
            void* self, std::type_identity_t<Parameters>... arguments) {
  constexpr bool kIsRecord = std::is_class_v<Result>;
  Guarded<std::conditional_t<kIsRecord, Result, char>> record;  // only used if the answer is one
  std::vector<std::uint32_t> words;
  const auto push = [&words](const auto& argument) {
    const auto bits = std::bit_cast<std::array<std::uint32_t, sizeof argument / 4>>(argument);
    words.insert(words.end(), bits.begin(), bits.end());
  };
  if constexpr (kIsRecord) push(&record.answer);
  (push(arguments), ...);
  now.function = virtualTable(self)[number];
  now.self = self;
  now.givesFloat = std::is_same_v<Result, float>;
  enter(words, alignment);

  expectWord(name, "bytes that it takes off the stack",
             static_cast<std::uint32_t>(static_cast<char*>(now.stackAfter) -
                                        static_cast<char*>(now.stack)),
             4 * words.size());
  expectWord(name, "ebx", now.ebx, kEbx);
  expectWord(name, "esi", now.esi, kEsi);
  expectWord(name, "edi", now.edi, kEdi);
  expectWord(name, "ebp", now.ebp, kEbp);
  expectWord(name, "direction flag", now.flags & 0x400, 0);
  expectWord(name, "x87 registers that are free", now.x87[2] & 0xFFFF, 0xFFFF);
  if constexpr (kIsRecord) {
    expectGuards(name, record);
    expectWord(name, "eax, where the record is", now.eax, words[0]);
    return record.answer;
  } else if constexpr (std::is_same_v<Result, float>) {
    return now.st0;
  } else if constexpr (std::is_same_v<Result, std::uint64_t>) {
    return std::uint64_t{now.edx} << 32 | now.eax;
  } else if constexpr (!std::is_void_v<Result>) {
    return std::bit_cast<Result>(now.eax);
  }
}
#define CALL(operation, ...) call(#operation, operation, __VA_ARGS__)

/// What `ask` does, by such calls.
void askTexture(const Network::Asked& asked, float* numbers) {
  const char* const name = asked.output.c_str();
  void* const texture = asked.texture;
  const ShadingContext* const sc = &asked.context;
  const auto put = [numbers](const auto& answer) { std::memcpy(numbers, &answer, sizeof answer); };
  const auto askOne = [&](const auto& value, const auto& bounds, const auto& gradient) {
    if (asked.question == Question::Value) return put(call(name, value, texture, sc));
    if (asked.question == Question::Gradient) return put(call(name, gradient, texture, sc));
    Guarded<decltype(value(texture, sc))> min, max;
    call(name, bounds, texture, &min.answer, &max.answer);
    expectGuards(name, min);
    expectGuards(name, max);
    put(std::array{min.answer, max.answer});
  };
  switch (asked.kind) {
    case TextureKind::Color:
      return askOne(TextureInterface::getColor, TextureInterface::getColorBounds,
                    TextureInterface::getGradient);
    case TextureKind::Float:
      return askOne(TextureFloatInterface::getFloat, TextureFloatInterface::getFloatBounds,
                    TextureFloatInterface::getGradient);
    case TextureKind::Vector:
      return askOne(TextureVectorInterface::getVector, TextureVectorInterface::getVectorBounds,
                    TextureVectorInterface::getGradient);
    case TextureKind::Integer:
      return put(call(name, TextureIntInterface::getInt, texture, sc));
    case TextureKind::Transform:
      return put(call(name, TextureTransformInterface::getTransform, texture, sc));
  }
}

CHECK(abi, stack,
      "on a stack aligned to 4 bytes, however it lies, a question is answered with the same bits") {
  forSeeds(20, [&descs = descriptors()](std::uint32_t seed) {
    const Network network({.descs = descs, .seed = seed});
    for (std::size_t n = 0; n < network.questions(); ++n) {
      const Network::Asked asked = network.asked(n);
      float expected[12];
      const int count = ask(asked.texture, asked.kind, asked.question, asked.context, expected);
      for (alignment = 0; alignment < 16; alignment += 4) {
        float got[12];
        askTexture(asked, got);
        for (int i = 0; i < count; ++i) {
          expect(network.question(n) + ", " + stack(), got[i], expected[i]);
        }
      }
    }
    return 5 * network.questions();
  });
}

/// What a host asks of every interface, except evaluations.
void askInterface(void* part) {
  CALL(PluginInterface::getInterfaceName, part);
  CALL(PluginInterface::getPlugin, part);
  CALL(PluginInterface::release, part);
  if (CALL(PluginInterface::getInterfaceId, part) != EXT_RTTEX) return;
  CALL(RTTexInterface::getShaderInfo, part);
  CALL(RTTexInterface::setShaderInfo, part, nullptr);
  CALL(RTTexInterface::getShaderSource, part, "", "", "", nullptr, nullptr);
}

/// What a host asks of every object, and of its interfaces.
void askObject(void* object) {
  AddedInterface added(1);
  CALL(PluginBase::addInterface, object, &added, 1);
  CALL(PluginBase::removeInterface, object, &added);
  CALL(PluginBase::releaseInterface, object, &added);
  for (const std::uint64_t id : {EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_RTTEX}) {
    if (void* const part = CALL(PluginBase::getInterface, object, id)) askInterface(part);
  }
}

/// What a host asks of a descriptor and a plugin, except evaluations.
void live(void* desc) {
  void* const* host = hostTable.slots;
  askObject(desc);
  CALL(PluginDesc::getPluginId, desc);
  CALL(PluginDesc::getPluginName, desc);
  CALL(PluginDesc::supportsInterface, desc, EXT_QUOR_PLUGIN);
  CALL(PluginDesc::getExtraInfo, desc);
  CALL(PluginDesc::registerPlugin, desc, &host);
  void* const plugin = CALL(PluginDesc::newPlugin, desc, nullptr);
  CALL(Plugin::getPluginDesc, plugin);
  CALL(Plugin::setPluginName, plugin, "a name");
  askObject(plugin);
  void* const part = CALL(PluginBase::getInterface, plugin, EXT_QUOR_PLUGIN);
  CALL(QuorPluginInterface::renderBegin, part, nullptr);
  for (const ParameterInfo& info : parametersOf(desc)) {
    QuorPluginParameter* const value = CALL(QuorPluginInterface::getParameter, part, info.name);
    if (!isOutput(info)) {
      CALL(QuorPluginInterface::setParameter, part, value);
    } else if (void* const texture = value->value.iface) {
      askInterface(texture);
      if (void* const object = CALL(PluginInterface::getPlugin, texture)) askObject(object);
    }
  }
  CALL(QuorPluginInterface::frameBegin, part, nullptr);
  CALL(QuorPluginInterface::frameEnd, part, nullptr);
  CALL(QuorPluginInterface::renderEnd, part, nullptr);
  CALL(PluginDesc::deletePlugin, desc, plugin);
  CALL(PluginDesc::unregisterPlugin, desc, &host);
}

std::int32_t goOn(void* /*visitor*/, void* /*desc*/) { return 1; }
const Table visitorTable{PluginDescVisitor::visitPluginDesc.entry<goOn>()};

CHECK(abi, registers,
      "a call keeps ebx, esi, edi and ebp, leaves the direction flag clear and the x87 registers "
      "free, takes its arguments off the stack, and writes nothing beside its answer") {
  void* const* visitor = visitorTable.slots;
  for (alignment = 0; alignment < 16; alignment += 4) {
    askObject(library());
    CALL(PluginLibDesc::getLibraryName, library());
    CALL(PluginLibDesc::getLibraryDescription, library());
    CALL(PluginLibDesc::enumPluginDescs, library(), nullptr);
    CALL(PluginLibDesc::enumPluginDescs, library(), &visitor);
    for (void* desc : descriptors()) live(desc);
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
    call("the destructor", kDestructor, part, flags);
    expect(asked + ": releases", added.releases, 1);
  }
  expect(asked + ": memory is left", heapInUse() != before, flags == 0);
  if (flags == 0) std::free(plugin);
  expect(asked + ": all memory is given back", heapInUse() == before, true);
}

CHECK(abi, deleting,
      "through any part the destructor's argument says whether it gives the memory back: 0, no, or "
      "1, yes") {
  for (alignment = 0; alignment < 16; alignment += 4) {
    for (void* desc : descriptors()) {
      for (const std::uint64_t id : {std::uint64_t{0}, EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_RTTEX}) {
        for (const std::uint32_t flags : {0, 1}) destroy(desc, id, flags);
      }
    }
  }
}

// ---- Loading ----

struct {
  std::int32_t calls, plugins;
} atDisabling;

/// Stands in for the system's function. The host's library may call it too.
BOOL WINAPI disableThreadLibraryCalls(HMODULE module) {
  auto* const getLibDesc = reinterpret_cast<void* (*)()>(symbolOf(module, "getLibDesc"));
  if (getLibDesc == nullptr) return TRUE;
  ++atDisabling.calls;
  void* const library = getLibDesc();
  if (words(library)[0] != nullptr) {
    atDisabling.plugins = PluginLibDesc::enumPluginDescs(library, nullptr);
  }
  return TRUE;
}

/// Every call of a function goes to another from now on.
void divert(void* function, void* other) {
  unsigned char jump[5] = {0xE9};
  const std::int32_t distance =
      static_cast<char*>(other) - (static_cast<char*>(function) + sizeof jump);
  std::memcpy(&jump[1], &distance, sizeof distance);
  DWORD protection;
  VirtualProtect(function, sizeof jump, PAGE_EXECUTE_READWRITE, &protection);
  std::memcpy(function, jump, sizeof jump);
}

CHECK(samplerinfo, thread_notifications,
      "loading makes the descriptors, then switches off the notifications of threads, once") {
  divert(symbolOf(GetModuleHandleA("kernel32"), "DisableThreadLibraryCalls"),
         reinterpret_cast<void*>(&disableThreadLibraryCalls));
  const std::int32_t plugins = PluginLibDesc::enumPluginDescs(library(), nullptr);
  expect("calls of DisableThreadLibraryCalls", atDisabling.calls, 1);
  expect("descriptors at that time", atDisabling.plugins, plugins);
}

CHECK(
    samplerinfo, throwing_library,
    "a host's library that throws while a plugin is made has its exception passed on, and nothing "
    "is lost") {
  const std::vector<void*>& descs = descriptors();
  constexpr char kName[] =
      "?newParameterList@QuorParameterListDesc@QUtils@@QAEPAVQuorParameterList@2@XZ";
  divert(symbolOf(GetModuleHandleA("quor.dll"), kName), reinterpret_cast<void*>(&throwHostFailure));
  for (void* desc : descs) {
    const std::string asked = nameOf(desc) + ".newPlugin: ";
    const std::size_t before = heapInUse();
    const bool thrown = throws([desc] { PluginDesc::newPlugin(desc, nullptr); });
    expect(asked + "the exception comes back", thrown, true);
    expect(asked + "the heap is as before", heapInUse() == before, true);
  }
}

std::vector<void*> destroyed;
void METHOD noteDestroyed(void* description) { destroyed.push_back(description); }

CHECK(samplerinfo, unloading,
      "unloading destroys the descriptors from the newest to the oldest, as they are enumerated") {
  std::vector<void*> expected;
  {
    const Loaded module;
    for (void* desc : enumerate(module.library()).descs) {
      expected.push_back(words(desc)[kParametersOfDesc]);
    }
    divert(symbolOf(GetModuleHandleA("quor.dll"), "??1QuorParameterListDesc@QUtils@@QAE@XZ"),
           reinterpret_cast<void*>(&noteDestroyed));
  }
  expect("descriptions of parameters destroyed", text(destroyed.size()), text(expected.size()));
  for (std::size_t i = 0; i < expected.size(); ++i) {
    expect("the description destroyed as number " + std::to_string(i + 1), destroyed[i],
           expected[i]);
  }
}

// ---- Arithmetic ----

CHECK(samplerinfo, x87,
      "every output answers as recorded with the x87 at 53 bits, and at 24 bits, too, except for "
      "what "
      "the C runtime computes") {
  _controlfp(_PC_53, _MCW_PC);
  const std::vector<std::string> lines = resultLines();
  expectRecorded(lines);
  _controlfp(_PC_24, _MCW_PC);
  const std::vector<std::string> inSingle = resultLines();
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool ofRuntime = std::ranges::any_of(
        std::array{".power ", ".mode=5 ", ".sin ", ".cos "},
        [&](const char* name) { return lines[i].find(name) != std::string::npos; });
    if (!ofRuntime) expect("at 24 bits", inSingle[i], lines[i]);
  }
}

}  // namespace

}  // namespace validate
