#include "cli/pair_report.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <tuple>

#include "cli/safe_text.h"

namespace quill::cli {

namespace {

std::string ScoreText(float score) {
  if (!(score >= 0)) return "-";
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%.3f", static_cast<double>(score));
  return buffer;
}

}  // namespace

std::vector<AudioPairLine> ListPairs(const CAudioDupsController& controller) {
  std::vector<AudioPairLine> lines;
  controller.ForEachMatch([&](const CAudioDupsController::PairData& pair) {
    AudioPairLine line{.group = pair.first->group,
                       .a = pair.first->base->path,
                       .b = pair.second->base->path,
                       .tags = pair.scores[0],
                       .content = pair.scores[1],
                       .precise = pair.scores[2]};
    if (line.b < line.a) std::swap(line.a, line.b);
    lines.push_back(std::move(line));
  });
  // Group numbers follow the table's sort: number them anew by the first name of each.
  std::sort(lines.begin(), lines.end(), [](const AudioPairLine& x, const AudioPairLine& y) {
    return std::tie(x.a, x.b) < std::tie(y.a, y.b);
  });
  std::map<uint32_t, uint32_t> numbers;
  for (AudioPairLine& line : lines)
    line.group =
        numbers.try_emplace(line.group, static_cast<uint32_t>(numbers.size() + 1)).first->second;
  std::stable_sort(lines.begin(), lines.end(), [](const AudioPairLine& x, const AudioPairLine& y) {
    return x.group < y.group;
  });
  return lines;
}

std::string PairTable(const std::vector<AudioPairLine>& pairs) {
  std::string out;
  uint32_t group = 0;
  for (const AudioPairLine& pair : pairs) {
    if (pair.group != group) {
      group = pair.group;
      out += (group == 1 ? "Group " : "\nGroup ") + std::to_string(group) + "\n";
      out += "   tags  content  precise\n";
    }
    char scores[64];
    std::snprintf(scores, sizeof scores, "%7s  %7s  %7s  ", ScoreText(pair.tags).c_str(),
                  ScoreText(pair.content).c_str(), ScoreText(pair.precise).c_str());
    out += scores + TerminalText(pair.a) + "\n";
    out += std::string(27, ' ') + TerminalText(pair.b) + "\n";
  }
  return out;
}

std::string PairJson(const std::vector<AudioPairLine>& pairs, int32_t scheduled,
                     int32_t processed) {
  std::string out = "{\"audio\":[";
  const char* separator = "\n";
  for (const AudioPairLine& pair : pairs) {
    out += separator;
    out += "{\"a\":" + JsonText(pair.a) + ",\"b\":" + JsonText(pair.b) +
           ",\"tags\":" + JsonScore(pair.tags) + ",\"content\":" + JsonScore(pair.content) +
           ",\"precise\":" + JsonScore(pair.precise) + "}";
    separator = ",\n";
  }
  out += "],\n\"images\":[],\n\"analysis\":[],\n\"stats\":{\"scheduled\":" +
         std::to_string(scheduled) + ",\"processed\":" + std::to_string(processed) + "}}\n";
  return out;
}

}  // namespace quill::cli
