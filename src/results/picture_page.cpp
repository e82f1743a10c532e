// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/picture_page.h"

#include <array>

#include "image/image_format_text.h"
#include "results/export_writer.h"
#include "results/field_text.h"
#include "results/html_page.h"
#include "results/path_parts.h"

namespace quill {

namespace {

constexpr std::array kHeadings{"File", "Other file", "Content %", "Experimental %"};

// The picture, its name and what is known of it.
void PutFigure(CExportWriter& out, const ImageInfo& info, const std::string& uri) {
  const std::string name = HtmlText(NamePart(info.path));
  out << "<figure title=\"" << HtmlText(info.path) << "\">";
  if (uri.empty())
    out << "<div class=\"none\">cannot be read</div>";
  else
    out << "<img alt=\"" << name << "\" src=\"" << uri << "\">";
  out << "<figcaption>" << name << "<br><span class=\"d\">";
  if (info.width != 0)
    out << std::to_string(info.width) << " × " << std::to_string(info.height) << "<br>";
  out << HtmlText(ImageTypeText(info.format, info.bits)) << ", " << SizeText(info.size)
      << "</span></figcaption></figure>\n";
  out.EndRecord();
}

}  // namespace

bool CPicturePage::Write(const std::string& path, CThumbnailSource& thumbnails, const GoOn& goOn,
                         std::string* failure) const {
  failure->clear();
  CExportWriter out;
  if (!out.Open(path)) return out.Finish(failure);
  BeginPage(out, "Pictures that are alike", kHeadings, 2);
  size_t done = 0;
  const auto scoresOf = [](const ImageDupsTraits::Scores& scores) {
    using Traits = ImageDupsTraits;
    return std::array{PageScore(scores[Traits::kContent]),
                      PageScore(scores[Traits::kExperimental])};
  };
  const auto putFiles = [&](uint32_t group) {
    out << "<tr><td colspan=\"" << std::to_string(kHeadings.size()) << "\"><div class=\"files\">\n";
    const auto [begin, end] = m_groups.FilesOf(group);
    for (auto file = begin; file != end; ++file) {
      // A full disk is told at once, and not after all other pictures have been read.
      if (out.HasFailed() || !goOn(done++, m_groups.FileCount())) return false;
      const ImageInfo& info = m_groups.File(file->second);
      PutFigure(out, info, thumbnails.DataUri(info.path));
    }
    out << "</div></td></tr>\n";
    return true;
  };
  if (!PutGroups(out, m_groups, kHeadings.size(), scoresOf, putFiles) && !out.HasFailed())
    return false;
  EndPage(out);
  return out.Finish(failure);
}

}  // namespace quill
