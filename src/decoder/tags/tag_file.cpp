// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/tag_file.h"

#include <apefile.h>
#include <apetag.h>
#include <asffile.h>
#include <flacfile.h>
#include <id3v1tag.h>
#include <id3v2framefactory.h>
#include <id3v2header.h>
#include <id3v2tag.h>
#include <infotag.h>
#include <mp4file.h>
#include <mpcfile.h>
#include <mpegfile.h>
#include <oggflacfile.h>
#include <opusfile.h>
#include <speexfile.h>
#include <trueaudiofile.h>
#include <vorbisfile.h>
#include <wavfile.h>
#include <wavpackfile.h>
#include <xiphcomment.h>

#include <cstdlib>
#include <iterator>
#include <type_traits>
#include <vector>

#include "decoder/tags/aiff_file.h"
#include "decoder/tags/trailing_ape_tag.h"
#include "decoding/wire.h"

namespace quill::decoder {

namespace {

using TagLib::String;

// The first that knows the content. FLAC, which takes its mark anywhere near the start for its own,
// comes after the Ogg files that may hold it, and MPEG last: its frames have the shortest mark.
template <class First, class... Rest>
std::unique_ptr<TagLib::File> Recognise(TagLib::IOStream* stream) {
  if (First::isSupported(stream)) {
    // These two take the maker of tag frames before the stream.
    if constexpr (std::is_same_v<First, TagLib::MPEG::File> ||
                  std::is_same_v<First, TagLib::FLAC::File>)
      return std::make_unique<First>(stream, TagLib::ID3v2::FrameFactory::instance(), false);
    else
      return std::make_unique<First>(stream, false);
  }
  if constexpr (sizeof...(Rest) != 0) return Recognise<Rest...>(stream);
  return nullptr;
}

TagLib::ID3v2::Version SameVersion(const TagLib::ID3v2::Tag* tag) {
  return tag && tag->header()->majorVersion() == 3 ? TagLib::ID3v2::v3 : TagLib::ID3v2::v4;
}

// Monkey's Audio, Musepack and WavPack.
template <class Type>
bool AddApeAndShort(TagLib::File* file, std::vector<TagLib::Tag*>& tags) {
  auto* typed = dynamic_cast<Type*>(file);
  if (typed == nullptr) return false;
  if (typed->hasID3v1Tag()) tags.push_back(typed->ID3v1Tag());
  tags.push_back(typed->APETag(true));
  return true;
}

// Those that the file has, and the type's own: the short tag alone would cut the texts.
std::vector<TagLib::Tag*> TagsToChange(TagLib::File* file, TagLib::APE::Tag* trailing) {
  std::vector<TagLib::Tag*> tags;
  if (trailing) tags.push_back(trailing);
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
    if (mpeg->hasAPETag()) tags.push_back(mpeg->APETag());
    if (mpeg->hasID3v1Tag()) tags.push_back(mpeg->ID3v1Tag());
    if (mpeg->hasID3v2Tag() || !mpeg->hasAPETag()) tags.push_back(mpeg->ID3v2Tag(true));
  } else if (auto* wave = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
    if (wave->hasID3v2Tag()) tags.push_back(wave->ID3v2Tag());
    if (wave->hasInfoTag() || tags.empty()) tags.push_back(wave->InfoTag());
  } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
    if (flac->hasID3v1Tag()) tags.push_back(flac->ID3v1Tag());
    if (flac->hasID3v2Tag()) tags.push_back(flac->ID3v2Tag());
    tags.push_back(flac->xiphComment(true));
  } else if (auto* tta = dynamic_cast<TagLib::TrueAudio::File*>(file)) {
    if (tta->hasID3v1Tag()) tags.push_back(tta->ID3v1Tag());
    if (tta->hasID3v2Tag() || !trailing) tags.push_back(tta->ID3v2Tag(true));
  } else if (!AddApeAndShort<TagLib::APE::File>(file, tags) &&
             !AddApeAndShort<TagLib::MPC::File>(file, tags) &&
             !AddApeAndShort<TagLib::WavPack::File>(file, tags)) {
    tags.push_back(file->tag());
  }
  return tags;
}

