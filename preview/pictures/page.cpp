// SPDX-License-Identifier: MIT
#include "preview/pictures/page.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "live_js.h"
#include "network_js.h"
#include "page_css.h"
#include "page_html.h"
#include "page_js.h"

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

}  // namespace

std::string pageText(const Json& scene, bool isLive) {
  std::string page = kPageHtml;
  const auto fill = [&](std::string_view gap, const std::string& text) {
    page.replace(page.find(gap), gap.size(), text);
  };
  fill("/*STYLE*/", kPageCss);
  fill("/*PAGE*/", kPageJs);
  fill("/*NETWORK*/", kNetworkJs);
  fill("/*LIVE*/", isLive ? kLiveJs : "");
  fill("/*SCENE*/null", scriptOf(scene));
  return page;
}

Json pageNumbers(const PictureNumbers& picture) {
  Json channels = Json::array();
  for (const auto& [min, max] : picture.channels) {  // infinity becomes null
    channels.push_back({{"min", min}, {"max", max}});
  }
  const auto& outside = picture.outsideBounds;
  return {{"nan", picture.specials.nan},
          {"plusInfinity", picture.specials.plusInfinity},
          {"minusInfinity", picture.specials.minusInfinity},
          {"aboveWhite", picture.specials.aboveWhite},
          {"belowBlack", picture.specials.belowBlack},
          {"outsideBounds", outside ? Json(*outside) : Json()},
          {"channels", channels}};
}

std::string pageNumbersText(const std::string& render, std::int32_t frame,
                            std::span<const PictureNumbers> pictures) {
  Json json = Json::array();
  for (const PictureNumbers& picture : pictures) json.push_back(pageNumbers(picture));
  return renderLine(render) + "\n" + std::to_string(frame) + ", " + scriptOf(json) + ");\n";
}

std::string renderLine(const std::string& render) { return "takeNumbers(\"" + render + "\","; }

}  // namespace preview
