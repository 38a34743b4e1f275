// SPDX-License-Identifier: MIT
#include "validate/checks/added_interface.h"
#include "validate/subject/subject.h"

namespace validate {

namespace {

/// An identifier that no plugin has: that of a plugin's own interface, and something above.
constexpr std::uint64_t kUnknown = EXT_QUOR_PLUGIN | std::uint64_t{1} << 32;

/// Adds an interface, has `meanwhile` done, and removes it.
template <class Meanwhile>
void expectTaken(const std::string& name, void* object, const Meanwhile& meanwhile) {
  AddedInterface added(kUnknown);
  const auto expectFound = [&](const char* when, void* found) {
    expect(name + ".getInterface of an added interface" + when,
           PluginBase::getInterface(object, kUnknown), found);
  };
  expectFound(" before it is added", nullptr);
  expect(name + ".removeInterface before", PluginBase::removeInterface(object, &added), 0);
  expect(name + ".addInterface", PluginBase::addInterface(object, &added, 0), 1);
  expectFound("", &added);
  meanwhile();
  PluginBase::releaseInterface(object, &added);
  expectFound(" afterwards", &added);
  expect(name + ".removeInterface", PluginBase::removeInterface(object, &added), 1);
  expectFound(" after it is removed", nullptr);
  expect(name + ": releases", added.releases, 0);
}

CHECK(interfaces, added,
      "an interface that was added is found, also after a frame, until it is removed") {
  for (const Instance& instance : Instances()) {
    expectTaken(instance.name(), instance.object(), [&] {
      instance.beginFrame();
      instance.endRender();
    });
  }
}

CHECK(interfaces, twice, "an interface that was added twice has to be removed twice") {
  for (void* desc : descriptors()) {
    AddedInterface added(kUnknown);
    {
      const Instance instance(desc);
      void* const object = instance.object();
      PluginBase::addInterface(object, &added, 0);
      PluginBase::addInterface(object, &added, 1);
      expect(instance.name() + ".removeInterface", PluginBase::removeInterface(object, &added), 1);
      expect(instance.name() + ".getInterface then", PluginBase::getInterface(object, kUnknown),
             &added);
      expect(instance.name() + ".removeInterface", PluginBase::removeInterface(object, &added), 1);
      expect(instance.name() + ".removeInterface", PluginBase::removeInterface(object, &added), 0);
      PluginBase::addInterface(object, &added, 0);
      PluginBase::addInterface(object, &added, 1);
      PluginBase::removeInterface(object, &added);  // the newer one, with the flag
    }
    expect(nameOf(desc) + ": releases of the one that stays, added without", added.releases, 0);
  }
}

CHECK(interfaces, newest,
      "of two interfaces with one identifier the newer is found, a plugin's own before both") {
  for (const Instance& instance : Instances()) {
    void* const object = instance.object();
    AddedInterface older(kUnknown), newer(kUnknown), shadowed(EXT_QUOR_PLUGIN);
    PluginBase::addInterface(object, &older, 0);
    PluginBase::addInterface(object, nullptr, 1);
    PluginBase::addInterface(object, &newer, 0);
    PluginBase::addInterface(object, &shadowed, 0);
    expect(instance.name() + ".getInterface of two", PluginBase::getInterface(object, kUnknown),
           &newer);
    expect(instance.name() + ".getInterface(EXT_QUOR_PLUGIN)",
           PluginBase::getInterface(object, EXT_QUOR_PLUGIN), instance.part());
    expect(instance.name() + ".removeInterface", PluginBase::removeInterface(object, &newer), 1);
    expect(instance.name() + ".getInterface of the other",
           PluginBase::getInterface(object, kUnknown), &older);
    PluginBase::removeInterface(object, &shadowed);
    PluginBase::removeInterface(object, &older);
  }
}

CHECK(interfaces, objects,
      "descriptors, and outputs that are objects, take interfaces as plugins do") {
  const auto nothing = [] {};
  expectTaken("the library descriptor", library(), nothing);
  for (void* desc : descriptors()) {
    expectTaken("descriptor " + nameOf(desc), desc, nothing);
    const Instance instance(desc);
    for (const ParameterInfo& info : parametersOf(desc)) {
      void* const texture = isOutput(info) ? instance.texture(info.name) : nullptr;
      if (texture == nullptr) continue;
      if (void* object = PluginInterface::getPlugin(texture)) {
        expectTaken(instance.name() + '.' + info.name, object, nothing);
      }
    }
  }
}

CHECK(interfaces, release_order,
      "a dying plugin releases what was added for that, oldest first, the rest not") {
  for (void* desc : descriptors()) {
    AddedInterface oldest(1), kept(2), removed(3), newer(4);
    std::string released;
    oldest.whenReleased = [&] { released += "oldest "; };
    kept.whenReleased = [&] { released += "kept "; };
    removed.whenReleased = [&] { released += "removed "; };
    newer.whenReleased = [&] { released += "newer "; };
    {
      const Instance instance(desc);
      PluginBase::addInterface(instance.object(), &oldest, 1);
      PluginBase::addInterface(instance.object(), &kept, 0);
      PluginBase::addInterface(instance.object(), &removed, 1);
      PluginBase::addInterface(instance.object(), nullptr, 1);
      PluginBase::addInterface(instance.object(), &newer, 1);
      PluginBase::addInterface(instance.object(), &newer, 1);
      PluginBase::removeInterface(instance.object(), &removed);
    }
    expect(nameOf(desc) + ": released", released, "oldest newer newer ");
  }
}

}  // namespace

}  // namespace validate
