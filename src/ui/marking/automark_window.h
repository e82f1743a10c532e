// SPDX-License-Identifier: GPL-3.0-or-later
// The window in which the user arranges the criteria of the automark, its folders and extensions,
// and the thresholds. Main thread.
#pragma once

class QWidget;

namespace quill {

class CAutomark;

// Runs the window modally and marks when the user gave the word to; the settings are saved then.
// True when it has marked.
bool RunAutomarkWindow(QWidget* parent, CAutomark& automark);

}  // namespace quill
