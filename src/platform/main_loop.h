// SPDX-License-Identifier: GPL-3.0-or-later
// The way from what arrives by itself (a second start, a server's answer, a drop) to what may open
// a dialog or change the tables. Such a call must not be made from inside a signal, whose sender
// may be gone when a dialog's event loop returns, nor while a dialog, a menu or a file operation is
// open, which works on the state it found. Main thread.
#pragma once

#include <functional>

class QObject;

namespace quill {

// Runs `call` later, from the event loop of the program itself: while another one runs inside it,
// the call waits for that one's end. Dropped when `context` goes first.
void CallFromMainLoop(QObject* context, std::function<void()> call);

}  // namespace quill
