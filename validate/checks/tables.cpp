// SPDX-License-Identifier: MIT
#include <set>

#include "validate/subject/host.h"
#include "validate/subject/subject.h"

namespace validate {

namespace {

CHECK(tables, texts, "parameters have unique names, known types and texts in UTF-8") {
  for (void* desc : descriptors()) {
    std::set<std::string> names;
    for (const ParameterInfo& info : parametersOf(desc)) {
      expectName(nameOf(desc) + ": a parameter's name", info.name);
      const std::string parameter = nameOf(desc) + '.' + info.name;
      expect(parameter + ": its name is new", names.insert(info.name).second, true);
      expect(parameter + ": its type is known", info.type >= 0 && info.type < ParameterType::Count,
             true);
      if (info.help != nullptr) expectUtf8(parameter + ": help", info.help);
      if (info.text != nullptr) expectUtf8(parameter + ": text", info.text);
    }
  }
}

CHECK(tables, values,
      "getParameter finds each parameter with its kind and first value, inputs without a texture") {
  for (const Instance& instance : Instances()) {
    for (const ParameterInfo& info : parametersOf(instance.desc())) {
      const std::string asked = instance.name() + ".getParameter(" + text(info.name) + ")";
      const QuorPluginParameter& found = instance.parameter(info.name);
      expect(asked + ": name", found.name, info.name);
      const ParameterKind kind = info.type == ParameterType::Integer   ? ParameterKind::Integer
                                 : info.type == ParameterType::Boolean ? ParameterKind::Boolean
                                                                       : ParameterKind::Interface;
      expect(asked + ": kind", static_cast<std::int32_t>(found.kind),
             static_cast<std::int32_t>(kind));
      if (kind == ParameterKind::Integer) expect(asked, found.value.integer, info.initial);
      if (kind == ParameterKind::Boolean) expect(asked, found.value.boolean, info.initial != 0);
      if (kind != ParameterKind::Interface) continue;
      expect(asked + ": has a texture", found.value.iface != nullptr, isOutput(info));
    }
  }
}

CHECK(tables, unknown, "a name that is no parameter's is not found and takes no value") {
  for (const Instance& instance : Instances()) {
    expect(instance.name() + ".getParameter of an unknown name", instance.find("no such parameter"),
           nullptr);
    expect(instance.name() + ".setParameter of an unknown name",
           instance.connect("no such parameter", nullptr), 0);
  }
}

CHECK(tables, inputs,
      "an input takes a texture or number of its kind, and gives it up; integers may have limits") {
  for (const Instance& instance : Instances()) {
    for (const ParameterInfo& info : parametersOf(instance.desc())) {
      if (isOutput(info)) continue;
      const std::string asked = instance.name() + ".setParameter(" + text(info.name) + ")";
      const auto& value = instance.parameter(info.name).value;
      const auto expectTaken = [&](std::int32_t answer, const auto& has, const auto& given) {
        expect(asked, answer, 1);
        instance.beginFrame();
        expect(asked + ": what it has then", has, given);
      };
      if (isTextureInput(info)) {
        Input input(kindOf(info));
        for (void* texture : {static_cast<void*>(&input), static_cast<void*>(nullptr)}) {
          expectTaken(instance.connect(info.name, texture), value.iface, texture);
        }
      } else if (info.type == ParameterType::Boolean) {
        for (const bool on : {true, false}) {
          expectTaken(instance.set(info.name, ParameterKind::Boolean, on), value.boolean, on);
        }
      } else {
        instance.set(info.name, ParameterKind::Integer, info.initial ^ 1);
        expectTaken(instance.set(info.name, ParameterKind::Integer, info.initial), value.integer,
                    info.initial);
      }
    }
  }
}

}  // namespace

}  // namespace validate
