// SPDX-License-Identifier: MIT
#include <set>

#include "validate/subject/subject.h"

namespace validate {

namespace {

CHECK(enumeration, count,
      "without a visitor the enumeration answers the number of descriptors that it shows") {
  const Enumeration all = enumerate(library());
  expect("enumPluginDescs(visitor)", all.answer, static_cast<std::int32_t>(all.descs.size()));
  expect("enumPluginDescs(null)", PluginLibDesc::enumPluginDescs(library(), nullptr), all.answer);
}

CHECK(enumeration, stop,
      "a visitor that has seen enough is shown no more, and the last one counts") {
  const std::vector<void*> all = enumerate(library()).descs;
  for (int wanted = 1; wanted <= static_cast<int>(all.size()); ++wanted) {
    const std::string asked = "enumPluginDescs, stopped after " + text(wanted);
    const Enumeration some = enumerate(library(), wanted);
    expect(asked, some.answer, wanted);
    expect(asked + ": shown", static_cast<std::int32_t>(some.descs.size()), wanted);
    for (std::size_t i = 0; i < some.descs.size(); ++i) expect(asked, some.descs[i], all[i]);
  }
}

CHECK(enumeration, again,
      "a second enumeration, after the first or inside it, shows the same in the same order") {
  const auto shown = [](const std::function<void()>& meanwhile) {
    std::string names;
    for (void* desc : enumerate(library(), -1, meanwhile).descs) {
      names += nameOf(desc) + ", " + text(desc) + "; ";
    }
    return names;
  };
  const std::string first = shown({});
  const auto expectAgain = [&] { expect("descriptors shown again", shown({}), first); };
  expectAgain();
  expect("descriptors shown around others", shown(expectAgain), first);
}

CHECK(enumeration, names,
      "names and ids of plugins are unique, all names are there, and all texts in UTF-8") {
  std::set<std::string> names;
  std::set<std::uint64_t> ids;
  expectName("getLibraryName", PluginLibDesc::getLibraryName(library()));
  expectUtf8("getLibraryDescription", PluginLibDesc::getLibraryDescription(library()));
  for (void* desc : enumerate(library()).descs) {
    expectName("getPluginName", PluginDesc::getPluginName(desc));
    expect(nameOf(desc) + ": its name is new", names.insert(nameOf(desc)).second, true);
    const std::uint64_t id = PluginDesc::getPluginId(desc);
    expect(nameOf(desc) + ": its id is new", ids.insert(id).second, true);
    expect(nameOf(desc) + ": its id again", PluginDesc::getPluginId(desc), id);
  }
}

}  // namespace

}  // namespace validate
