// The tags of one sound file, in every standard that its type knows. The type is told by the
// content, never by the name: a tag of the wrong standard in front of another format would damage
// the file.
#pragma once

#include <memory>

#include "decoder/tags/tag_fields.h"
#include "decoder/tags/tag_stream.h"

namespace TagLib {
class File;
}

namespace quill::decoder {

class CTagFile {
 public:
  // `stream` must outlive the object.
  explicit CTagFile(CTagStream& stream);
  ~CTagFile();
  CTagFile(const CTagFile&) = delete;
  CTagFile& operator=(const CTagFile&) = delete;

  // False for content of a type that has no tags here.
  [[nodiscard]] bool IsValid() const;
  void Read(TagFields* fields) const;
  // Changes those of the given fields that differ from what is there, so that a date or a
  // "track of" that says more than the number given stays. All else in the file is kept: pictures,
  // unknown frames, other standards. False when nothing differs.
  [[nodiscard]] bool Change(const TagFields& fields);
  // Writes the changes to the stream. A failed write also shows in the stream.
  [[nodiscard]] bool Save();

 private:
  CTagStream& m_stream;
  std::unique_ptr<TagLib::File> m_file;
};

}  // namespace quill::decoder
