// SPDX-License-Identifier: GPL-3.0-or-later
// Pictures that libvips reads: JPEG, PNG, GIF, TIFF, WebP, HEIF with AVIF, and JPEG XL. The loader
// follows from the signature; libvips itself guesses nothing, and all its other loaders are
// blocked. Rows are decoded a few at a time and land in the target where the format allows it;
// interlaced PNG, WebP, HEIF and JPEG XL are decoded whole in this process's memory first.
//
// Of an animation or a file of many pages the first picture counts. Damaged pixel data are filled
// in by the codec as far as it can, as viewers do. Grey and other colours become sRGB by formula,
// their profile unused.
//
// CMYK goes through colour management: by the profile in the file if it is one of CMYK, else by the
// library's own of a common press, relative to white and without compensation of black, in one step
// from inks to sRGB. (The library's plain change of colour space takes several, which differ from
// version to version by several levels.) JPEG stores inks upside down, whether or not Adobe's
// marker says so, as all common writers do and viewers expect; TIFF stores them upright.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "decoder/input/input_file.h"
#include "decoder/picture/picture.h"
#include "decoder/picture/picture_format.h"

namespace quill::decoder {

// Null when the header cannot be read. `file` must outlive the picture.
[[nodiscard]] std::unique_ptr<CPicture> OpenVipsPicture(const CInputFile& file,
                                                        PictureFormat format);
// The same for a PNG file inside an icon.
[[nodiscard]] std::unique_ptr<CPicture> OpenIconPng(std::vector<uint8_t> bytes);

}  // namespace quill::decoder
