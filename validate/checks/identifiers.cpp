// SPDX-License-Identifier: MIT
#include <chrono>
#include <random>

#include "validate/checks/at_once.h"
#include "validate/subject/subject.h"

namespace validate {

namespace {

/// The identifiers that there are, their neighbours, the same ones with something in their upper
/// half, and some others.
std::vector<std::uint64_t> probes() {
  std::vector<std::uint64_t> ids = {0, ~std::uint64_t{0}};
  for (const std::uint64_t id : {EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_UVW_SOURCE, EXT_TEXTURE_FLOAT,
                                 EXT_TEXTURE_VECTOR, EXT_TEXTURE_TRANSFORM, EXT_TEXTURE_INT,
                                 EXT_MATERIAL_ID_SOURCE, EXT_OBJECT_SPACE_MAPPING, EXT_RTTEX}) {
    ids.insert(ids.end(), {id, id - 1, id + 1, id | std::uint64_t{1} << 32, id << 32, ~id});
  }
  std::mt19937_64 random(trial.useSeed());
  for (int i = 0; i < 1000; ++i) ids.push_back(random());
  return ids;
}

/// Whatever an object answers to an identifier is the interface of this identifier. If it says that
/// it is an object's, it is this one's.
void expectOnlyWhatItHas(const std::string& nameOfObject, void* object) {
  for (const std::uint64_t id : probes()) {
    void* const part = PluginBase::getInterface(object, id);
    if (part == nullptr) continue;
    const std::string asked = nameOfObject + ".getInterface(" + text(id) + ")";
    expect(asked + "->getInterfaceId()", PluginInterface::getInterfaceId(part), id);
    if (void* owner = PluginInterface::getPlugin(part)) {
      expect(asked + "->getPlugin()", owner, object);
    }
    if (const char* name = PluginInterface::getInterfaceName(part)) {
      expectUtf8(asked + "->getInterfaceName()", name);
    }
    if (id == EXT_RTTEX) {
      static ShaderSource source{};
      static OclData data{};
      RTTexInterface::setShaderInfo(part, RTTexInterface::getShaderInfo(part));
      RTTexInterface::getShaderSource(part, "", "", "", &source, &data);
    }
    expect(asked + " again", PluginBase::getInterface(object, id), part);
    PluginInterface::release(part);
    expect(asked + " after release", PluginBase::getInterface(object, id), part);
  }
}

CHECK(identifiers, descriptors,
      "library and descriptors answer null to an identifier that they have no interface of") {
  expectOnlyWhatItHas("the library descriptor", library());
  for (void* desc : descriptors()) expectOnlyWhatItHas("descriptor " + nameOf(desc), desc);
}

CHECK(identifiers, announced, "what a descriptor announces, all 64 bits of it, its plugins have") {
  for (const Instance& instance : Instances()) {
    for (const std::uint64_t id : probes()) {
      const std::string asked = instance.name() + ".supportsInterface(" + text(id) + ")";
      const std::int32_t answer = PluginDesc::supportsInterface(instance.desc(), id);
      const bool has = PluginBase::getInterface(instance.object(), id) != nullptr;
      if (answer != 0 || id == EXT_QUOR_PLUGIN) {
        expect(asked, answer, 1);
        expect(asked + ": a plugin has it", has, true);
      } else if (has) {
        note(asked + ": no, but a plugin has it");
      }
    }
  }
}

CHECK(identifiers, instances,
      "a plugin answers an identifier, all 64 bits of it, with its interface of this identifier") {
  for (const Instance& instance : Instances()) {
    expectOnlyWhatItHas(instance.name(), instance.object());
    expect(instance.name() + ".getPluginDesc()", Plugin::getPluginDesc(instance.object()),
           instance.desc());
  }
}

CHECK(identifiers, threads,
      "16 threads that ask for names, interfaces and shader source are answered as one is") {
  const auto answers = [](const Instance& instance, std::size_t thread) {
    static ShaderSource sources[kThreads];
    static OclData data[kThreads];
    std::string all = nameOf(instance.desc()) + ' ' + text(enumerate(library()).answer);
    void* part = nullptr;
    for (const std::uint64_t id : {EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_RTTEX}) {
      part = PluginBase::getInterface(instance.object(), id);
      all += ' ' + text(part);
    }
    if (part == nullptr) return all;
    const char* const kind = thread % 2 != 0 ? "color" : "float";
    return all + ' ' +
           text(RTTexInterface::getShaderSource(part, kind, "", "MaterialDescriptor",
                                                &sources[thread], &data[thread]));
  };
  for (const Instance& instance : Instances()) {
    const std::string alone[] = {answers(instance, 0), answers(instance, 1)};
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(200);
    const auto ask = [&](std::size_t thread) {
      while (Clock::now() < end) {
        expect("asked by one of 16 threads", answers(instance, thread), alone[thread % 2]);
      }
    };
    runAtOnce(ask, [] {});
  }
}

CHECK(identifiers, outputs,
      "an output has the identifier of its kind of texture, and its name if it has one") {
  for (const Instance& instance : Instances()) {
    for (const ParameterInfo& info : parametersOf(instance.desc())) {
      if (!isOutput(info)) continue;
      const std::string output = instance.name() + '.' + info.name;
      void* const texture = instance.texture(info.name);
      if (texture == nullptr) fail(output + ": got null, expected a texture");
      const Identifier& expected = kTextureIds[kindOf(info)];
      expect(output + ".getInterfaceId()", PluginInterface::getInterfaceId(texture), expected.id);
      if (const char* name = PluginInterface::getInterfaceName(texture)) {
        expect(output + ".getInterfaceName()", name, expected.name);
      }
      if (void* object = PluginInterface::getPlugin(texture)) expectOnlyWhatItHas(output, object);
      PluginInterface::release(texture);
      expect(output + " after release", instance.texture(info.name), texture);
    }
  }
}

}  // namespace

}  // namespace validate
