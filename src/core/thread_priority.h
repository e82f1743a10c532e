// SPDX-License-Identifier: GPL-3.0-or-later
// The priority of threads that work in the background.
#pragma once

namespace quill {

// Puts the calling thread, and so every thread and process that it starts, behind all others of
// this machine, for processor and disk. Best effort: work that may not be made modest still runs.
void GiveWayToOthers();

}  // namespace quill
