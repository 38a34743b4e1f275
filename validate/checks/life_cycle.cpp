// SPDX-License-Identifier: MIT
#include "validate/checks/added_interface.h"
#include "validate/subject/network.h"
#include "validate/system/process.h"

namespace validate {

namespace {

CHECK(life_cycle, made,
      "a new plugin knows its descriptor and has no name, and parameters of its own") {
  for (const Instance& instance : Instances()) {
    const std::string& name = instance.name();
    void** const object = words(instance.object());
    void** const part = words(instance.part());
    expect(name + ": name", object[kNameOfPlugin], nullptr);
    expect(name + ": descriptor", part[kDescOfPart], instance.desc());
    expect(name + ": has a parameter list", part[kParametersOfPart] != nullptr,
           words(instance.desc())[kParametersOfDesc] != nullptr);
  }
}

CHECK(life_cycle, none, "deletePlugin takes null") {
  for (void* desc : descriptors()) PluginDesc::deletePlugin(desc, nullptr);
}

CHECK(life_cycle, two_instances, "two instances of a plugin share neither objects nor values") {
  for (void* desc : descriptors()) {
    const Instance one(desc), other(desc);
    const std::string& name = one.name();
    expect(name + ": one object for both", one.object() == other.object(), false);
    Plugin::setPluginName(one.object(), "one");
    expect(name + ": name of the other", words(other.object())[kNameOfPlugin], nullptr);
    for (const ParameterInfo& info : parametersOf(desc)) {
      const std::string parameter = name + '.' + info.name;
      if (isOutput(info)) {
        void* const texture = one.texture(info.name);
        const bool isShared = texture != nullptr && texture == other.texture(info.name);
        expect(parameter + ": one texture for both", isShared, false);
      } else if (isTextureInput(info)) {
        Input input(kindOf(info));
        one.connect(info.name, &input);
        one.beginFrame();
        other.beginFrame();
        expect(parameter + ": texture of the other", other.texture(info.name), nullptr);
      } else if (info.type == ParameterType::Integer) {
        one.set(info.name, ParameterKind::Integer, info.initial ^ 1);
        const std::int32_t value = other.parameter(info.name).value.integer;
        expect(parameter + ": value of the other", value, info.initial);
      }
    }
  }
}

CHECK(life_cycle, inputs,
      "fields and outputs have parameters; a frame brings a texture into a field, or an output "
      "asks it; nothing else asks") {
  const auto asked = watchInputs(200, [](auto& /*question*/, auto& /*got*/) {});
  for (void* desc : descriptors()) {
    const std::span<const ParameterInfo> infos = parametersOf(desc);
    for (const bool hasFrame : {false, true}) {
      std::deque<Input> inputs;
      const Instance instance(desc);
      for (const ParameterInfo& info : infos) {
        if (!isTextureInput(info)) continue;
        Input& input = inputs.emplace_back(kindOf(info));
        input.whenAsked = [&](Question, const ShadingContext*) {
          failExpectation(instance.name() + '.' + info.name,
                          std::string("asked in ") + calling.operation, "asked by outputs");
        };
        instance.connect(info.name, &input);
      }
      instance.beginRender();
      void* const list = words(instance.part())[kParametersOfPart];
      if (!hasFrame || list == nullptr) continue;
      instance.beginFrame();
      const auto& slots = *reinterpret_cast<const ParameterSlots*>(words(list)[0]);
      expect(instance.name() + ": a field or an output for no parameter of its kind", slots.unknown,
             nullptr);
      for (std::size_t i = 0; i < infos.size(); ++i) {
        const ParameterSlot& slot = slots.first[i];
        const bool arrives = slot.field != nullptr && *slot.field == slot.value.value.iface;
        if (isTextureInput(infos[i]) && !arrives && !asked.contains(&infos[i])) {
          failExpectation(instance.name() + '.' + infos[i].name,
                          "neither in a field after frameBegin nor asked", "one of these");
        }
      }
    }
  }
}

CHECK(life_cycle, names, "a plugin keeps a copy of the last name that it was given, however long") {
  const std::string longName(1 << 20, 'x');
  for (const Instance& instance : Instances()) {
    std::vector<std::string> names = {"first", "", longName, "last"};
    for (std::size_t length = 65; length-- != 0;) names.emplace_back(length, 'x');
    for (const std::string& name : names) {
      std::string given = name;
      Plugin::setPluginName(instance.object(), given.c_str());
      given.assign(given.size(), '?');
      expect(instance.name() + ".setPluginName: what it keeps",
             static_cast<const char*>(words(instance.object())[kNameOfPlugin]), name.c_str());
    }
  }
}

CHECK(life_cycle, growth,
      "frames with samples, and interfaces that come and go, leave the heap as full as it was") {
  if (kSanitized) skip("a sanitizer keeps blocks of the heap back");
  forSeeds(10, [&descs = descriptors()](std::uint32_t seed) {
    constexpr int kFrames = 200;
    const Network network({.descs = descs, .seed = seed});
    AddedInterface added(1);
    std::size_t before = 0, n = 0;
    for (int frame = -50; frame < kFrames; ++frame) {
      if (frame == 0) before = heapInUse();
      network.beginFrame();
      for (n = 0; n < network.questions(); n += Samples::kCount) network.answer(n);
      for (const Instance& plugin : network.plugins()) {
        PluginBase::addInterface(plugin.object(), &added, 1);
        PluginBase::removeInterface(plugin.object(), &added);
      }
    }
    const auto growth = static_cast<std::int32_t>(heapInUse() - before);
    if (growth >= kFrames) {
      failExpectation("heap after 200 frames", text(growth) + " bytes more", "the same");
    }
    return kFrames * n / Samples::kCount;
  });
}

CHECK(life_cycle, parts, "deleting through any of its interfaces deletes the whole plugin, once") {
  for (void* desc : descriptors()) {
    for (const std::uint64_t id : {EXT_QUOR_PLUGIN, EXT_TEXTURE, EXT_RTTEX}) {
      Instance instance(desc);
      void* const part = PluginBase::getInterface(instance.object(), id);
      if (part == nullptr) continue;
      AddedInterface added(1);
      PluginBase::addInterface(instance.object(), &added, 1);
      instance.forget();
      deleteThrough(part);
      expect(nameOf(desc) + ", deleted through " + text(id) + ": releases", added.releases, 1);
    }
  }
}

}  // namespace

}  // namespace validate
