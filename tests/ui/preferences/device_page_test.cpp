// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/preferences/device_page.h"

#include <gtest/gtest.h>

#include <QComboBox>
#include <QLabel>
#include <QPushButton>

#include "core/configuration.h"
#include "core/settings_store.h"
#include "support/manual_queue.h"
#include "support/test_device.h"

namespace quill {
namespace {

class DevicePageTest : public testing::Test {
 protected:
  DevicePageTest() { CConfiguration::Instance().SetStore(&m_store); }
  ~DevicePageTest() override { CConfiguration::Instance().SetStore(nullptr); }

  static QLabel* ResultOf(const CDevicePage& page) {
    for (QLabel* const label : page.findChildren<QLabel*>())
      if (label->accessibleName() == "Result of the test") return label;
    return nullptr;
  }
  QString Test(const CDevicePage& page) {
    auto* const button = page.findChild<QPushButton*>();
    const QLabel* const result = ResultOf(page);
    button->click();
    EXPECT_TRUE(m_queue.RunUntil([&] { return result->text() != "Please wait..."; }));
    EXPECT_TRUE(button->isEnabled());
    return result->text();
  }

  CMemorySettingsStore m_store;
  test::CManualQueue m_queue;
  const test::CDeviceControl m_control;
};

TEST_F(DevicePageTest, TestsTheDeviceOnShow) {
  COpenCL device(FAKE_OPENCL);
  CDevicePage page(device, m_queue);
  // The first device of the list is on show, and is the one that scans would use.
  EXPECT_EQ(page.findChild<QComboBox*>()->currentText().toStdString(), test::DeviceName(device));
  EXPECT_EQ(CConfiguration::Instance().GetString("valueOpenCLDevice", ""),
            test::DeviceName(device));
  EXPECT_TRUE(Test(page).startsWith("Successful\n"));
  m_control->wrong = true;
  EXPECT_EQ(Test(page), "Calculation error");
}

TEST_F(DevicePageTest, MayBeClosedInMidTest) {
  COpenCL device(FAKE_OPENCL);
  {
    CDevicePage page(device, m_queue);
    page.findChild<QPushButton*>()->click();
  }
  bool last = false;
  m_queue.Post([&] { last = true; });
  EXPECT_TRUE(m_queue.RunUntil([&] { return last; }));
}

TEST_F(DevicePageTest, WithoutADeviceThereIsNothingToChoose) {
  COpenCL device("libno-such-library.so.1");
  const CDevicePage page(device, m_queue);
  EXPECT_FALSE(page.findChild<QComboBox*>()->isEnabled());
  EXPECT_FALSE(page.findChild<QPushButton*>()->isEnabled());
  EXPECT_EQ(ResultOf(page)->text(), "This system offers no OpenCL device.");
}

}  // namespace
}  // namespace quill
