// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/automark.h"

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "core/configuration.h"
#include "core/system_error.h"
#include "results/path_parts.h"

namespace quill {

namespace {

constexpr std::array<AutomarkCriterion, 8> kAudioCriteria{{
    {FieldId::kRating, "Rating", "Rating"},
    {FieldId::kBitrate, "Bitrate", "Bitrate"},
    {FieldId::kSize, "Size", "Size"},
    {FieldId::kTags, "Tags", "Tags"},
    {FieldId::kFormat, "Format", "File format"},
    {FieldId::kGroup, "Group", "Group"},
    {FieldId::kFolder, "Folder", "Folder"},
    {FieldId::kDuration, "Duration", "Duration"},
}};
constexpr std::array<AutomarkCriterion, 5> kImageCriteria{{
    {FieldId::kResolution, "Resolution", "Resolution"},
    {FieldId::kSize, "Size", "Size"},
    {FieldId::kFormat, "Format", "File format"},
    {FieldId::kGroup, "Group", "Group"},
    {FieldId::kFolder, "Folder", "Folder"},
}};

// In the order of AudioDupsTraits::Score and ImageDupsTraits::Score.
constexpr std::array<AutomarkThreshold, AudioDupsTraits::kScores> kAudioThresholds{{
    {"audioAutomarkEnableTags", "audioAutomarkValueTags", "Tags", 0.9F, 0.9F},
    {"audioAutomarkEnableContent", "audioAutomarkValueContent", "Content", 0.9F, 0.9F},
    {"audioAutomarkEnablePrecise", "audioAutomarkValuePrecise", "Precise", 0.8F, 0.8F},
}};
constexpr std::array<AutomarkThreshold, ImageDupsTraits::kScores> kImageThresholds{{
    {"imageAutomarkEnableContent", "imageAutomarkValueContent", "Content", 0.9F, 0.9F},
    {"imageAutomarkEnableExperimental", "imageAutomarkValueExperimental", "Experimental", 0.9F,
     0.8F},
}};

constexpr AutomarkForm kAudioForm{kAudioCriteria, kAudioThresholds, "audioAutomarkPriorities",
                                  "audioAutomarkFolders", "audioAutomarkExtensions"};
constexpr AutomarkForm kImageForm{kImageCriteria, kImageThresholds, "imageAutomarkPriorities",
                                  "imageAutomarkFolders", "imageAutomarkExtensions"};

std::string FolderOf(std::string_view path) {
  return std::string(FolderPart(path));
}

std::string ExtensionOf(std::string_view path) {
  const std::string extension = LowerExtension(path);
  return extension.empty() ? extension : extension.substr(1);
}

using Places = std::unordered_map<std::string, double>;

// Where each text stands in a saved list.
Places LoadPlaces(const char* key) {
  std::vector<std::string> list;
  (void)CConfiguration::Instance().GetList(key, &list);
  Places places;
  for (std::string& text : list)
    places.emplace(std::move(text), static_cast<double>(places.size()));
  return places;
}

// What a run compares files by. Every criterion is turned into one number a file, the lower the
// worse.
struct Context {
  std::vector<FieldId> priorities;
  Places folders, extensions;
  const CAudioAnalysisController* analysis = nullptr;

