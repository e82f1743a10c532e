// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/analysis_report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <tuple>
#include <utility>
#include <vector>

#include "cli/safe_text.h"
#include "results/field_text.h"

namespace quill::cli {

namespace {

using Item = CAudioAnalysisController::ItemData;

std::vector<const Item*> Items(const CAudioAnalysisController& table) {
  std::vector<const Item*> items;
  for (size_t row = 0; row < table.RowCount(); ++row)
    items.push_back(table.TableAt(static_cast<int32_t>(row)));
  std::sort(items.begin(), items.end(),
            [](const Item* a, const Item* b) { return a->base->path < b->base->path; });
  return items;
}

// The shortest text that reads as the same float; a file of broken samples may measure as no number
// at all.
std::string Number(float value) {
  if (!std::isfinite(value)) return "null";
  char buffer[32];
  return {buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr};
}

}  // namespace

std::string AnalysisTable(const CAudioAnalysisController& table) {
  struct Column {
    const char* name;
    FieldId field;
    int width;
  };
  static constexpr std::array<Column, 11> kColumns{{
      {"rating", FieldId::kRating, 6},
      {"rate", FieldId::kSampleRate, 7},
      {"channels", FieldId::kChannels, 8},
      {"bitrate", FieldId::kBitrate, 13},
      {"max Hz", FieldId::kMaxFreq, 7},
      {"clipping", FieldId::kClipping, 8},
      {"silence", FieldId::kSilence, 7},
      {"clicks", FieldId::kClicks, 6},
      {"mean", FieldId::kAbsMean, 8},
      {"peak", FieldId::kAbsMax, 8},
      {"step", FieldId::kMinStep, 17},
  }};
  std::vector<const Item*> items = Items(table);
  if (items.empty()) return {};
  std::stable_sort(items.begin(), items.end(),
                   [](const Item* a, const Item* b) { return a->rating < b->rating; });
  std::string out;
  char cell[64];
  for (const Column& column : kColumns) {
    std::snprintf(cell, sizeof cell, "%*s  ", column.width, column.name);
    out += cell;
  }
  out += "file\n";
  for (const Item* item : items) {
    for (const Column& column : kColumns) {
      std::string text;
      if (column.field == FieldId::kRating) {
        std::snprintf(cell, sizeof cell, "%.1f%%", static_cast<double>(item->rating) * 100);
        text = cell;
      } else {
        text = AnalysisText(column.field, item->base.Get());
      }
      std::snprintf(cell, sizeof cell, "%*s  ", column.width, text.c_str());
      out += cell;
    }
    out += TerminalText(item->base->path) + "\n";
  }
  return out;
}

std::string AnalysisJson(const CAudioAnalysisController& table) {
  std::string out = "[";
  const char* separator = "\n";
  for (const Item* item : Items(table)) {
    const AnalysisInfo& info = *item->base;
    out += separator;
    out += "{\"path\":" + JsonText(info.path);
    for (const auto& [name, value] : {std::pair{"rating", item->rating},
                                      {"clipping", info.clipping},
                                      {"silence", info.silence},
                                      {"absmean", info.absMean},
                                      {"minstep", info.minStep},
                                      {"absmax", info.absMax},
                                      {"maxfreq", info.maxFreq},
                                      {"clicks", info.clicks}})
      out += ",\"" + std::string(name) + "\":" + Number(value);
    for (const auto& [name, value] : {std::pair{"samplerate", uint64_t{info.sampleRate}},
                                      {"channels", uint64_t{info.channels}},
                                      {"bitrate", uint64_t{info.bitrate}},
                                      {"duration", uint64_t{info.durationMs}},
                                      {"size", info.size}})
      out += ",\"" + std::string(name) + "\":" + std::to_string(value);
    out += "}";
    separator = ",\n";
  }
  return out + "]";
}

}  // namespace quill::cli
