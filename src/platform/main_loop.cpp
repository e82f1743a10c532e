// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/main_loop.h"

#include <QThread>
#include <QTimer>
#include <utility>

namespace quill {

namespace {

constexpr int kLookAgainMs = 100;

void CallAfter(int delayMs, QObject* context, std::function<void()> call) {
  QTimer::singleShot(delayMs, context, [context, call = std::move(call)] {
    if (QThread::currentThread()->loopLevel() > 1)
      CallAfter(kLookAgainMs, context, call);
    else
      call();
  });
}

}  // namespace

void CallFromMainLoop(QObject* context, std::function<void()> call) {
  CallAfter(0, context, std::move(call));
}

}  // namespace quill
