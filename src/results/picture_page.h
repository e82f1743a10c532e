// SPDX-License-Identifier: GPL-3.0-or-later
// The page of the image duplicates: each group shows its pictures, small, and then its matches. To
// read thousands of pictures takes minutes, so the page works on a copy of the table: made on the
// main thread, and from then on used by any one thread while the table goes on changing. The copy
// holds records that the table holds too and the scores; the small pictures go straight to the
// file, one by one.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "results/image_dups_controller.h"
#include "results/match_groups.h"
#include "results/thumbnail_source.h"

namespace quill {

class CPicturePage {
 public:
  explicit CPicturePage(const CImageDupsController& table) : m_groups(table) {}

  // Called with the number of pictures done, of all, before each; false gives the page up.
  using GoOn = std::function<bool(size_t done, size_t count)>;

  // True when all of the page has been written. False otherwise, with the file as it was before:
  // after a report ("Export") with the reason for the user in `failure`, which is empty when `goOn`
  // gave up.
  [[nodiscard]] bool Write(const std::string& path, CThumbnailSource& thumbnails, const GoOn& goOn,
                           std::string* failure) const;

 private:
  CMatchGroups<CImageDupsController> m_groups;
};

}  // namespace quill
