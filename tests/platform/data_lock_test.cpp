// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/data_lock.h"

#include <gtest/gtest.h>

#include "support/temp_folder.h"

namespace quill {
namespace {

TEST(DataLock, OneHolderAtATime) {
  const test::CTempFolder folder;
  CDataLock second;
  {
    CDataLock first;
    EXPECT_EQ(first.Lock(folder / "lock"), CDataLock::Result::kLocked);
    EXPECT_EQ(second.Lock(folder / "lock"), CDataLock::Result::kTaken);
  }
  EXPECT_EQ(second.Lock(folder / "lock"), CDataLock::Result::kLocked);
  CDataLock third;
  EXPECT_EQ(third.Lock(folder / "missing/lock"), CDataLock::Result::kFailed);
}

}  // namespace
}  // namespace quill
