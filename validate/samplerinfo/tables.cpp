// SPDX-License-Identifier: MIT
#include <string_view>

#include "validate/samplerinfo/records.h"
#include "validate/subject/subject.h"

namespace validate {

namespace {

constexpr std::string_view kRecord[] = {
#include "tables.inc"
};
constexpr const char* kTypes[] = {
    "color input",  "float input",  "vector input",  "integer",        "boolean",
    "color output", "float output", "vector output", "integer output", "transform output",
};

constexpr Identifier kPlugin{EXT_QUOR_PLUGIN, "EXT_QUOR_PLUGIN"}, kShader{EXT_RTTEX, "EXT_RTTEX"};

CHECK(samplerinfo, tables,
      "library, plugins and parameters are described word for word as recorded") {
  const std::vector<std::string> lines = tableLines();
  for (std::size_t i = 0; i < lines.size() || i < std::size(kRecord); ++i) {
    expect("line " + std::to_string(i + 1) + " of the tables",
           i < lines.size() ? lines[i] : "no more",
           std::string(i < std::size(kRecord) ? kRecord[i] : "no more"));
  }
}

}  // namespace

std::vector<std::string> tableLines() {
  std::vector<std::string> lines;
  const auto add = [&lines](const std::string& what, const char* value) {
    lines.push_back(what + ' ' + text(value));
  };
  add("library", PluginLibDesc::getLibraryName(library()));
  add("description", PluginLibDesc::getLibraryDescription(library()));
  for (void* desc : descriptors()) {
    add("plugin", PluginDesc::getPluginName(desc));
    lines.push_back("  id " + text(PluginDesc::getPluginId(desc)));
    for (const Identifier& announced : {kPlugin, kTextureIds[TextureKind::Color], kShader}) {
      if (PluginDesc::supportsInterface(desc, announced.id) != 0) {
        lines.push_back(std::string("  announces ") + announced.name);
      }
    }
    const Instance instance(desc);
    for (const Identifier& kind :
         {kPlugin, kTextureIds[TextureKind::Color], kShader, kTextureIds[TextureKind::Float]}) {
      void* const part = PluginBase::getInterface(instance.object(), kind.id);
      if (part == nullptr) continue;
      lines.push_back(std::string("  has ") + kind.name + " at pointer " +
                      text(static_cast<std::int32_t>(words(part) - words(instance.object()))));
      expect(kind.name, PluginInterface::getInterfaceName(part), kind.name);
      expect(std::string(kind.name) + "->getPlugin()", PluginInterface::getPlugin(part),
             instance.object());
    }
    for (const ParameterInfo& info : parametersOf(desc)) {
      std::string line = std::string("  ") + kTypes[info.type] + ' ' + text(info.name);
      if (!isOutput(info)) line += ", flags " + text(info.flags);
      if (info.type == ParameterType::Integer || info.type == ParameterType::Boolean) {
        line += ", first " + text(info.initial);
      }
      lines.push_back(line);
      add("    help", info.help);
      if (info.text != nullptr) add("    text", info.text);
    }
  }
  return lines;
}

}  // namespace validate
