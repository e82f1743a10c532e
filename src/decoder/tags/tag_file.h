// SPDX-License-Identifier: GPL-3.0-or-later
// The tags of one sound file, in every standard that its type knows. The type is told by the
// content, never by the name: a tag of the wrong standard in front of another format would damage
// the file.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "decoder/tags/tag_doubles.h"
#include "decoder/tags/tag_fields.h"
#include "decoder/tags/tag_stream.h"

namespace TagLib {
class File;
class Tag;
namespace APE {
class Tag;
}
}  // namespace TagLib

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
  // "track of" that says more than the number given stays. Doubles that say something else go. All
  // else in the file is kept: pictures, unknown frames, other standards. False when nothing
  // differs.
  [[nodiscard]] bool Change(const TagFields& fields);
  // Writes the changes to the stream. A failed write also shows in the stream.
  [[nodiscard]] bool Save();

 private:
  // Over the doubles of all tags; true when one went.
  bool Visit(TagFact fact, const DoubleGoes& goes) const;
  [[nodiscard]] std::string DoubleOf(TagFact fact) const;

  CTagStream& m_stream;
  std::unique_ptr<TagLib::File> m_file;
  std::unique_ptr<TagLib::APE::Tag> m_trailing;  // of m_file; null for most
  std::vector<TagLib::Tag*> m_shown;             // what a reader sees: the first that has the fact
  std::vector<TagLib::Tag*> m_changed;           // the single tags that a change goes to
};

}  // namespace quill::decoder
