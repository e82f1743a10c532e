// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop shows of a program that works in the background: a notification, and a number on
// its icon. Without a session bus, or with a desktop that has neither, nothing happens. Main
// thread.
#pragma once

#include <QString>
#include <cstdint>

namespace quill {

void Notify(const QString& summary, const QString& body);
// 0 takes the number away.
void ShowLauncherBadge(uint32_t count);

}  // namespace quill