// Of a wave file the library would show one of its two standards only.
TagLib::Tag* ShownTag(TagLib::File* file) {
  const auto* wave = dynamic_cast<TagLib::RIFF::WAV::File*>(file);
  if (wave && (!wave->hasID3v2Tag() || wave->ID3v2Tag()->isEmpty())) return wave->InfoTag();
  return file->tag();
}

// The library forgets whether the block of comments is the last before the sound, and then takes
// the sound for another block.
bool SaveOggFlac(TagLib::Ogg::FLAC::File* file) {
  constexpr unsigned int kCommentPacket = 1;
  constexpr char kCommentBlock = 4;
  constexpr char kType = 0x7F;
  const TagLib::ByteVector before = file->packet(kCommentPacket);
  if (before.isEmpty() || (before[0] & kType) != kCommentBlock) return false;
  const TagLib::ByteVector comments = file->tag()->render(false);
  TagLib::ByteVector packet = TagLib::ByteVector::fromUInt(comments.size());
  packet[0] = before[0];
  packet.append(comments);
  file->setPacket(kCommentPacket, packet);
  return file->TagLib::Ogg::File::save();
}

using TextGetter = String (TagLib::Tag::*)() const;
using TextSetter = void (TagLib::Tag::*)(const String&);
using NumberGetter = unsigned int (TagLib::Tag::*)() const;
using NumberSetter = void (TagLib::Tag::*)(unsigned int);

template <class Getter, class Setter>
struct Accessor {
  TagFact fact;
  Getter get;
  Setter set;
};

// In the order of the wire.
constexpr Accessor<TextGetter, TextSetter> kTexts[] = {
    {TagFact::kTitle, &TagLib::Tag::title, &TagLib::Tag::setTitle},
    {TagFact::kArtist, &TagLib::Tag::artist, &TagLib::Tag::setArtist},
    {TagFact::kAlbum, &TagLib::Tag::album, &TagLib::Tag::setAlbum},
    {TagFact::kGenre, &TagLib::Tag::genre, &TagLib::Tag::setGenre},
    {TagFact::kComment, &TagLib::Tag::comment, &TagLib::Tag::setComment}};
constexpr Accessor<NumberGetter, NumberSetter> kNumbers[] = {
    {TagFact::kYear, &TagLib::Tag::year, &TagLib::Tag::setYear},
    {TagFact::kTrack, &TagLib::Tag::track, &TagLib::Tag::setTrack}};

// Of the first digits, so that a full date gives its year.
uint32_t ToNumber(const std::string& text) {
  return static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
}

}  // namespace

CTagFile::CTagFile(CTagStream& stream)
    : m_stream(stream),
      m_file(Recognise<TagLib::Ogg::Vorbis::File, TagLib::Ogg::Opus::File, TagLib::Ogg::FLAC::File,
                       TagLib::Ogg::Speex::File, TagLib::FLAC::File, TagLib::MP4::File,
                       TagLib::ASF::File, CAiffFile, TagLib::RIFF::WAV::File, TagLib::APE::File,
                       TagLib::MPC::File, TagLib::WavPack::File, TagLib::TrueAudio::File,
                       TagLib::MPEG::File>(&stream)) {
  if (!m_file || !m_file->isValid()) return;
  if (dynamic_cast<TagLib::TrueAudio::File*>(m_file.get()))
    m_trailing = ReadTrailingApeTag(m_file.get());
  if (m_trailing) m_shown.push_back(m_trailing.get());
  if (TagLib::Tag* tag = ShownTag(m_file.get())) m_shown.push_back(tag);
  m_changed = TagsToChange(m_file.get(), m_trailing.get());
}

CTagFile::~CTagFile() = default;

bool CTagFile::IsValid() const {
  return !m_shown.empty() && !m_stream.HasFailed();
}

