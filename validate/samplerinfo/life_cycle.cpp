// SPDX-License-Identifier: MIT
#include <algorithm>

#include "validate/checks/added_interface.h"
#include "validate/subject/subject.h"
#include "validate/system/process.h"

namespace validate {

namespace {

CHECK(samplerinfo, exports, "the module exports getLibDesc and nothing else") {
  const Loaded module;
  std::string names;
  for (const std::string& name : exportsOf(module.handle())) names += name + ' ';
  expect("exports", names, "getLibDesc ");
}

CHECK(samplerinfo, life_cycle, made,
      "newPlugin makes a plugin without interfaces, whatever it is given, registered or not") {
  for (void* desc : enumerate(library()).descs) {
    const Instance instance(desc);
    expect(instance.name() + ": interfaces", words(instance.object())[kInterfacesOfBase], nullptr);
    PluginDesc::deletePlugin(desc, PluginDesc::newPlugin(desc, desc));
  }
}

CHECK(samplerinfo, life_cycle, repeated,
      "renders and frames begin and end in any number, and a plugin can go in the middle") {
  for (const Instance& instance : Instances()) {
    const auto thrice = [&instance](const auto& call) {
      for (int i = 0; i < 3; ++i) call(instance.part(), nullptr);
    };
    thrice(QuorPluginInterface::renderBegin);
    thrice(QuorPluginInterface::frameBegin);
    thrice(QuorPluginInterface::frameEnd);
    thrice(QuorPluginInterface::renderEnd);
    thrice(QuorPluginInterface::frameBegin);
  }
}

CHECK(samplerinfo, interfaces, many,
      "a dying plugin releases more interfaces than fit on a stack") {
  constexpr int kMany = 1000000;
  for (void* desc : descriptors()) {
    AddedInterface added(1);
    {
      const Instance instance(desc);
      for (int i = 0; i < kMany; ++i) PluginBase::addInterface(instance.object(), &added, 1);
    }
    expect(nameOf(desc) + ": releases", added.releases, kMany);
  }
}

CHECK(samplerinfo, interfaces, busy,
      "an interface that is released is still on the dying plugin's list, and can change it") {
  for (void* desc : descriptors()) {
    const std::string name = nameOf(desc);
    AddedInterface oldest(1), busy(2), removed(3), leaving(4), other(5), late(6);
    {
      const Instance instance(desc);
      void* const object = instance.object();
      for (AddedInterface* added : {&oldest, &busy, &removed, &leaving, &other}) {
        PluginBase::addInterface(object, added, 1);
      }
      busy.whenReleased = [&, object] {
        expect(name + ".getInterface of the one being released",
               PluginBase::getInterface(object, 2), &busy);
        expect(name + ".getInterface of one that was released", PluginBase::getInterface(object, 1),
               nullptr);
        expect(name + ".getInterface of one that is still there",
               PluginBase::getInterface(object, 5), &other);
        expect(name + ".removeInterface", PluginBase::removeInterface(object, &removed), 1);
      };
      leaving.whenReleased = [&, object] {
        expect(name + ".removeInterface of the one being released",
               PluginBase::removeInterface(object, &leaving), 1);
        expect(name + ".addInterface", PluginBase::addInterface(object, &late, 1), 1);
      };
      other.whenReleased = [&] {
        expect(name + ": releases of one that was added meanwhile", late.releases, 1);
      };
    }
    expect(name + ": releases of one that was removed", removed.releases, 0);
    for (const AddedInterface* added : {&oldest, &busy, &leaving, &other, &late}) {
      expect(name + ": releases", added->releases, 1);
    }
  }
}

// An object whose table is replaced by one that notes what its owner is told.
void* released;
void noteRelease(void* /*self*/, void* iface) { released = iface; }

CHECK(samplerinfo, interfaces, owner,
      "a plugin is told when the user of one of its interfaces releases it") {
  for (const Instance& instance : Instances()) {
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
