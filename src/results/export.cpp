#include "results/export.h"

#include <array>
#include <vector>

#include "results/export_writer.h"
#include "results/field_text.h"

namespace quill {

namespace {

constexpr std::array kAudioHeadings{"File", "File", "% content", "% tags", "% precise"};
constexpr std::array kImageHeadings{"File", "File", "% content"};
constexpr std::array kAnalysisHeadings{
    "File",     "Rating",  "Sample rate", "Size", "Bitrate",   "Channels",  "Duration",
    "Clipping", "Silence", "Mean(abs.)",  "Step", "Max(abs.)", "Max Freq.", "Clicks"};

// Columns of the HTML form; of the image table one more than the headings that it is given.
constexpr size_t kAudioColumns = 5;
constexpr size_t kImageColumns = 4;
constexpr size_t kAnalysisColumns = 14;

// One record as its HTML cells.
using Cells = std::vector<std::string>;

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

bool BeginHtml(CExportWriter& out, size_t columns, std::span<const char* const> headings) {
  if (headings.size() != columns) {
    out.Refuse("this table has no HTML form");
    return false;
  }
  constexpr const char* kEnd = CExportWriter::kLineEnd;
  out << "<html><header>" << kEnd
      << "<meta http-equiv='Content-Type' content='text/html; charset=UTF-8' />" << kEnd
      << "<style type='text/css'>td{padding:4px 10px;}tr.wh,th{background-color:#ccc}</style>"
         "</header><body>"
      << kEnd << "<table cellpadding='0' cellspacing='0'>" << kEnd << "<tr><th>";
  for (size_t i = 0; i < columns; ++i) out << (i == 0 ? "" : "</th><th>") << headings[i];
  out << "</th></tr>";
  return true;
}

void PutHtml(CExportWriter& out, const Cells& cells, bool* shaded) {
  constexpr const char* kEnd = CExportWriter::kLineEnd;
  out << (*shaded ? "<tr class=wh>" : "<tr>") << kEnd << "<td>";
  *shaded = !*shaded;
  for (size_t i = 0; i < cells.size(); ++i) out << (i == 0 ? "" : "</td><td>") << cells[i];
  out << "</td>" << kEnd << "</tr>" << kEnd;
  out.EndRecord();
}

void EndHtml(CExportWriter& out) {
  out << "</table>" << CExportWriter::kLineEnd << "</body></html>" << CExportWriter::kLineEnd;
}

// The pairs of a duplicates table in the order of the model, each match once.
template <class Table, class CellsOf>
void ExportPairs(CExportWriter& out, const Table& table, ExportKind kind, size_t columns,
                 std::span<const char* const> headings, CellsOf cellsOf) {
  if (kind == ExportKind::kCsv) {
    table.ForEachMatch([&](const typename Table::PairData& pair) {
      const Cells cells = cellsOf(pair);
      out << "\"" << cells[0] << "\";\"" << cells[1] << "\"";
      for (size_t i = 2; i < cells.size(); ++i) out << ";" << cells[i];
      out << CExportWriter::kLineEnd;
      out.EndRecord();
    });
  } else if (kind == ExportKind::kHtml) {
    if (!BeginHtml(out, columns, headings)) return;
    bool shaded = false;
    table.ForEachMatch(
        [&](const typename Table::PairData& pair) { PutHtml(out, cellsOf(pair), &shaded); });
    EndHtml(out);
  } else {
    out.Refuse("this table has no such form");
  }
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
  out << "\"" << item.base->path << "\";\"" << Percent(item.rating) << "\"";
  for (const AnalysisColumn& column : kAnalysisFields) {
    const char* const quote = column.quoted ? "\"" : "";
    out << ";" << quote << AnalysisText(column.field, item.base.Get()) << quote;
  }
  out << CExportWriter::kLineEnd;
  out.EndRecord();
}

// The rating as it is, where CSV has it in percent.
Cells AnalysisCells(const CAudioAnalysisController::ItemData& item) {
  Cells cells{item.base->path, Score(item.rating)};
  for (const AnalysisColumn& column : kAnalysisFields)
    cells.push_back(AnalysisText(column.field, item.base.Get()));
  return cells;
}

}  // namespace

ExportKind AudioDupsExportKind(std::string_view path) {
  return path.ends_with(".m3u") ? ExportKind::kM3u : ImageDupsExportKind(path);
}

ExportKind ImageDupsExportKind(std::string_view path) {
  return path.ends_with(".html") ? ExportKind::kHtml : ExportKind::kCsv;
}

ExportKind AnalysisExportKind(std::string_view path) {
  return ImageDupsExportKind(path);
}

std::span<const char* const> AudioDupsHeadings() {
  return kAudioHeadings;
}

std::span<const char* const> ImageDupsHeadings() {
  return kImageHeadings;
}

std::span<const char* const> AnalysisHeadings() {
  return kAnalysisHeadings;
}

bool Export(const CAudioDupsController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure) {
  CExportWriter out;
  if (!out.Open(path)) return out.Finish(failure);
  if (kind == ExportKind::kM3u) {
    ExportList(out, table);
  } else {
    ExportPairs(
        out, table, kind, kAudioColumns, headings, [](const CAudioDupsController::PairData& pair) {
          using Traits = AudioDupsTraits;
          return Cells{pair.first->base->path, pair.second->base->path,
                       Percent(pair.scores[Traits::kContent]), Percent(pair.scores[Traits::kTags]),
                       PrecisePercent(pair.scores[Traits::kPrecise])};
        });
  }
  return out.Finish(failure);
}

bool Export(const CImageDupsController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure) {
  CExportWriter out;
  if (!out.Open(path)) return out.Finish(failure);
  ExportPairs(out, table, kind, kImageColumns, headings,
              [](const CImageDupsController::PairData& pair) {
                using Traits = ImageDupsTraits;
                return Cells{pair.first->base->path, pair.second->base->path,
                             Percent(pair.scores[Traits::kContent]),
                             Percent(pair.scores[Traits::kExperimental])};
              });
  return out.Finish(failure);
}

bool Export(const CAudioAnalysisController& table, const std::string& path, ExportKind kind,
            std::span<const char* const> headings, std::string* failure) {
  CExportWriter out;
  if (!out.Open(path)) return out.Finish(failure);
  if (kind == ExportKind::kM3u) out.Refuse("this table has no such form");
  const bool html = kind == ExportKind::kHtml && BeginHtml(out, kAnalysisColumns, headings);
  bool shaded = false;
  for (size_t row = 0; row < table.RowCount(); ++row) {
    const auto& item = *table.TableAt(static_cast<int32_t>(row));
    if (html) PutHtml(out, AnalysisCells(item), &shaded);
    if (kind == ExportKind::kCsv) PutAnalysisLine(out, item);
  }
  if (html) EndHtml(out);
  return out.Finish(failure);
}

}  // namespace quill
