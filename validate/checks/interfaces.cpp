// SPDX-License-Identifier: MIT
#include <algorithm>

#include "validate/checks/added_interface.h"
#include "validate/subject.h"

namespace validate {

namespace {

/// An identifier that no plugin has: that of a plugin's own interface, and something above.
constexpr std::uint64_t kUnknown = EXT_QUOR_PLUGIN | std::uint64_t{1} << 32;

CHECK("interfaces.added",
      "an interface that was added is found, also after a frame, until it is removed") {
  for (void* desc : descriptors()) {
    const Instance instance(desc);
    void* const object = instance.object();
    AddedInterface added(kUnknown);
    const std::string asked = instance.name() + ".getInterface of an added interface";
    const auto expectFound = [&](const char* when, void* found) {
      expect(asked + when, PluginBase::getInterface(object, kUnknown), found);
    };
    expectFound(" before it is added", nullptr);
    expect(instance.name() + ".removeInterface before", PluginBase::removeInterface(object, &added),
           0);
    expect(instance.name() + ".addInterface", PluginBase::addInterface(object, &added, 0), 1);
    expectFound("", &added);
    QuorPluginInterface::renderBegin(instance.part(), nullptr);
    instance.beginFrame();
    QuorPluginInterface::frameEnd(instance.part(), nullptr);
    QuorPluginInterface::renderEnd(instance.part(), nullptr);
    PluginBase::releaseInterface(object, &added);
    expectFound(" after a frame", &added);
    expect(instance.name() + ".removeInterface", PluginBase::removeInterface(object, &added), 1);
    expectFound(" after it is removed", nullptr);
    expect(instance.name() + ": releases", added.releases, 0);
  }
}

CHECK("interfaces.twice", "an interface that was added twice has to be removed twice") {
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

CHECK("interfaces.newest",
      "of two interfaces with one identifier the newer is found, a plugin's own before both") {
  for (void* desc : descriptors()) {
    const Instance instance(desc);
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

CHECK("interfaces.objects",
      "descriptors, and outputs that are objects, take interfaces as plugins do") {
  const auto expectTaken = [](const std::string& name, void* object) {
    AddedInterface added(kUnknown);
    const auto expectFound = [&](const char* when, void* found) {
      expect(name + ".getInterface" + when, PluginBase::getInterface(object, kUnknown), found);
    };
    expect(name + ".addInterface", PluginBase::addInterface(object, &added, 0), 1);
    expectFound("", &added);
    expect(name + ".removeInterface", PluginBase::removeInterface(object, &added), 1);
    expectFound(" after removeInterface", nullptr);
  };
  expectTaken("the library descriptor", library());
  for (void* desc : descriptors()) {
    expectTaken("descriptor " + nameOf(desc), desc);
    const Instance instance(desc);
    for (const ParameterInfo& info : parametersOf(desc)) {
      void* const texture = isOutput(info) ? instance.texture(info.name) : nullptr;
      if (texture == nullptr) continue;
      if (void* object = PluginInterface::getPlugin(texture))
        expectTaken(instance.name() + '.' + info.name, object);
    }
  }
}

CHECK("interfaces.release_order",
      "a dying plugin releases what was added for that, oldest first, the rest not") {
  constexpr int kDeeperThanTheStack = 700000;
  for (void* desc : descriptors()) {
    const std::string name = nameOf(desc);
    AddedInterface oldest(1), kept(2), removed(3), newer(4), many(5);
    {
      const Instance instance(desc);
      PluginBase::addInterface(instance.object(), &oldest, 1);
      PluginBase::addInterface(instance.object(), &kept, 0);
      PluginBase::addInterface(instance.object(), &removed, 1);
      PluginBase::addInterface(instance.object(), nullptr, 1);
      PluginBase::addInterface(instance.object(), &newer, 1);
      for (int i = 0; i < kDeeperThanTheStack; ++i) {
        PluginBase::addInterface(instance.object(), &many, 1);
      }
      PluginBase::removeInterface(instance.object(), &removed);
    }
    expect(name + ": releases of the oldest", oldest.releases, 1);
    expect(name + ": releases of a newer one", newer.releases, 1);
    expect(name + ": releases of one that was added often", many.releases, kDeeperThanTheStack);
    expect(name + ": releases of one that is kept", kept.releases, 0);
    expect(name + ": releases of one that was removed", removed.releases, 0);
    expect(name + ": released in their order", oldest.turn < newer.turn && newer.turn < many.turn,
           true);
  }
}

CHECK("interfaces.busy", "an interface can use the dying plugin's list while it is released") {
  for (void* desc : descriptors()) {
    const std::string name = nameOf(desc);
    AddedInterface oldest(1), busy(2), removed(3), other(4), late(5);
    {
      const Instance instance(desc);
      void* const object = instance.object();
      for (AddedInterface* added : {&oldest, &busy, &removed, &other}) {
        PluginBase::addInterface(object, added, 1);
      }
      busy.whenReleased = [&, object] {
        expect(name + ".getInterface of the one being released",
               PluginBase::getInterface(object, 2) == nullptr, true);
        expect(name + ".getInterface of one that is still there",
               PluginBase::getInterface(object, 4), &other);
        expect(name + ".removeInterface", PluginBase::removeInterface(object, &removed), 1);
        expect(name + ".addInterface", PluginBase::addInterface(object, &late, 1), 1);
      };
    }
    expect(name + ": releases of one that was removed", removed.releases, 0);
    for (const AddedInterface* added : {&oldest, &busy, &other, &late}) {
      expect(name + ": releases", added->releases, 1);
    }
  }
}

// An object whose table is replaced by one that notes what its owner is told.
void* released;
void noteRelease(void* /*self*/, void* iface) { released = iface; }

CHECK("interfaces.owner", "a plugin is told when the user of one of its interfaces releases it") {
  for (void* desc : descriptors()) {
    const Instance instance(desc);
    void*& table = words(instance.object())[0];
    void* const whole = table;
    const TableEntry noting = PluginBase::releaseInterface.entry<noteRelease>();
    void* entries[PluginBase::removeInterface.slot() + 1];
    std::copy_n(virtualTable(instance.object()), std::size(entries), entries);
    entries[noting.slot] = noting.function;
    table = entries;
    PluginInterface::release(instance.part());
    table = whole;
    expect(instance.name() + ".releaseInterface", released, instance.part());
  }
}

}  // namespace

}  // namespace validate
