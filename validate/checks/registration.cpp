// SPDX-License-Identifier: MIT
#include "validate/subject/subject.h"

namespace validate {

namespace {

/// The host's registry: what was announced to it, in order.
struct Registry {
  void* const* table;
  std::vector<void*> registered{}, unregistered{};
  bool parametersFirst = false;
};
void registerDesc(Registry* registry, void* desc) {
  registry->registered.push_back(desc);
  registry->parametersFirst = areParametersRegistered(desc);
}
void unregisterDesc(Registry* registry, void* desc) { registry->unregistered.push_back(desc); }
const Table registryTable{
    QuorPluginHost::registerPluginDesc.entry<registerDesc>(),
    QuorPluginHost::unregisterPluginDesc.entry<unregisterDesc>(),
};

/// That this descriptor was announced `times` times, and no other.
void expectAnnounced(const std::string& asked, const std::vector<void*>& announced, void* desc,
                     std::int32_t times) {
  expect(asked + ": announcements", static_cast<std::int32_t>(announced.size()), times);
  for (void* one : announced) expect(asked + ": what is announced", one, desc);
}

CHECK(registration, null, "without a host registering and withdrawing do nothing") {
  for (void* desc : enumerate(library()).descs) {
    PluginDesc::registerPlugin(desc, nullptr);
    PluginDesc::unregisterPlugin(desc, nullptr);
  }
}

CHECK(registration, announced,
      "a descriptor announces itself, then its parameters, withdraws once and can come back") {
  for (void* desc : enumerate(library()).descs) {
    Registry registry{registryTable.slots};
    const std::string name = nameOf(desc);
    PluginDesc::registerPlugin(desc, &registry);
    expectAnnounced(name + ".registerPlugin", registry.registered, desc, 1);
    expectAnnounced(name + ".registerPlugin", registry.unregistered, desc, 0);
    expect(name + ": parameters announced before the plugin", registry.parametersFirst, false);
    expect(name + ": parameters announced, if any",
           areParametersRegistered(desc) || parametersOf(desc).empty(), true);
    PluginDesc::unregisterPlugin(desc, &registry);
    expectAnnounced(name + ".unregisterPlugin", registry.registered, desc, 1);
    expectAnnounced(name + ".unregisterPlugin", registry.unregistered, desc, 1);
    PluginDesc::registerPlugin(desc, &registry);
    expectAnnounced(name + ".registerPlugin after unregisterPlugin", registry.registered, desc, 2);
    const Instance instance(desc);
    instance.beginFrame();
  }
}

CHECK(registration, twice, "a descriptor that is registered twice announces itself twice") {
  for (void* desc : enumerate(library()).descs) {
    Registry registry{registryTable.slots};
    const std::size_t parameters = parametersOf(desc).size();
    PluginDesc::registerPlugin(desc, &registry);
    PluginDesc::registerPlugin(desc, &registry);
    expectAnnounced(nameOf(desc) + ".registerPlugin twice", registry.registered, desc, 2);
    expect(nameOf(desc) + ": parameters as before", parametersOf(desc).size() == parameters, true);
    PluginDesc::unregisterPlugin(desc, &registry);
  }
}

}  // namespace

}  // namespace validate
