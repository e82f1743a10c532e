// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/export.h"

#include <array>
#include <span>
#include <vector>

#include "results/export_writer.h"
#include "results/field_text.h"
#include "results/html_page.h"
#include "results/match_groups.h"
#include "results/path_parts.h"

namespace quill {

namespace {

constexpr std::array kAudioHeadings{"File", "Other file", "Content %", "Tags %", "Precise %"};
constexpr std::array kImageHeadings{"File", "Other file", "Content %", "Experimental %"};
// The rating in percent where CSV has it, from 0 to 1 on the page.
constexpr std::array kAnalysisHeadings{
    "File",     "Rating",  "Sample rate", "Size", "Bitrate",   "Channels",  "Duration",
    "Clipping", "Silence", "Mean(abs.)",  "Step", "Max(abs.)", "Max Freq.", "Clicks"};
constexpr const char* kRatingInPercent = "Rating %";

constexpr const char* kNoSuchForm = "this table has no such form";

std::string Score(float value) {
  return FixedText(static_cast<double>(value), 4);
}

std::string Percent(float score) {
  return Score(score * 100.0F);
}

// Held at 0 when it was not computed, unlike the other scores.
std::string PrecisePercent(float score) {
  return Percent(score > 0 ? score : 0);
}

std::string Quoted(std::string_view text) {
  std::string out = "\"";
  for (const char c : text) out.append(c == '"' ? 2 : 1, c);
  return out + '"';
}

void PutCsvHead(CExportWriter& out, std::span<const char* const> headings) {
  for (size_t i = 0; i < headings.size(); ++i) out << (i == 0 ? "" : ";") << Quoted(headings[i]);
  out << CExportWriter::kLineEnd;
}

// The pairs in the order of the model, each match once. `scoresOf` gives the fields of a pair.
template <class Table, class ScoresOf>
void ExportPairs(CExportWriter& out, const Table& table, std::span<const char* const> headings,
                 ScoresOf scoresOf) {
  PutCsvHead(out, headings);
  table.ForEachMatch([&](const typename Table::PairData& pair) {
    out << Quoted(pair.first->base->path) << ";" << Quoted(pair.second->base->path);
    for (const std::string& score : scoresOf(pair.scores)) out << ";" << score;
    out << CExportWriter::kLineEnd;
    out.EndRecord();
  });
}

std::array<std::string, 3> AudioScoreTexts(const AudioDupsTraits::Scores& scores) {
  using Traits = AudioDupsTraits;
  return {Percent(scores[Traits::kContent]), Percent(scores[Traits::kTags]),
          PrecisePercent(scores[Traits::kPrecise])};
}

void ExportAudioPage(CExportWriter& out, const CAudioDupsController& table) {
  const CMatchGroups<CAudioDupsController> groups(table);
  const auto scoresOf = [](const AudioDupsTraits::Scores& scores) {
    using Traits = AudioDupsTraits;
    return std::array{PageScore(scores[Traits::kContent]), PageScore(scores[Traits::kTags]),
                      PageScore(scores[Traits::kPrecise])};
  };
  BeginPage(out, "Sounds that are alike", kAudioHeadings, 2);
  (void)PutGroups(out, groups, kAudioHeadings.size(), scoresOf, [](uint32_t) { return true; });
  EndPage(out);
}

void ExportList(CExportWriter& out, const CAudioDupsController& table) {
  out << "#EXTM3U" << CExportWriter::kLineEnd;
  for (size_t row = 0; row < table.RowCount(); ++row) {
    const auto* shown = table.TableAt(static_cast<int32_t>(row));
    if (shown->pair && !table.IsFlat()) continue;
    out << shown->File()->base->path << CExportWriter::kLineEnd;
    out.EndRecord();
  }
}

struct AnalysisColumn {
  FieldId field;
  bool quoted;  // in CSV
};
constexpr std::array<AnalysisColumn, 12> kAnalysisFields{{{FieldId::kSampleRate, true},
                                                          {FieldId::kSize, true},
                                                          {FieldId::kBitrate, true},
                                                          {FieldId::kChannels, true},
                                                          {FieldId::kDuration, true},
                                                          {FieldId::kClipping, false},
                                                          {FieldId::kSilence, false},
                                                          {FieldId::kAbsMean, false},
                                                          {FieldId::kMinStep, false},
                                                          {FieldId::kAbsMax, false},
                                                          {FieldId::kMaxFreq, true},
                                                          {FieldId::kClicks, false}}};

void PutAnalysisLine(CExportWriter& out, const CAudioAnalysisController::ItemData& item) {
  out << Quoted(item.base->path) << ";" << Quoted(Percent(item.rating));
  for (const AnalysisColumn& column : kAnalysisFields) {
    const std::string text = AnalysisText(column.field, item.base.Get());
    out << ";" << (column.quoted ? Quoted(text) : text);
  }
  out << CExportWriter::kLineEnd;
  out.EndRecord();
}

std::vector<std::string> AnalysisCells(const CAudioAnalysisController::ItemData& item) {
  std::vector<std::string> cells{HtmlPath(item.base->path), Score(item.rating)};
  for (const AnalysisColumn& column : kAnalysisFields)
    cells.push_back(HtmlText(AnalysisText(column.field, item.base.Get())));
  return cells;
}

}  // namespace

std::optional<ExportKind> ExportKindOf(std::string_view path) {
  const std::string extension = LowerExtension(path);
  if (extension == ".csv") return ExportKind::kCsv;
  if (extension == ".html") return ExportKind::kHtml;
  if (extension == ".m3u") return ExportKind::kM3u;
  return std::nullopt;
}

bool Export(const CAudioDupsController& table, const std::string& path, ExportKind kind,
            std::string* failure) {
  CExportWriter out;
  if (out.Open(path)) {
    if (kind == ExportKind::kM3u) ExportList(out, table);
    if (kind == ExportKind::kHtml) ExportAudioPage(out, table);
    if (kind == ExportKind::kCsv) ExportPairs(out, table, kAudioHeadings, AudioScoreTexts);
  }
  return out.Finish(failure);
}

bool Export(const CImageDupsController& table, const std::string& path, ExportKind kind,
            std::string* failure) {
  CExportWriter out;
  if (out.Open(path)) {
    if (kind != ExportKind::kCsv) out.Refuse(kNoSuchForm);
    ExportPairs(out, table, kImageHeadings, [](const ImageDupsTraits::Scores& scores) {
      using Traits = ImageDupsTraits;
      return std::array{Percent(scores[Traits::kContent]), Percent(scores[Traits::kExperimental])};
    });
  }
  return out.Finish(failure);
}

bool Export(const CAudioAnalysisController& table, const std::string& path, ExportKind kind,
            std::string* failure) {
  constexpr size_t kTexts = 1;
  CExportWriter out;
  if (!out.Open(path)) return out.Finish(failure);
  if (kind == ExportKind::kM3u) out.Refuse(kNoSuchForm);
  const bool html = kind == ExportKind::kHtml;
  if (html) {
    BeginPage(out, "Quality of sounds", kAnalysisHeadings, kTexts);
    out << "<tbody>\n";
  } else {
    auto headings = kAnalysisHeadings;
    headings[1] = kRatingInPercent;
    PutCsvHead(out, headings);
  }
  for (size_t row = 0; row < table.RowCount(); ++row) {
    const auto& item = *table.TableAt(static_cast<int32_t>(row));
    if (html)
      PutRow(out, AnalysisCells(item), kTexts);
    else
      PutAnalysisLine(out, item);
  }
  if (html) {
    EndGroup(out);
    EndPage(out);
  }
  return out.Finish(failure);
}

}  // namespace quill
