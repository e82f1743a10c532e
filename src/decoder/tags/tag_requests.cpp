// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/tag_requests.h"

#include "decoder/input/input_file.h"
#include "decoder/tags/file_replacement.h"
#include "decoder/tags/tag_file.h"

namespace quill::decoder {

namespace {

bool HasTags(const std::string& path, TagFields* fields, Status* status) {
  CInputFile file;
  *status = Status::kCannotRead;
  if (!file.Open(path)) return false;
  CTagStream stream(file.Descriptor(), true);
  const CTagFile tags(stream);
  *status = tags.IsValid() ? Status::kOk : Status::kNoTags;
  if (tags.IsValid()) tags.Read(fields);
  return tags.IsValid();
}

}  // namespace

Status ReadTags(const std::string& path, TagFields* fields) {
  Status status;
  (void)HasTags(path, fields, &status);
  return status;
}

Status WriteTags(const std::string& path, const TagFields& fields) {
  Status status;
  TagFields before;
  if (!HasTags(path, &before, &status)) return status;
  CFileReplacement replacement;
  if (!replacement.Begin(path)) return Status::kCannotWrite;
  {
    CTagStream stream(replacement.Descriptor(), false);
    CTagFile tags(stream);
    if (!tags.IsValid()) return Status::kNoTags;
    if (!tags.Change(fields)) return Status::kOk;
    if (!tags.Save() || stream.HasFailed()) return Status::kCannotWrite;
  }
  // What was written must read as a file of the same kind.
  CTagStream stream(replacement.Descriptor(), true);
  if (!CTagFile(stream).IsValid()) return Status::kCannotWrite;
  return replacement.Commit() ? Status::kOk : Status::kCannotWrite;
}

}  // namespace quill::decoder
