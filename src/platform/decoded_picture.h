// SPDX-License-Identifier: GPL-3.0-or-later
// A picture file for the eye, made smaller: the decoder program reads it, so that whatever a scan
// finds can be shown and no codec meets the file in this process. As stored, not turned by
// metadata.
#pragma once

#include <QImage>
#include <QSize>
#include <string>

namespace quill {

class CProcessLink;

struct DecodedPicture {
  QImage image;  // no side longer than asked for; null when the file cannot be read
  QSize pixels;  // of the file
};

// On the thread that owns the link. `edge` is in pixels; a smaller picture keeps its size.
[[nodiscard]] DecodedPicture DecodePicture(CProcessLink& link, const std::string& path, int edge);

}  // namespace quill
