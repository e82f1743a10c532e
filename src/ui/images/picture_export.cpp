// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/images/picture_export.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QVBoxLayout>
#include <atomic>
#include <chrono>
#include <future>

#include "platform/decoded_thumbnails.h"
#include "results/picture_page.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

// What is done within a moment needs no dialog.
constexpr auto kMoment = std::chrono::milliseconds(300);
constexpr int kTickMs = 50;

struct Progress {
  std::atomic<size_t> done{0};
  std::atomic<size_t> count{0};
  std::atomic<bool> stopped{false};
};

template <class Future>
bool IsDone(const Future& work) {
  return work.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

// Until the work is done or the dialog is closed.
void ShowProgress(QWidget* parent, const std::string& path, const std::future<std::string>& work,
                  const Progress& progress) {
  QDialog dialog(parent);
  dialog.setWindowTitle(QObject::tr("Export"));
  auto* const label =
      new QLabel(QObject::tr("Reading pictures for “%1”").arg(ShownPath(path).section('/', -1)));
  label->setTextFormat(Qt::PlainText);
  auto* const bar = new QProgressBar;
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
  auto* const layout = new QVBoxLayout(&dialog);
  layout->addWidget(label);
  layout->addWidget(bar);
  layout->addWidget(buttons);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, &dialog, [&] {
    bar->setMaximum(static_cast<int>(progress.count.load()));
    bar->setValue(static_cast<int>(progress.done.load()));
    if (IsDone(work)) dialog.accept();
  });
  timer.start(kTickMs);
  dialog.exec();
}

}  // namespace

QString ExportPicturePage(QWidget* parent, const CImageDupsController& table,
                          const std::string& path) {
  const CPicturePage page(table);
  Progress progress;
  std::future<std::string> work = std::async(std::launch::async, [&] {
    CDecodedThumbnails thumbnails(CDecoderTable::Instance());
    std::string failure;
    (void)page.Write(
        path, thumbnails,
        [&](size_t done, size_t count) {
          progress.done = done;
          progress.count = count;
          return !progress.stopped;
        },
        &failure);
    return failure;
  });
  if (work.wait_for(kMoment) != std::future_status::ready)
    ShowProgress(parent, path, work, progress);
  // Without effect when the work is done.
  progress.stopped = true;
  return ShownPath(work.get());
}

}  // namespace quill
