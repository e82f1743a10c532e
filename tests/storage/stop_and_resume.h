// SPDX-License-Identifier: GPL-3.0-or-later
// The end of a program and its next start, as the scan state of an engine sees them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "storage/pending_work.h"

namespace quill::test {

// Writes the state of the scan, lets it be forgotten, and reads it back.
template <class Forget>
void StopAndResume(const std::string& path, CPendingWorkState* audio, CPendingWorkState* image,
                   Forget forget) {
  class CNothingPending : public CPendingWorkPool, public CPendingWorkQueue {
    void Shutdown(CSerializer*) override {}
    void Requeue(uint32_t, std::string, uint8_t, uint8_t) override { ADD_FAILURE(); }
  } nothing;
  CPendingWorkStore pending;
  ASSERT_TRUE(pending.Open(path));
  ASSERT_TRUE(CSerializer(pending, nothing, audio, image).InnerProcess());
  forget();
  ASSERT_TRUE(CSerializerReader(pending, nothing, audio, image).InnerProcess());
}

}  // namespace quill::test
