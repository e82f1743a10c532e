// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/html_page.h"

#include <cstdint>

#include "results/field_text.h"
#include "results/path_parts.h"

namespace quill {

namespace {

constexpr const char* kEnd = "\n";
constexpr const char* kReplacement = "\xEF\xBF\xBD";

constexpr const char* kStyle = R"(
:root { color-scheme: light dark; --page: #fff; --ink: #1d1d21; --dim: #6b6b76; --line: #dcdce2;
  --head: #f1f1f4; }
@media (prefers-color-scheme: dark) {
  :root { --page: #18181b; --ink: #e9e9ed; --dim: #9c9ca8; --line: #36363d; --head: #26262b; }
}
body { margin: 2rem auto; max-width: 80rem; padding: 0 1rem; font: 15px/1.45 system-ui, sans-serif;
  background: var(--page); color: var(--ink); }
h1 { font-size: 1.5rem; font-weight: 600; }
table { border-collapse: collapse; width: 100%; }
th, td { padding: .35rem .6rem; border-bottom: 1px solid var(--line); text-align: left;
  vertical-align: top; overflow-wrap: anywhere; }
thead th { position: sticky; top: 0; background: var(--head); overflow-wrap: normal; }
tbody th { padding-top: 1.4rem; border-bottom: 2px solid var(--line); font-weight: 600; }
.n { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
.d { color: var(--dim); }
.files { display: flex; flex-wrap: wrap; gap: 1rem; padding: .4rem 0; }
figure { margin: 0; width: 9.5rem; font-size: 13px; }
figure img, figure .none { display: flex; width: 100%; height: 8rem; object-fit: contain;
  background: var(--head); border-radius: 4px; }
figure .none { align-items: center; justify-content: center; text-align: center;
  color: var(--dim); }
)";

// Length of the character at the start of `text`, 0 when that is no valid UTF-8 or must not stand
// in a page: a control or a noncharacter.
size_t CharacterLength(std::string_view text) {
  const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
  const uint8_t lead = byte(0);
  if (lead < 0x80) return (lead >= 0x20 && lead != 0x7F) || lead == '\n' || lead == '\t' ? 1 : 0;
  const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return 0;
  uint32_t value = lead & (0x7F >> length);
  for (size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
    value = value << 6 | (byte(i) & 0x3F);
  }
  constexpr uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = value >= 0xD800 && value < 0xE000;
  const bool none = (value & 0xFFFE) == 0xFFFE || (value >= 0xFDD0 && value < 0xFDF0);
  if (value < kLeast[length] || value > 0x10FFFF || value < 0xA0 || surrogate || none) return 0;
  return length;
}

}  // namespace

std::string HtmlText(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const size_t length = CharacterLength(text);
    if (length == 0)
      out += kReplacement;
    else if (text[0] == '&')
      out += "&amp;";
    else if (text[0] == '<')
      out += "&lt;";
    else if (text[0] == '>')
      out += "&gt;";
    else if (text[0] == '"')
      out += "&quot;";
    else
      out += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out;
}

std::string HtmlPath(std::string_view path) {
  const std::string_view name = NamePart(path);
  const std::string folder = HtmlText(path.substr(0, path.size() - name.size()));
  return "<span class=\"d\">" + folder + "</span>" + HtmlText(name);
}

std::string PageScore(float score) {
  return score < 0 ? "\xE2\x80\x93" : FixedText(static_cast<double>(score) * 100, 2);
}

void BeginPage(CExportWriter& out, std::string_view title, std::span<const char* const> headings,
               size_t texts) {
  out << "<!DOCTYPE html>" << kEnd << "<html lang=\"en\">" << kEnd << "<head>" << kEnd
      << "<meta charset=\"utf-8\">" << kEnd
      << "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">" << kEnd
      << "<title>" << title << "</title>" << kEnd << "<style>" << kStyle << "</style>" << kEnd
      << "</head>" << kEnd << "<body>" << kEnd << "<h1>" << title << "</h1>" << kEnd << "<table>"
      << kEnd << "<thead><tr>";
  for (size_t i = 0; i < headings.size(); ++i) {
    out << (i < texts ? "<th scope=\"col\">" : "<th scope=\"col\" class=\"n\">") << headings[i]
        << "</th>";
  }
  out << "</tr></thead>" << kEnd;
}

void BeginGroup(CExportWriter& out, std::string_view heading, size_t columns) {
  out << "<tbody>" << kEnd << "<tr><th scope=\"rowgroup\" colspan=\"" << std::to_string(columns)
      << "\">" << heading << "</th></tr>" << kEnd;
}

void EndGroup(CExportWriter& out) {
  out << "</tbody>" << kEnd;
}

void PutRow(CExportWriter& out, std::span<const std::string> cells, size_t texts) {
  out << "<tr>";
  for (size_t i = 0; i < cells.size(); ++i)
    out << (i < texts ? "<td>" : "<td class=\"n\">") << cells[i] << "</td>";
  out << "</tr>" << kEnd;
  out.EndRecord();
}

std::string GroupHeading(size_t number, size_t files) {
  return "Group " + std::to_string(number) + ": " + std::to_string(files) + " files";
}

void EndPage(CExportWriter& out) {
  out << "</table>" << kEnd << "</body>" << kEnd << "</html>" << kEnd;
}

}  // namespace quill
