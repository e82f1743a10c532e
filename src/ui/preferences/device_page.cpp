// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/device_page.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

#include "core/configuration.h"
#include "core/defaults.h"
#include "device/opencl.h"
#include "ui/widgets/readable_color.h"

namespace quill {

namespace {

constexpr const char* kDeviceKey = "valueOpenCLDevice";
constexpr const char* kSizeKey = "valueOpenCLWorkSize";
constexpr int kFirstSize = 64;
constexpr int kMostSize = 4096;

}  // namespace

CDevicePage::CDevicePage(COpenCL& device, CMainQueue& queue)
    : CSettingsPage(DefaultsOpenCl()),
      m_device(device),
      m_queue(queue),
      m_self(std::make_shared<CDevicePage*>(this)),
      m_popupClDevice(new QComboBox),
      m_test(new QPushButton(tr("&Test the Device"))),
      m_textClResult(new QLabel) {
  auto* const enable = new QCheckBox(tr("&Compare sounds on a compute device (OpenCL)"));
  enable->setToolTip(tr("The precise comparison runs there while it is free, with equal scores"));
  Bind(enable, "enableOpenCL");
  auto* const size = new QSpinBox;
  size->setRange(1, kMostSize);
  Bind(size, kSizeKey);

  auto* const layout = new QVBoxLayout(this);
  layout->addWidget(enable);
  auto* const box = new QGroupBox(tr("Device"));
  auto* const form = new QFormLayout(box);
  form->addRow(tr("&Device:"), m_popupClDevice);
  form->addRow(tr("&Work group size:"), size);
  m_textClResult->setMinimumHeight(4 * fontMetrics().lineSpacing());
  m_textClResult->setAlignment(Qt::AlignLeft | Qt::AlignTop);
  m_textClResult->setAccessibleName(tr("Result of the test"));
  auto* const row = new QHBoxLayout;
  row->addWidget(m_test);
  row->addStretch();
  form->addRow(QString(), row);
  form->addRow(QString(), m_textClResult);
  layout->addWidget(box);
  layout->addStretch();

  FillDevices();
  connect(m_popupClDevice, &QComboBox::activated, this, [this] {
    CConfiguration::Instance().SetString(kDeviceKey, m_popupClDevice->currentText().toStdString());
  });
  connect(m_test, &QPushButton::clicked, this, &CDevicePage::ActionBenchmark);
  ShowSettings();
}

CDevicePage::~CDevicePage() {
  if (m_thread) m_thread->join();
}

void CDevicePage::FillDevices() {
  std::vector<std::string> names;
  (void)m_device.GetDevices(&names);
  for (const std::string& name : names) m_popupClDevice->addItem(QString::fromStdString(name));
  const QString chosen =
      QString::fromStdString(CConfiguration::Instance().GetString(kDeviceKey, ""));
  const int index = m_popupClDevice->findText(chosen);
  if (!names.empty()) m_popupClDevice->setCurrentIndex(index < 0 ? 0 : index);
  // The one on show is the one that is used.
  if (!names.empty() && index < 0) CConfiguration::Instance().SetString(kDeviceKey, names[0]);
  m_popupClDevice->setEnabled(!names.empty());
  m_test->setEnabled(!names.empty());
  if (names.empty()) m_textClResult->setText(tr("This system offers no OpenCL device."));
}

void CDevicePage::ActionBenchmark() {
  const CConfiguration& configuration = CConfiguration::Instance();
  const auto size = static_cast<uint64_t>(configuration.GetInteger(kSizeKey, kFirstSize));
  if (!m_device.Reinit(configuration.GetString(kDeviceKey, ""), size))
    return ShowOutcome({.text = "Device error"});
  m_test->setEnabled(false);
  m_textClResult->setPalette(palette());
  m_textClResult->setText("Please wait...");
  if (m_thread) m_thread->join();
  const std::weak_ptr<CDevicePage*> weak = m_self;
  m_thread = std::make_unique<std::thread>([this, weak] {
    const DeviceBenchmark outcome = MeasureDevice(m_device);
    m_queue.Post([weak, outcome] {
      if (const auto self = weak.lock()) (*self)->ShowOutcome(outcome);
    });
  });
}

void CDevicePage::ShowOutcome(const DeviceBenchmark& outcome) {
  const bool good = outcome.outcome == DeviceBenchmark::Outcome::kSuccessful;
  const QColor colour = good ? QColor::fromRgbF(0.1F, 0.6F, 0.1F) : QColor::fromRgbF(0.7F, 0, 0);
  QPalette shown = palette();
  shown.setColor(QPalette::WindowText, ReadableOn(shown.color(QPalette::Window), colour));
  m_textClResult->setPalette(shown);
  m_textClResult->setText(QString::fromStdString(outcome.text));
  m_test->setEnabled(true);
}

}  // namespace quill
