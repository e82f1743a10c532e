// SPDX-License-Identifier: GPL-3.0-or-later
// The person in front of the window, for operations on files: questions, the folder chooser, and a
// progress dialog that appears when a list takes longer than a moment, with a button that stops
// between files. Each file is handled on a thread of its own while the window stays alive; what
// could not be done stays on show in that dialog until the user closes it. Main thread.
#pragma once

#include <memory>

#include "results/file_operations.h"

class QWidget;

namespace quill {

class CWindowQuestions : public CFileQuestions {
 public:
  // `window` is the parent of all dialogs and must outlive the object.
  explicit CWindowQuestions(QWidget* window);
  ~CWindowQuestions() override;

  [[nodiscard]] bool Confirm(const std::string& title, const std::string& text,
                             const std::string& warning) override;
  [[nodiscard]] std::string ChooseMoveFolder() override;
  [[nodiscard]] bool Perform(const std::string& path, size_t index, size_t count,
                             const std::function<void()>& work) override;
  void Finished(const std::vector<std::string>& failures) override;

  // Whether a list of files is on its way.
  [[nodiscard]] bool IsWorking() const { return m_progress != nullptr; }
  // No further file is handled, and the window is closed when the present one is done: the end of
  // the session cannot wait for a person.
  void StopAndClose();

 private:
  class Progress;
  QWidget* m_window;
  std::unique_ptr<Progress> m_progress;
  bool m_closes = false;
};

}  // namespace quill
