// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/inspection/player_window.h"

#include <QAction>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QShortcut>
#include <QSlider>
#include <QToolBar>
#include <QVBoxLayout>

#include "core/main_queue.h"
#include "results/path_parts.h"
#include "ui/inspection/player_view.h"
#include "ui/widgets/icons.h"
#include "ui/widgets/path_text.h"

namespace quill {

namespace {

constexpr int kVolumeSteps = 100;
constexpr int kSeekSeconds = 5;

}  // namespace

TDXPlayerWindow::TDXPlayerWindow(std::unique_ptr<CAudioOutput> output, CMainQueue& queue,
                                 QWidget* parent)
    : QWidget(parent, Qt::Window),
      m_output(std::move(output)),
      m_view(new TDXPlayerView(*m_output, queue)),
      m_play(new QAction(this)),
      m_text(new QLabel) {
  setWindowTitle(tr("Player"));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* bar = new QToolBar;
  bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  m_play->setShortcut(Qt::Key_Space);
  bar->addAction(m_play);
  bar->addWidget(m_text);
  auto* space = new QWidget;
  space->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
  bar->addWidget(space);
  auto* volumeIcon = new QLabel;
  volumeIcon->setPixmap(Icon("audio-volume-high").pixmap(20, 20));
  bar->addWidget(volumeIcon);
  auto* volume = new QSlider(Qt::Horizontal);
  volume->setRange(0, kVolumeSteps);
  volume->setMaximumWidth(140);
  volume->setValue(qRound(m_view->Player().Volume() * kVolumeSteps));
  volume->setAccessibleName(tr("Volume"));
  volume->setToolTip(tr("Volume"));
  connect(volume, &QSlider::valueChanged, this,
          [this](int value) { m_view->SetVolume(static_cast<float>(value) / kVolumeSteps); });
  bar->addWidget(volume);
  layout->addWidget(bar);
  layout->addWidget(m_view, 1);
  resize(680, 240);

  connect(m_play, &QAction::triggered, this, [this] { m_view->PlayPause(); });
  connect(m_view, &TDXPlayerView::Changed, this, &TDXPlayerWindow::ShowState);
  for (const auto& [key, seconds] :
       {std::pair{Qt::Key_Left, -kSeekSeconds}, {Qt::Key_Right, kSeekSeconds}}) {
    const int by = seconds;
    connect(new QShortcut(key, m_view, nullptr, nullptr, Qt::WindowShortcut), &QShortcut::activated,
            this, [this, by] { m_view->SeekBy(by); });
  }
  connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
  ShowState();
}

TDXPlayerWindow::~TDXPlayerWindow() {
  // Before the output that it plays on.
  delete m_view;
}

void TDXPlayerWindow::OpenWithFile(const std::string& path) {
  setWindowTitle(ShownPath(std::string(NamePart(path))));
  setToolTip(ShownPath(path));
  m_view->SetPath(path);
  show();
  raise();
  activateWindow();
}

void TDXPlayerWindow::closeEvent(QCloseEvent* event) {
  m_view->Clear();
  QWidget::closeEvent(event);
}

void TDXPlayerWindow::ShowState() {
  const uint32_t state = m_view->Player().GetState();
  const bool playing = state == CAudioPlayer::kPlaying;
  m_play->setIcon(Icon(playing ? "scan-pause" : "scan-start"));
  m_play->setText(playing ? tr("Pause") : tr("Play"));
  m_play->setToolTip(playing ? tr("Hold (Space)") : tr("Play (Space)"));
  m_play->setEnabled(playing || state == CAudioPlayer::kPaused || state == CAudioPlayer::kFinished);
  switch (state) {
    case CAudioPlayer::kCannotOpen:
      m_text->setText(
          tr("This file cannot be played here: it cannot be read, or there is no sound "
             "output"));
      break;
    case CAudioPlayer::kFailed:
      m_text->setText(tr("Playing has failed: the file or the sound output went away"));
      break;
    default:
      m_text->setText(m_view->TimeText());
      break;
  }
}

}  // namespace quill
