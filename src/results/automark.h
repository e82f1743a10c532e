// Automark: decides for each sufficiently strong match which of the two files is the worse one and
// marks it, by an ordered list of criteria and thresholds on the scores that the user sets. What
// the user arranges are three lists, kept in the settings: criteria, folders and extensions, best
// first. Audio and images differ in their criteria, keys and scores only. Main thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "results/audio_analysis_controller.h"
#include "results/audio_dups_controller.h"
#include "results/field_id.h"
#include "results/image_dups_controller.h"

namespace quill {

// One thing that two files can be told apart by. The id of a criterion is the column it looks at.
struct AutomarkCriterion {
  FieldId id;
  const char* storedName;  // in the settings
  const char* shownText;
};

// A score that a pair has to reach.
struct AutomarkThreshold {
  const char* enableKey;
  const char* valueKey;
  const char* shownText;
  float windowDefault;   // what the window shows while the key is not set, and sets as default
  float markingDefault;  // what a run takes while the key is not set; of the images' experimental
                         // score it differs from the window's
};

// Loading of the lists, for windows. With `defaultsOnly` the settings are not read. They report
// under their names and return false for a null `out`.
class CAudioAutomark {
 public:
  // Criteria and thresholds in their default order; thresholds by AudioDupsTraits::Score.
  [[nodiscard]] static const std::vector<AutomarkCriterion>& Criteria();
  [[nodiscard]] static const std::vector<AutomarkThreshold>& Thresholds();

  // `analysis` gives the ratings; may be null, and then the criterion tells nothing.
  CAudioAutomark(CAudioDupsController& table, const CAudioAnalysisController* analysis)
      : m_table(table), m_analysis(analysis) {}

  // Each criterion once: those saved, in their order, then the missing ones in default order.
  [[nodiscard]] static bool LoadPriorities(bool defaultsOnly, std::vector<FieldId>* out);
  // Of the files in the table: those saved that still occur, in their order, then the others in
  // ascending order. Folders without the last '/'; extensions in lower case without the point.
  [[nodiscard]] bool LoadFolders(bool defaultsOnly, std::vector<std::string>* out) const;
  [[nodiscard]] bool LoadExtensions(bool defaultsOnly, std::vector<std::string>* out) const;
  static void SavePriorities(const std::vector<FieldId>& priorities);
  static void SaveFolders(const std::vector<std::string>& folders);
  static void SaveExtensions(const std::vector<std::string>& extensions);

  // By score: whether any pair has a positive one, so that a threshold on it makes sense.
  [[nodiscard]] std::vector<bool> Allowed() const;

  // Unmarks every file, then marks the worse file of every pair that passes. A score that is not
  // allowed takes no part in the threshold. A full tie marks the pair's second member. Nothing
  // keeps all files of a group from being marked.
  void Mark(const std::vector<bool>& allowed);

 private:
  CAudioDupsController& m_table;
  const CAudioAnalysisController* m_analysis;
};

class CImageAutomark {
 public:
  [[nodiscard]] static const std::vector<AutomarkCriterion>& Criteria();
  [[nodiscard]] static const std::vector<AutomarkThreshold>& Thresholds();

  explicit CImageAutomark(CImageDupsController& table) : m_table(table) {}

  // As above.
  [[nodiscard]] static bool LoadPriorities(bool defaultsOnly, std::vector<FieldId>* out);
  [[nodiscard]] bool LoadFolders(bool defaultsOnly, std::vector<std::string>* out) const;
  [[nodiscard]] bool LoadExtensions(bool defaultsOnly, std::vector<std::string>* out) const;
  static void SavePriorities(const std::vector<FieldId>& priorities);
  static void SaveFolders(const std::vector<std::string>& folders);
  static void SaveExtensions(const std::vector<std::string>& extensions);
  [[nodiscard]] std::vector<bool> Allowed() const;
  void Mark(const std::vector<bool>& allowed);

 private:
  CImageDupsController& m_table;
};

}  // namespace quill
