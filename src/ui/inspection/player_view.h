// SPDX-License-Identifier: GPL-3.0-or-later
// Plays a file and shows its level envelope as far as it has been decoded, the part already played
// in colour; a click seeks. Main thread.
#pragma once

#include <QWidget>
#include <memory>

#include "core/main_queue.h"
#include "inspection/audio_player.h"

namespace quill {

class TDXPlayerView : public QWidget {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXPlayerView(CAudioOutput& output, CMainQueue& queue, QWidget* parent = nullptr);
  ~TDXPlayerView() override;

  void SetPath(const std::string& path);
  // Nothing plays, and nothing is open.
  void Clear();
  void PlayPause();
  void SetVolume(float volume) { m_player.SetVolume(volume); }
  // By keyboard: so many seconds on, or back.
  void SeekBy(int seconds);
  [[nodiscard]] const CAudioPlayer& Player() const { return m_player; }

  // "0:07 / 3:25"
  [[nodiscard]] QString TimeText() const;
  [[nodiscard]] QSize sizeHint() const override { return {640, 160}; }
  [[nodiscard]] QSize minimumSizeHint() const override { return {240, 60}; }

 signals:
  // State or position have changed.
  void Changed();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;

 private:
  struct Panel {
    size_t channel;
    QRectF rect;
    QColor stroke, fill;
  };

  void Invalidate();
  // Marks the strip between two slices for drawing.
  void UpdateStrip(uint32_t a, uint32_t b);
  void PaintPanel(QPainter& painter, const Panel& panel, size_t start, size_t end) const;
  void PaintGraph(QPainter& painter, const Panel& panel, size_t start, size_t end,
                  const QColor& stroke, const QColor& fill) const;

  // Blocks on the main queue hold it weakly: one that comes after the view does nothing.
  std::shared_ptr<TDXPlayerView*> m_self;
  CAudioPlayer m_player;
  uint32_t m_lastIdx = 0;  // the last slice that was drawn as decoded
  uint32_t m_lastPos = 0;  // the slice of the last playing position
};

}  // namespace quill
