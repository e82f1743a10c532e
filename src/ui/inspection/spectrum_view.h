// SPDX-License-Identifier: GPL-3.0-or-later
// What the two views of a file's spectrum share: the builder that is started with the path, the
// message that stands where no result is yet, the scale and its setting, the picture for a file.
// The builder's thread only asks for a new drawing. Main thread.
#pragma once

#include <QWidget>
#include <memory>
#include <string>

#include "core/main_queue.h"
#include "inspection/spectrum_builder.h"

namespace quill {

// Where a view keeps its choices, and what holds while nothing is kept.
struct SpectrumSettings {
  const char* yAxis;
  const char* size;
  const char* overlap;
  bool yAxisDefault;
  int sizeDefault;
  int overlapDefault;
};

// What there is to choose from: transform lengths N, all powers of two of a range, and overlaps in
// percent.
[[nodiscard]] const QList<int>& SpectrumSizes();
[[nodiscard]] const QList<int>& SpectrumOverlaps();

class CSpectrumView : public QWidget {
  Q_OBJECT

 public:
  // Starts building with the stored choices; with the defaults for those that are none.
  void SetPath(const std::string& path);
  // A run in progress ends; results on show stay until the new ones are there.
  void Build(int size, int overlap);

  [[nodiscard]] const SpectrumSettings& Settings() const { return m_settings; }
  [[nodiscard]] bool IsLogarithmic() const { return m_yAxisLogarithmic; }
  // Kept for later windows too. Needs no new run.
  void SetLogarithmic(bool logarithmic);
  // Of the run in progress, or of a run that failed; else empty.
  [[nodiscard]] QString RunText() const;
  // What the view shows, as large as it is on the screen, without its scroll bar.
  [[nodiscard]] QImage Picture();

  [[nodiscard]] QSize sizeHint() const override { return {900, 560}; }
  [[nodiscard]] QSize minimumSizeHint() const override { return {240, 160}; }

 signals:
  // The run has gone on or has ended.
  void Changed();

 protected:
  // `queue` must outlive the view. Connect is for the derived constructor, with the builder that it
  // owns: that one ends before this class does.
  CSpectrumView(const SpectrumSettings& settings, CMainQueue& queue, QWidget* parent);
  void Connect(CSpectrumBuilder& builder);

  [[nodiscard]] virtual bool HasResults() const = 0;
  virtual void DrawResults(QPainter& painter) = 0;
  // A run has ended.
  virtual void ResultsChanged() {}
  virtual void ScaleChanged() {}
  [[nodiscard]] virtual QRect DrawnRect() const { return rect(); }

  void paintEvent(QPaintEvent* event) override;

 private:
  void Progress();

  const SpectrumSettings m_settings;
  CMainQueue& m_queue;
  // Blocks on the main queue hold it weakly: one that comes after the view does nothing.
  std::shared_ptr<CSpectrumView*> m_self;
  CSpectrumBuilder* m_builder = nullptr;
  std::string m_path;
  bool m_yAxisLogarithmic;
};

}  // namespace quill
