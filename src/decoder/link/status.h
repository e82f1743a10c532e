// SPDX-License-Identifier: GPL-3.0-or-later
// The program's own answers to commands. The application only hands them on: zero is success, and
// any other value means that this file, or this command, cannot be served.
#pragma once

#include <cstdint>

namespace quill::decoder {

enum class Status : uint32_t {
  kOk = 0,
  kCannotRead = 1,     // no such file, no permission, or not a regular file
  kUnknownFormat = 2,  // the content is of no format that an enabled row of the table opens
  kVideoRefused = 3,   // holds a video stream, and the request refuses those
  kNoSound = 4,        // a known format, with no sound stream that can be decoded
  kNothingOpen = 5,    // the command needs an open file
  kNoMapping = 6,      // the application could not provide room for the data
  kNoTags = 7,         // content of a type that has no tags, or of no known type
  kBadHandshake = 8,   // the application speaks another version
  kTooLarge = 9,       // a picture beyond what is delivered
  kDamaged = 10,       // a picture whose pixels cannot be decoded
  kCannotWrite = 11,   // no permission, a full disk, or a file that changed meanwhile
};

}  // namespace quill::decoder
