#include "platform/qt_main_queue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <utility>

namespace quill {

void CQtMainQueue::Post(std::function<void()> block) {
  QMetaObject::invokeMethod(QCoreApplication::instance(), std::move(block), Qt::QueuedConnection);
}

}  // namespace quill
