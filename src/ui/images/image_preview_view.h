// SPDX-License-Identifier: GPL-3.0-or-later
// The strip beside the image table: the selected picture large, its neighbours in the table small,
// with those of its group at full strength. The wheel moves the strip on to other pictures, and the
// next change of the selection moves it back. Pictures are loaded in the background, and a small
// cache keeps what was used last. Main thread.
#pragma once

#include <QPixmap>
#include <QWidget>
#include <map>
#include <memory>
#include <string>

#include "ui/images/preview_loader.h"

namespace quill {

class CImageDupsController;

class TDXImagePreviewView : public QWidget {
  Q_OBJECT

 public:
  // Both must outlive the view.
  TDXImagePreviewView(const CImageDupsController& controller, CMainQueue& queue,
                      QWidget* parent = nullptr);

  // The selected row, -1 for none.
  void SetIndex(int index);
  // The rows of the table have changed.
  void RowsChanged();
  // The row of the large picture.
  [[nodiscard]] int CentreRow() const { return m_centre; }

  [[nodiscard]] QSize sizeHint() const override { return {260, 400}; }
  [[nodiscard]] QSize minimumSizeHint() const override { return {140, 180}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  struct Item {
    QPixmap image;        // null while it is not loaded, or when it cannot be
    QSize pixels;         // of the whole picture
    int edge = 0;         // it was loaded for, in pixels
    bool loaded = false;  // an attempt has ended, even a failed one
    bool used = false;    // by the last drawing
  };

  // The item of the row's file, made if it is missing.
  [[nodiscard]] Item& ItemOf(int row);
  [[nodiscard]] QSizeF SizeOf(int row);
  void LoadNext();
  void Take(const CPreviewLoader::Loaded& loaded);

  const CImageDupsController& m_controller;
  int m_index = -1;
  int m_centre = -1;  // the selected row, unless the wheel was turned
  int m_wheel = 0;    // what has been turned since the last step, in eighths of a degree
  std::map<std::string, Item, std::less<>> m_items;  // by path
  CPreviewLoader m_loader;
};

}  // namespace quill
