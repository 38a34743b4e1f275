#include "preview/reports.h"

#include <algorithm>
#include <iomanip>

#include "preview/messages/number_text.h"
#include "preview/scene/texture.h"
#include "preview/world/frame.h"
#include "standin/introspection.h"

namespace preview {

namespace {

using standin::ParameterInfo;
using standin::ParamType;

std::string defaultText(const ParameterInfo& info) {
  if (info.type == ParamType::Integer) return std::to_string(info.initial);
  if (info.type == ParamType::Boolean) return info.initial != 0 ? "true" : "false";
  return "";
}

std::string forMarkdown(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '|' || c == '*' || c == '_' || c == '<') result += '\\';
    result += c;
  }
  return result;
}

}  // namespace

void listPlugins(const PluginLibrary& library, bool markdown, std::ostream& out) {
  const char* separator = "";
  for (QuorPluginDesc* desc : library.descs()) {
    out << separator << (markdown ? "## " : "") << desc->getPluginName() << "\n";
    separator = "\n";
    if (markdown) out << "\n| parameter | kind | default | help |\n|---|---|---|---|\n";
    for (const ParameterInfo& info : standin::registeredParameters(desc)) {
      const std::string kind = std::string(info.kind().value) + info.kind().role;
      const std::string help = info.help != nullptr ? info.help : "";
      if (markdown) {
        out << "| `" << info.name << "` | " << kind << " | " << defaultText(info) << " | "
            << forMarkdown(help) << " |\n";
      } else {
        out << "  " << std::left << std::setw(20) << info.name << std::setw(18) << kind
            << std::setw(7) << defaultText(info) << help << "\n";
      }
    }
  }
}

void probe(const Scene& scene, const std::vector<Mesh>& meshes, const Network& network,
           std::int32_t number, int x, int y, RenderLog* log, std::ostream& out) {
  const auto textures = network.textures();
  std::size_t width = 0;
  for (const auto& [name, texture] : textures) width = std::max(width, name.size());

  const auto report = [&](const ShadingContext& sc, std::size_t object) {
    const DVector& p = sc.shadingPoint;
    out << "object " << scene.objects[object].name << ", render space (" << text(p.x) << ", "
        << text(p.y) << ", " << text(p.z) << "), ray time " << text(sc.rayTime) << "\n";
    for (const auto& [name, texture] : textures) {
      const auto shown = [&, &texture = *texture](Show show) {
        const auto values = evaluate(texture, show, sc);
        return text(std::span(values).first(static_cast<std::size_t>(channelCount(texture, show))));
      };
      out << std::left << std::setw(static_cast<int>(width)) << name << "  " << kindName(*texture);
      if (texture->getInterfaceId() == EXT_TEXTURE_TRANSFORM) {
        out << "  columns " << shown(Show::Column0) << " " << shown(Show::Column1) << " "
            << shown(Show::Column2) << "  offset " << shown(Show::Offset) << "\n";
        continue;
      }
      if (texture->getInterfaceId() == EXT_TEXTURE_INT) {
        const auto* integer = static_cast<const TextureIntInterface*>(texture);
        out << "  value " << integer->getInt(sc) << "\n";
        continue;
      }
      out << "  value " << shown(Show::Value) << "  bounds " << shown(Show::Lower) << " to "
          << shown(Show::Upper) << "  gradient " << shown(Show::Gradient) << "\n";
    }
  };

  const Frame frame(scene, meshes, number, log);
  network.renderBegin();
  network.frameBegin();
  out << "frame " << number << ", pixel " << x << "," << y << ": ";
  if (!frame.shade(x + 0.5, y + 0.5, (scene.shutter.open + scene.shutter.close) / 2, report)) {
    out << "nothing is seen there\n";
  }
  network.frameEnd();
  network.renderEnd();
}

}  // namespace preview
