// SPDX-License-Identifier: MIT
#include <iomanip>
#include <iostream>
#include <nlohmann/json.hpp>
#include <span>

#include "preview/commands/options.h"
#include "preview/diagnostics/selection.h"
#include "preview/scene/guarantees.h"
#include "standin/introspection.h"

namespace preview {

namespace {

using Json = nlohmann::ordered_json;
using standin::ParameterInfo;
using standin::ParamType;

std::string defaultText(const ParameterInfo& info) {
  if (info.type == ParamType::Integer) return std::to_string(info.initial);
  if (info.type == ParamType::Boolean) return info.initial != 0 ? "true" : "false";
  return "";
}

std::string kindText(const ParameterInfo& info) {
  return std::string(info.kind().value) + info.kind().role;
}

std::string helpText(const ParameterInfo& info) { return info.help != nullptr ? info.help : ""; }

/// Integers and transforms have neither bounds nor gradient, and of other libraries' plugins
/// nothing is known.
bool hasKnownGuarantees(const std::string& plugin, const ParameterInfo& info) {
  return hasGuarantees(plugin) && info.isOutput() && info.type != ParamType::IntegerOutput &&
         info.type != ParamType::TransformOutput;
}

std::string forMarkdown(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '|' || c == '*' || c == '_' || c == '<') result += '\\';
    result += c;
  }
  return result;
}

void listAsText(const std::string& plugin, const std::filesystem::path& module,
                std::span<const ParameterInfo> parameters, std::ostream& out) {
  out << std::left << std::setw(22) << plugin << shownPath(module) << "\n";
  for (const ParameterInfo& info : parameters) {
    out << "  " << std::setw(20) << info.name << std::setw(18) << kindText(info) << std::setw(7)
        << defaultText(info) << helpText(info) << "\n";
  }
}

void listAsMarkdown(const std::string& plugin, std::span<const ParameterInfo> parameters,
                    std::ostream& out) {
  out << "### " << plugin
      << "\n\n| parameter | kind | default | bounds enclose | gradient | help |\n"
         "|---|---|---|---|---|---|\n";
  for (const ParameterInfo& info : parameters) {
    std::string guaranteed = " | ";
    if (hasKnownGuarantees(plugin, info)) {
      const Guarantee guarantee = guaranteeOf(plugin, info.name);
      guaranteed = std::string(guarantee.boundsEnclose ? "yes" : "no") + " | " + guarantee.gradient;
    }
    out << "| `" << info.name << "` | " << kindText(info) << " | " << defaultText(info) << " | "
        << guaranteed << " | " << forMarkdown(helpText(info)) << " |\n";
  }
}

Json listAsJson(const std::string& plugin, const std::filesystem::path& module,
                std::span<const ParameterInfo> parameters) {
  Json list = Json::array();
  for (const ParameterInfo& info : parameters) {
    Json& json = list.emplace_back(Json{{"name", info.name}, {"kind", kindText(info)}});
    if (info.type == ParamType::Integer) json["default"] = info.initial;
    if (info.type == ParamType::Boolean) json["default"] = info.initial != 0;
    json["help"] = helpText(info);
    if (hasKnownGuarantees(plugin, info)) {
      const Guarantee guarantee = guaranteeOf(plugin, info.name);
      json["boundsEnclose"] = guarantee.boundsEnclose;
      json["gradient"] = guarantee.gradient;
    }
  }
  return {{"name", plugin}, {"module", module.string()}, {"parameters", list}};
}

/// The plugins with their parameters, as registered, and the modules that they are from.
struct List {
  std::vector<std::string> patterns;
  bool asMarkdown = false, asJson = false;

  void addTo(CLI::App& command, Session& /*session*/) {
    command.add_option("NAME", patterns, "Only these; * and ? stand for any letters");
    command.add_flag("--markdown", asMarkdown, "As tables in Markdown")
        ->excludes(command.add_flag("--json", asJson, "As JSON"));
  }

  void run(Session& session) const {
    const PluginLibrary library = loadPlugins(session);
    std::vector<std::string> names;
    for (const QUtils::QuorPluginDesc* desc : library.descs()) {
      names.emplace_back(desc->getPluginName());
    }
    const Selection selection(patterns, "no plugin", names);
    Json all = Json::array();
    const char* separator = "";
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (!selection.has(names[i])) continue;
      const auto parameters = standin::registeredParameters(library.descs()[i]);
      const std::filesystem::path& module = library.moduleOf(library.descs()[i]).file();
      if (asJson) {
        all.push_back(listAsJson(names[i], module, parameters));
        continue;
      }
      std::cout << std::exchange(separator, "\n");
      if (asMarkdown) {
        listAsMarkdown(names[i], parameters, std::cout);
      } else {
        listAsText(names[i], module, parameters, std::cout);
      }
    }
    if (asJson) writeJson(all);
  }
};

}  // namespace

void addList(CLI::App& program, Session& session) {
  addCommand<List>(program, session, "list", "List plugins with their parameters");
}

}  // namespace preview
