// SPDX-License-Identifier: GPL-3.0-or-later
// The two windows that look into one file: what a run is made of at the top, the view below. Each
// lives until the user closes it. Main thread.
#pragma once

#include <QMainWindow>
#include <string>

class QActionGroup;
class QComboBox;
class QLabel;

namespace quill {

class CMainQueue;
class CSpectrumView;

class CSpectrumWindow : public QMainWindow {
  Q_OBJECT

 protected:
  // Takes the view over and starts it. The two names are those of the scale's menu entries.
  CSpectrumWindow(CSpectrumView* view, const std::string& path, const QString& logarithmic,
                  const QString& linear, QWidget* parent);

 private:
  void MakeMenus(const QString& logarithmic, const QString& linear);
  void MakeToolbar();
  // buildButton: the choices are kept, and the view builds with them.
  void BuildAnew();
  void SavePicture();

  CSpectrumView* m_view;
  const std::string m_path;
  QComboBox* m_fftSize;
  QComboBox* m_fftOverlap;
  QLabel* m_state;
};

class TDXSpectrogramWindow : public CSpectrumWindow {
  Q_OBJECT

 public:
  // `queue` must outlive the window.
  TDXSpectrogramWindow(const std::string& path, CMainQueue& queue, QWidget* parent = nullptr);
};

class TDXSonogramWindow : public CSpectrumWindow {
  Q_OBJECT

 public:
  TDXSonogramWindow(const std::string& path, CMainQueue& queue, QWidget* parent = nullptr);
};

}  // namespace quill
