// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/pair_report.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <span>
#include <tuple>

#include "cli/safe_text.h"

namespace quill::cli {

namespace {

constexpr std::array kAudioColumns{"tags", "content", "precise"};
constexpr std::array kImageColumns{"content", "experimental"};
using Columns = std::span<const char* const>;

template <class Controller>
std::vector<PairLine> List(const Controller& controller) {
  std::vector<PairLine> lines;
  controller.ForEachMatch([&](const typename Controller::PairData& pair) {
    PairLine line{.group = pair.first->group,
                  .a = pair.first->base->path,
                  .b = pair.second->base->path,
                  .scores = {pair.scores.begin(), pair.scores.end()}};
    if (line.b < line.a) std::swap(line.a, line.b);
    lines.push_back(std::move(line));
  });
  // Group numbers follow the table's sort: number them anew by the first name of each.
  std::sort(lines.begin(), lines.end(), [](const PairLine& x, const PairLine& y) {
    return std::tie(x.a, x.b) < std::tie(y.a, y.b);
  });
  std::map<uint32_t, uint32_t> numbers;
  for (PairLine& line : lines)
    line.group =
        numbers.try_emplace(line.group, static_cast<uint32_t>(numbers.size() + 1)).first->second;
  std::stable_sort(lines.begin(), lines.end(),
                   [](const PairLine& x, const PairLine& y) { return x.group < y.group; });
  return lines;
}

// Columns as wide as their names, but never narrower than a score.
int Width(const char* column) {
  return std::max(7, static_cast<int>(std::string(column).size()));
}

std::string Padded(const std::string& text, int width) {
  const auto missing =
      static_cast<size_t>(width) - std::min(text.size(), static_cast<size_t>(width));
  return std::string(missing, ' ') + text + "  ";
}

std::string ScoreText(float score) {
  if (!(score >= 0)) return "-";
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%.3f", static_cast<double>(score));
  return buffer;
}

void AppendTable(const char* heading, Columns columns, const std::vector<PairLine>& pairs,
                 std::string* out) {
  std::string names;
  for (const char* column : columns) names += Padded(column, Width(column));
  const std::string indent(names.size(), ' ');
  names.erase(names.find_last_not_of(' ') + 1);
  uint32_t group = 0;
  for (const PairLine& pair : pairs) {
    if (pair.group != group) {
      group = pair.group;
      if (!out->empty()) *out += '\n';
      *out += heading + std::to_string(group) + "\n" + names + "\n";
    }
    for (size_t i = 0; i < columns.size(); ++i)
      *out += Padded(ScoreText(pair.scores[i]), Width(columns[i]));
    *out += TerminalText(pair.a) + "\n" + indent + TerminalText(pair.b) + "\n";
  }
}

std::string JsonList(Columns columns, const std::vector<PairLine>& pairs) {
  std::string out = "[";
  const char* separator = "\n";
  for (const PairLine& pair : pairs) {
    out += separator;
    out += "{\"a\":" + JsonText(pair.a) + ",\"b\":" + JsonText(pair.b);
    for (size_t i = 0; i < columns.size(); ++i)
      out += ",\"" + std::string(columns[i]) + "\":" + JsonScore(pair.scores[i]);
    out += "}";
    separator = ",\n";
  }
  return out + "]";
}

}  // namespace

PairLists ListPairs(const CAudioDupsController& audio, const CImageDupsController& images) {
  return {.audio = List(audio), .images = List(images)};
}

std::string PairTable(const PairLists& pairs) {
  std::string out;
  AppendTable("Audio group ", kAudioColumns, pairs.audio, &out);
  AppendTable("Image group ", kImageColumns, pairs.images, &out);
  return out;
}

std::string ResultsJson(const PairLists& pairs, const std::string& analysis, int32_t scheduled,
                        int32_t processed) {
  return "{\"audio\":" + JsonList(kAudioColumns, pairs.audio) +
         ",\n\"images\":" + JsonList(kImageColumns, pairs.images) + ",\n\"analysis\":" + analysis +
         ",\n\"stats\":{\"scheduled\":" + std::to_string(scheduled) +
         ",\"processed\":" + std::to_string(processed) + "}}\n";
}

}  // namespace quill::cli
