// SPDX-License-Identifier: GPL-3.0-or-later
// Runs a test under every variant of the vector code that this processor can run, since only the
// best one is chosen otherwise.
#pragma once

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include <cstdint>

namespace quill::test {

template <class Body>
void EachTarget(Body body) {
  for (int64_t left = hwy::SupportedTargets(); left != 0; left &= left - 1) {
    const int64_t target = left & -left;
    SCOPED_TRACE(hwy::TargetName(target));
    hwy::SetSupportedTargetsForTest(target);
    hwy::GetChosenTarget().DeInit();
    body();
  }
  hwy::SetSupportedTargetsForTest(0);
  hwy::GetChosenTarget().DeInit();
}

}  // namespace quill::test
