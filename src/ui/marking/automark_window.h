// The window in which the user arranges the criteria of the automark, its folders and extensions,
// and the thresholds. It only edits settings. Main thread.
#pragma once

#include <vector>

class QWidget;

namespace quill {

class CAutomark;

// Runs the window modally. True when the user gave the word to mark: the settings are saved then,
// and `allowed` tells for each score whether it may take part.
[[nodiscard]] bool RunAutomarkWindow(QWidget* parent, const CAutomark& automark,
                                     std::vector<bool>* allowed);

}  // namespace quill