bool CTagFile::Visit(TagFact fact, const DoubleGoes& goes) const {
  bool went = false;
  for (TagLib::Tag* tag : m_changed) went |= VisitDoubles(tag, fact, goes);
  if (auto* aiff = dynamic_cast<CAiffFile*>(m_file.get())) went |= aiff->VisitChunks(fact, goes);
  return went;
}

std::string CTagFile::DoubleOf(TagFact fact) const {
  std::string found;
  Visit(fact, [&](const std::string& value) {
    if (found.empty()) found = value;
    return false;
  });
  return found;
}

void CTagFile::Read(TagFields* fields) const {
  for (size_t i = 0; i < std::size(kTexts); ++i) {
    std::string& text = fields->texts[i];
    text.clear();
    for (const TagLib::Tag* tag : m_shown)
      if (text.empty()) text = (tag->*kTexts[i].get)().to8Bit(true);
    if (text.empty()) text = DoubleOf(kTexts[i].fact);
  }
  for (size_t i = 0; i < std::size(kNumbers); ++i) {
    uint32_t& number = fields->numbers[i];
    number = 0;
    for (const TagLib::Tag* tag : m_shown)
      if (number == 0) number = (tag->*kNumbers[i].get)();
    if (number == 0) number = ToNumber(DoubleOf(kNumbers[i].fact));
  }
}

bool CTagFile::Change(const TagFields& fields) {
  TagFields now;
  Read(&now);
  bool changed = false;
  for (size_t i = 0; i < std::size(kTexts); ++i) {
    if ((fields.mask & wire::kTagTexts[i]) == 0) continue;
    const std::string& text = fields.texts[i];
    // First, while what is a double shows: the setters may take out the field beside it.
    changed |= Visit(kTexts[i].fact, [&](const std::string& value) { return value != text; });
    if (text == now.texts[i]) continue;
    for (TagLib::Tag* tag : m_changed) (tag->*kTexts[i].set)(String(text, String::UTF8));
    changed = true;
  }
  for (size_t i = 0; i < std::size(kNumbers); ++i) {
    if ((fields.mask & wire::kTagNumbers[i]) == 0) continue;
    const uint32_t number = fields.numbers[i];
    if (number != now.numbers[i]) {
      for (TagLib::Tag* tag : m_changed) (tag->*kNumbers[i].set)(number);
      changed = true;
    }
    // Behind the setters, some of which write a 0.
    changed |= Visit(kNumbers[i].fact, [&](const std::string& value) {
      return number == 0 || ToNumber(value) != number;
    });
  }
  return changed;
}

bool CTagFile::Save() {
  using TagLib::File;
  if (m_trailing) {
    if (!m_file->save()) return false;
    WriteTrailingApeTag(*m_trailing, m_stream);
    return true;
  }
  if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(m_file.get())) {
    using Type = TagLib::MPEG::File;
    int tags = Type::NoTags;
    if (mpeg->hasAPETag()) tags |= Type::APE;
    if (mpeg->hasID3v1Tag()) tags |= Type::ID3v1;
    if (mpeg->hasID3v2Tag() || !mpeg->hasAPETag()) tags |= Type::ID3v2;
    return mpeg->save(tags, File::StripNone, SameVersion(mpeg->ID3v2Tag()), File::DoNotDuplicate);
  }
  if (auto* wave = dynamic_cast<TagLib::RIFF::WAV::File*>(m_file.get())) {
    using Type = TagLib::RIFF::WAV::File;
    int tags = Type::NoTags;
    if (wave->hasID3v2Tag()) tags |= Type::ID3v2;
    if (wave->hasInfoTag() || tags == Type::NoTags) tags |= Type::Info;
    return wave->save(static_cast<Type::TagTypes>(tags), File::StripNone,
                      SameVersion(wave->ID3v2Tag()));
  }
  if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(m_file.get()))
    return aiff->save(SameVersion(aiff->tag()));
  if (auto* oggFlac = dynamic_cast<TagLib::Ogg::FLAC::File*>(m_file.get()))
    return SaveOggFlac(oggFlac);
  return m_file->save();
}

}  // namespace quill::decoder
