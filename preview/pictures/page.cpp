// SPDX-License-Identifier: MIT
#include "preview/pictures/page.h"

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

#include "page_html.h"
#include "preview/pictures/image_files.h"

namespace preview {
namespace {

using Json = nlohmann::ordered_json;

/// JSON that a script in a page can hold: nothing in it ends the script.
std::string scriptOf(const Json& json) {
  std::string text;
  for (const char c : json.dump(-1, ' ', true, Json::error_handler_t::replace)) {
    text += c == '<' ? "\\u003c" : std::string(1, c);
  }
  return text;
}

void writeText(const std::filesystem::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw WriteError(path, std::generic_category().message(errno));
}

}  // namespace

void writePage(const std::filesystem::path& path, const PageScene& scene) {
  Json pictures = Json::array();
  for (const PagePicture& picture : scene.pictures) {
    pictures.push_back({{"name", picture.name},
                        {"caption", picture.caption},
                        {"layer", picture.layer},
                        {"node", picture.node},
                        {"plugin", picture.plugin},
                        {"kind", picture.kind},
                        {"channels", picture.channels},
                        {"boundsEnclose", picture.boundsEnclose},
                        {"low", picture.low},
                        {"high", picture.high}});
  }
  const Json json = {{"name", scene.name},       {"width", scene.width}, {"height", scene.height},
                     {"samples", scene.samples}, {"first", scene.first}, {"last", scene.last},
                     {"digits", scene.digits},   {"pictures", pictures}};
  constexpr std::string_view kGap = "/*SCENE*/null";
  std::string page = kPageHtml;
  page.replace(page.find(kGap), kGap.size(), scriptOf(json));
  writeText(path, page);
}

void writePageNumbers(const std::filesystem::path& path, std::int32_t frame,
                      std::span<const PictureNumbers> pictures) {
  Json json = Json::array();
  for (const PictureNumbers& picture : pictures) {
    Json channels = Json::array();
    for (const auto& [min, max] : picture.channels) {  // infinity becomes null
      channels.push_back({{"min", min}, {"max", max}});
    }
    const auto& outside = picture.outsideBounds;
    json.push_back({{"nan", picture.specials.nan},
                    {"plusInfinity", picture.specials.plusInfinity},
                    {"minusInfinity", picture.specials.minusInfinity},
                    {"aboveWhite", picture.specials.aboveWhite},
                    {"belowBlack", picture.specials.belowBlack},
                    {"outsideBounds", outside ? Json(*outside) : Json()},
                    {"channels", channels}});
  }
  writeText(path, "takeNumbers(" + std::to_string(frame) + ", " + scriptOf(json) + ");\n");
}

}  // namespace preview
