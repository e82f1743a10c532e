// SPDX-License-Identifier: GPL-3.0-or-later
// Automark: decides for each sufficiently strong match which of the two files is the worse one and
// marks it, by an ordered list of criteria and thresholds on the scores that the user sets. What
// the user arranges are three lists, kept in the settings: criteria, folders and extensions, best
// first. Audio and images differ in their criteria, keys and scores only. Main thread.
#pragma once

#include <functional>
#include <span>
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

// What the user has set for one score.
struct AutomarkThresholdState {
  bool enabled = true;
  float value = 0;
};

// What the two sides differ in. The texts and spans are constants.
struct AutomarkForm {
  // In their default order, thresholds in the order of the table's scores.
  std::span<const AutomarkCriterion> criteria;
  std::span<const AutomarkThreshold> thresholds;
  // Keys of the three lists.
  const char* priorities;
  const char* folders;
  const char* extensions;
};

// What the audio and the image form share. The window for the lists works on this face.
class CAutomark {
 public:
  virtual ~CAutomark() = default;

  [[nodiscard]] std::span<const AutomarkCriterion> Criteria() const { return m_form.criteria; }
  [[nodiscard]] std::span<const AutomarkThreshold> Thresholds() const { return m_form.thresholds; }

  // The three lists. With `defaultsOnly` the settings are not read. Each reports under its name and
  // returns false for a null `out`.
  // Each criterion once: those saved, in their order, then the missing ones in default order.
  [[nodiscard]] bool LoadPriorities(bool defaultsOnly, std::vector<FieldId>* out) const;
  // Of the files in the table: those saved that still occur, in their order, then the others in
  // ascending order. Folders without the last '/'; extensions in lower case without the point.
  [[nodiscard]] bool LoadFolders(bool defaultsOnly, std::vector<std::string>* out) const;
  [[nodiscard]] bool LoadExtensions(bool defaultsOnly, std::vector<std::string>* out) const;
  void SavePriorities(const std::vector<FieldId>& priorities) const;
  void SaveFolders(const std::vector<std::string>& folders) const;
  void SaveExtensions(const std::vector<std::string>& extensions) const;

  // As a window shows them.
  [[nodiscard]] std::vector<AutomarkThresholdState> LoadThresholds() const;
  // Those of allowed scores only.
  void SaveThresholds(const std::vector<AutomarkThresholdState>& states,
                      const std::vector<bool>& allowed) const;

  // By score: whether any pair has a positive one, so that a threshold on it makes sense.
  [[nodiscard]] virtual std::vector<bool> Allowed() const = 0;
  // Unmarks every file, then marks the worse file of every pair that passes. A score that is not
  // allowed takes no part in the threshold. A full tie marks the pair's second member. Nothing
  // keeps all files of a group from being marked.
  virtual void Mark(const std::vector<bool>& allowed) = 0;

 protected:
  explicit CAutomark(const AutomarkForm& form) : m_form(form) {}

  // Calls visit(path) for each file of the table.
  virtual void VisitPaths(const std::function<void(std::string_view)>& visit) const = 0;
  // The thresholds of a run, by score; a value of -infinity lets every pair pass.
  [[nodiscard]] std::vector<float> LeastScores(const std::vector<bool>& allowed) const;

  const AutomarkForm& m_form;

 private:
  [[nodiscard]] bool LoadTexts(const char* name, const char* key, bool defaultsOnly,
                               std::string (*part)(std::string_view),
                               std::vector<std::string>* out) const;
};

// Over one kind of table.
template <class Table>
class CTableAutomark : public CAutomark {
 public:
  [[nodiscard]] std::vector<bool> Allowed() const override;
  void Mark(const std::vector<bool>& allowed) override;

 protected:
  // `analysis` gives the ratings; may be null, and then that criterion tells nothing. All must
  // outlive the object.
  CTableAutomark(const AutomarkForm& form, Table& table, const CAudioAnalysisController* analysis)
      : CAutomark(form), m_table(table), m_analysis(analysis) {}

 private:
  void VisitPaths(const std::function<void(std::string_view)>& visit) const override;

  Table& m_table;
  const CAudioAnalysisController* const m_analysis;
};

extern template class CTableAutomark<CAudioDupsController>;
extern template class CTableAutomark<CImageDupsController>;

class CAudioAutomark : public CTableAutomark<CAudioDupsController> {
 public:
  CAudioAutomark(CAudioDupsController& table, const CAudioAnalysisController* analysis);
};

class CImageAutomark : public CTableAutomark<CImageDupsController> {
 public:
  explicit CImageAutomark(CImageDupsController& table);
};

}  // namespace quill
