// SPDX-License-Identifier: GPL-3.0-or-later
// Page of the preferences: precise comparison on a compute device, which one, and the proof that it
// works. Main thread; the benchmark runs on a thread of its own while the page says that it does.
#pragma once

#include <memory>
#include <thread>

#include "audio/device_benchmark.h"
#include "core/main_queue.h"
#include "ui/preferences/settings_page.h"

class QComboBox;
class QLabel;
class QPushButton;

namespace quill {

class COpenCL;

class CDevicePage : public CSettingsPage {
 public:
  // Both must outlive the page.
  CDevicePage(COpenCL& device, CMainQueue& queue);
  // Waits for the end of a benchmark.
  ~CDevicePage() override;

 private:
  void FillDevices();
  void ActionBenchmark();
  void ShowOutcome(const DeviceBenchmark& outcome);

  COpenCL& m_device;
  CMainQueue& m_queue;
  // Blocks on the main queue hold it weakly.
  std::shared_ptr<CDevicePage*> m_self;
  QComboBox* m_popupClDevice;
  QPushButton* m_test;
  QLabel* m_textClResult;
  std::unique_ptr<std::thread> m_thread;
};

}  // namespace quill
