// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include <fmt/format.h>

#include "host/report/sheet.h"

namespace quorvel::host {
namespace {

constexpr const char* kStyle = R"(
:root { color-scheme: dark; --ground: #14171a; --raised: #1d2226; --line: #2f363c; --text: #e8e6e1; --dim: #9aa3a8; --mark: #e0b64a; }
* { box-sizing: border-box; margin: 0; }
body { background: var(--ground); color: var(--text); font: 16px/1.5 system-ui, "Segoe UI", sans-serif; padding: 40px 24px 64px; }
main { max-width: 1180px; margin: 0 auto; }
h1 { font-size: 30px; font-weight: 650; letter-spacing: -.01em; }
h2 { font-size: 19px; font-weight: 600; margin: 44px 0 14px; }
p.lead, p.note { color: var(--dim); max-width: 74ch; }
p.note { font-size: 14px; margin-top: 10px; }
table { width: 100%; border-collapse: collapse; margin-top: 22px; font-variant-numeric: tabular-nums; }
th { text-align: left; font-size: 13px; font-weight: 500; color: var(--dim); padding: 6px 14px 6px 0; }
td { border-top: 1px solid var(--line); padding: 10px 14px 10px 0; }
td.bar { width: 34%; padding-right: 0; }
td.bar span { display: block; height: 10px; border-radius: 5px; background: var(--mark); }
.best { color: var(--mark); font-weight: 600; }
.views { border: 1px solid var(--line); border-radius: 10px; overflow: hidden; background: var(--raised); }
.views input { position: absolute; opacity: 0; }
.views label { display: inline-block; padding: 10px 18px; cursor: pointer; color: var(--dim); border-bottom: 2px solid transparent; }
.views input:checked + label { color: var(--text); border-color: var(--mark); }
.views input:focus-visible + label { outline: 2px solid var(--mark); outline-offset: -2px; }
.views .stack { display: grid; border-top: 1px solid var(--line); }
.views .stack a { grid-area: 1 / 1; visibility: hidden; }
.views img { display: block; width: 100%; height: auto; }
.row { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(100%, 258px), 1fr)); gap: 14px; }
figure { background: var(--raised); border: 1px solid var(--line); border-radius: 10px; overflow: hidden; }
.crop { width: 100%; image-rendering: pixelated; background-repeat: no-repeat; }
.plot { display: block; max-width: 100%; height: auto; margin: 0 auto; }
figcaption { padding: 8px 12px; font-size: 14px; color: var(--dim); }
)";

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string table(const Sheet& sheet) {
  double fastest = 0, closest = 0;
  for (const SheetEntry& e : sheet.entries) {
    fastest = std::max(fastest, e.megapixelsPerSecond.value_or(0));
    if (e.quality) closest = std::max(closest, e.quality->all);
  }
  const bool measured = closest > 0;
  std::string html = "<table><tr><th>Method</th>";
  if (measured) html += "<th>PSNR</th><th>red</th><th>green</th><th>blue</th>";
  html += "<th>Megapixels a second</th><th></th></tr>\n";
  for (const SheetEntry& e : sheet.entries) {
    if (!e.megapixelsPerSecond) continue;
    html += fmt::format("<tr><td>{}</td>", escaped(e.title));
    if (measured && e.quality) {
      html += fmt::format("<td{}>{:.2f} dB</td>", e.quality->all == closest ? " class=\"best\"" : "", e.quality->all);
      for (const double colour : e.quality->colour) html += fmt::format("<td>{:.2f}</td>", colour);
    }
    html += fmt::format("<td{}>{:.0f}</td><td class=\"bar\"><span style=\"width:{:.1f}%\"></span></td></tr>\n",
                        *e.megapixelsPerSecond == fastest ? " class=\"best\"" : "", *e.megapixelsPerSecond,
                        100 * *e.megapixelsPerSecond / fastest);
  }
  html += "</table>\n";
  if (measured) {
    html += fmt::format(
        "<p class=\"note\">PSNR of the linear colour planes against the scene without noise, peak {}, "
        "without {} pixels at each edge. Speed is that of the demosaicing on one thread.</p>\n",
        kFullScale, kPsnrBorder);
  }
  return html;
}

// The whole pictures, one seen at a time, without a script.
std::string views(const Sheet& sheet) {
  std::string choices, pictures, rules;
  for (std::size_t i = 0; i < sheet.entries.size(); ++i) {
    const SheetEntry& e = sheet.entries[i];
    choices += fmt::format("<input type=\"radio\" name=\"view\" id=\"v{0}\"{1}><label for=\"v{0}\">{2}</label>\n", i,
                           i == 0 ? " checked" : "", escaped(e.title));
    pictures +=
        fmt::format("<a href=\"{0}\" class=\"p{1}\"><img src=\"{0}\" alt=\"{2}\"></a>\n", e.file, i, escaped(e.title));
    rules += fmt::format("#v{0}:checked ~ .stack .p{0} {{ visibility: visible; }}\n", i);
  }
  return fmt::format("<style>{}</style><div class=\"views\">{}<div class=\"stack\">{}</div></div>\n", rules, choices,
                     pictures);
}

// A part of a picture, as wide as its place on the page, with hard pixels. Percentages of a background's position are
// of what sticks out.
std::string crop(const SheetEntry& e, const Region& r) {
  const auto share = [](unsigned at, unsigned span, unsigned whole) {
    return whole > span ? 100.0 * at / (whole - span) : 0.0;
  };
  return fmt::format(
      "<figure><div class=\"crop\" style=\"background-image:url('{}');aspect-ratio:{}/{};background-size:{:.4f}% "
      "{:.4f}%;background-position:{:.4f}% {:.4f}%\" role=\"img\" aria-label=\"{}, "
      "{}\"></div><figcaption>{}</figcaption></figure>\n",
      e.file, r.width, r.height, 100.0 * e.picture.width / r.width, 100.0 * e.picture.height / r.height,
      share(r.x, r.width, e.picture.width), share(r.y, r.height, e.picture.height), escaped(e.title), r.name,
      escaped(e.title));
}

}  // namespace

std::string sheetPage(const Sheet& sheet) {
  std::string html = fmt::format(
      "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
      "content=\"width=device-width, initial-scale=1\"><title>{0}: demosaicing side by "
      "side</title><style>{1}</style></head>\n"
      "<body><main><h1>Demosaicing side by side</h1>\n<p class=\"lead\">{0}. {2}</p>\n",
      escaped(sheet.frame), kStyle, escaped(sheet.remarks));
  html += table(sheet);
  html += "<h2>The whole frame</h2>\n" + views(sheet);
  for (const Region& region : sheet.regions) {
    std::string title = region.name;
    title[0] = static_cast<char>(title[0] >= 'a' && title[0] <= 'z' ? title[0] - 'a' + 'A' : title[0]);
    html += fmt::format("<h2>{}</h2>\n<div class=\"row\">\n", title);
    for (const SheetEntry& e : sheet.entries) html += crop(e, region);
    html += "</div>\n";
  }
  for (const SheetFigure& f : sheet.figures) {
    html += fmt::format("<h2>{1}</h2>\n<figure><img class=\"plot\" src=\"{0}\" alt=\"{1}\"></figure>\n", f.file,
                        escaped(f.title));
  }
  return html + "</main></body></html>\n";
}

}  // namespace quorvel::host