  // A text that is not in the list is worse than any that is, the further down the worse.
  [[nodiscard]] static double Place(const Places& places, const std::string& text) {
    const auto place = places.find(text);
    return place == places.end() ? -std::numeric_limits<double>::infinity() : -place->second;
  }
  // Of a file that was not analysed -1; no difference at all without an analysis.
  [[nodiscard]] double RatingOf(const std::string& path) const {
    if (!analysis) return 0;
    const auto* item = analysis->FindItem(path);
    return item ? static_cast<double>(item->rating) : -1;
  }
  [[nodiscard]] double Value(FieldId criterion, const ItemBase& base) const {
    switch (criterion) {
      case FieldId::kRating:
        return RatingOf(base.path);
      case FieldId::kBitrate:
        return base.bitrate;
      case FieldId::kDuration:
        return base.durationMs;
      case FieldId::kTags: {
        // The number of filled tags first, then their length, which stays far below 2^40.
        double value = 0;
        for (const std::string* tag : {&base.artist, &base.album, &base.title})
          if (!tag->empty()) value += 0x1p40 + static_cast<double>(tag->size());
        return value;
      }
      default:
        return 0;
    }
  }
  [[nodiscard]] static double Value(FieldId criterion, const ImageInfo& info) {
    return criterion == FieldId::kResolution ? info.width * info.height : 0;
  }
  template <class Item>
  [[nodiscard]] double ValueOf(FieldId criterion, const Item& item) const {
    switch (criterion) {
      case FieldId::kSize:
        return static_cast<double>(item.base->size);
      case FieldId::kFormat:
        return Place(extensions, ExtensionOf(item.base->path));
      case FieldId::kFolder:
        return Place(folders, FolderOf(item.base->path));
      case FieldId::kGroup:
        return item.folderGroup == 0 ? -1000 : -static_cast<double>(item.folderGroup);
      default:
        return Value(criterion, *item.base);
    }
  }
};

template <class Table>
void MarkWorse(Table& table, const Context& context, const std::vector<float>& least) {
  using Item = typename Table::ItemData;
  const size_t width = context.priorities.size();
  std::vector<double> values;  // of each file in turn, by priority
  std::unordered_map<const Item*, size_t> begins;
  table.ForEachItem([&](const Item& item) {
    begins.emplace(&item, values.size());
    for (const FieldId criterion : context.priorities)
      values.push_back(context.ValueOf(criterion, item));
  });
  std::unordered_set<const Item*> chosen;
  table.ForEachMatch([&](const typename Table::PairData& pair) {
    for (size_t i = 0; i < least.size(); ++i)
      if (least[i] > pair.scores[i]) return;
    const double* a = &values[begins.at(pair.first)];
    const double* b = &values[begins.at(pair.second)];
    const Item* worse = pair.second;
    for (size_t i = 0; i < width; ++i) {
      if (a[i] < b[i]) worse = pair.first;
      if (a[i] < b[i] || a[i] > b[i]) break;
    }
    chosen.insert(worse);
  });
  table.MarkOnly(chosen);
}

}  // namespace

bool CAutomark::LoadPriorities(bool defaultsOnly, std::vector<FieldId>* out) const {
  if (!out) return CSystemError::Bool("LoadPriorities", 1, false);
  out->clear();
  const auto add = [&](FieldId id) {
    if (std::find(out->begin(), out->end(), id) == out->end()) out->push_back(id);
  };
  if (!defaultsOnly) {
    std::vector<std::string> saved;
    (void)CConfiguration::Instance().GetList(m_form.priorities, &saved);
    for (const std::string& name : saved)
      for (const AutomarkCriterion& criterion : Criteria())
        if (name == criterion.storedName) add(criterion.id);
  }
  for (const AutomarkCriterion& criterion : Criteria()) add(criterion.id);
  return true;
}

bool CAutomark::LoadTexts(const char* name, const char* key, bool defaultsOnly,
                          std::string (*part)(std::string_view),
                          std::vector<std::string>* out) const {
  if (!out) return CSystemError::Bool(name, 1, false);
  std::set<std::string> occurring;
  VisitPaths([&](std::string_view path) { occurring.insert(part(path)); });
  std::vector<std::string> saved;
  if (!defaultsOnly) (void)CConfiguration::Instance().GetList(key, &saved);
  out->clear();
  for (const std::string& text : saved)
    if (occurring.erase(text) != 0) out->push_back(text);
  out->insert(out->end(), occurring.begin(), occurring.end());
  return true;
}

bool CAutomark::LoadFolders(bool defaultsOnly, std::vector<std::string>* out) const {
  return LoadTexts("LoadFolders", m_form.folders, defaultsOnly, FolderOf, out);
}

bool CAutomark::LoadExtensions(bool defaultsOnly, std::vector<std::string>* out) const {
  return LoadTexts("LoadExtensions", m_form.extensions, defaultsOnly, ExtensionOf, out);
}

void CAutomark::SavePriorities(const std::vector<FieldId>& priorities) const {
  std::vector<std::string> names;
  for (const FieldId id : priorities)
    for (const AutomarkCriterion& criterion : Criteria())
      if (criterion.id == id) names.emplace_back(criterion.storedName);
  CConfiguration::Instance().SetList(m_form.priorities, names);
}

void CAutomark::SaveFolders(const std::vector<std::string>& folders) const {
  CConfiguration::Instance().SetList(m_form.folders, folders);
}

void CAutomark::SaveExtensions(const std::vector<std::string>& extensions) const {
  CConfiguration::Instance().SetList(m_form.extensions, extensions);
}

std::vector<AutomarkThresholdState> CAutomark::LoadThresholds() const {
  const CConfiguration& configuration = CConfiguration::Instance();
  std::vector<AutomarkThresholdState> states;
  for (const AutomarkThreshold& threshold : Thresholds())
    states.push_back({configuration.GetBool(threshold.enableKey, true),
                      configuration.GetFloat(threshold.valueKey, threshold.windowDefault)});
  return states;
}

void CAutomark::SaveThresholds(const std::vector<AutomarkThresholdState>& states,
                               const std::vector<bool>& allowed) const {
  CConfiguration& configuration = CConfiguration::Instance();
  const auto thresholds = Thresholds();
  for (size_t i = 0; i < thresholds.size(); ++i) {
    if (!allowed[i]) continue;
    configuration.SetBool(thresholds[i].enableKey, states[i].enabled);
    configuration.SetFloat(thresholds[i].valueKey, states[i].value);
  }
}

std::vector<float> CAutomark::LeastScores(const std::vector<bool>& allowed) const {
  const CConfiguration& configuration = CConfiguration::Instance();
  std::vector<float> least;
  for (const AutomarkThreshold& threshold : Thresholds()) {
    const bool counts = allowed[least.size()] && configuration.GetBool(threshold.enableKey, true);
    least.push_back(counts ? configuration.GetFloat(threshold.valueKey, threshold.markingDefault)
                           : -std::numeric_limits<float>::infinity());
  }
  return least;
}

// A score is allowed when some pair has it above 0.
template <class Table>
std::vector<bool> CTableAutomark<Table>::Allowed() const {
  const auto statistics = m_table.GetStatistics();
  std::vector<bool> allowed;
  for (const float maximum : statistics.maximum)
    allowed.push_back(statistics.count != 0 && maximum > 0);
  return allowed;
}

template <class Table>
void CTableAutomark<Table>::VisitPaths(const std::function<void(std::string_view)>& visit) const {
  m_table.ForEachItem([&](const typename Table::ItemData& item) { visit(item.base->path); });
}

template <class Table>
void CTableAutomark<Table>::Mark(const std::vector<bool>& allowed) {
  Context context;
  (void)LoadPriorities(false, &context.priorities);
  context.folders = LoadPlaces(m_form.folders);
  context.extensions = LoadPlaces(m_form.extensions);
  context.analysis = m_analysis;
  MarkWorse(m_table, context, LeastScores(allowed));
}

template class CTableAutomark<CAudioDupsController>;
template class CTableAutomark<CImageDupsController>;

CAudioAutomark::CAudioAutomark(CAudioDupsController& table,
                               const CAudioAnalysisController* analysis)
    : CTableAutomark(kAudioForm, table, analysis) {}

CImageAutomark::CImageAutomark(CImageDupsController& table)
    : CTableAutomark(kImageForm, table, nullptr) {}

}  // namespace quill
