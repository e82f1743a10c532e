#include "decoder/tags/tag_file.h"

#include <aifffile.h>
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

#include <algorithm>
#include <type_traits>
#include <vector>

#include "decoding/wire.h"

namespace quill::decoder {

namespace {

using TagLib::String;

// The first that knows the content. MPEG comes last: its frames have the shortest mark.
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

// The single tags that a change goes to: those that the file has, and the type's own if it has
// none.
std::vector<TagLib::Tag*> TagsToChange(TagLib::File* file) {
  std::vector<TagLib::Tag*> tags;
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
  } else {
    tags.push_back(file->tag());
  }
  return tags;
}

// What a reader sees. Of a wave file the library would show one of its two standards only.
const TagLib::Tag* ShownTag(TagLib::File* file) {
  const auto* wave = dynamic_cast<TagLib::RIFF::WAV::File*>(file);
  if (wave && (!wave->hasID3v2Tag() || wave->ID3v2Tag()->isEmpty())) return wave->InfoTag();
  return file->tag();
}

std::string ToUtf8(const String& text) {
  return text.to8Bit(true);
}

}  // namespace

CTagFile::CTagFile(CTagStream& stream)
    : m_stream(stream),
      m_file(Recognise<TagLib::FLAC::File, TagLib::Ogg::Vorbis::File, TagLib::Ogg::Opus::File,
                       TagLib::Ogg::FLAC::File, TagLib::Ogg::Speex::File, TagLib::MP4::File,
                       TagLib::ASF::File, TagLib::RIFF::AIFF::File, TagLib::RIFF::WAV::File,
                       TagLib::APE::File, TagLib::MPC::File, TagLib::WavPack::File,
                       TagLib::TrueAudio::File, TagLib::MPEG::File>(&stream)) {}

CTagFile::~CTagFile() = default;

bool CTagFile::IsValid() const {
  return m_file && m_file->isValid() && ShownTag(m_file.get()) && !m_stream.HasFailed();
}

void CTagFile::Read(TagFields* fields) const {
  const TagLib::Tag& tag = *ShownTag(m_file.get());
  fields->texts = {ToUtf8(tag.title()), ToUtf8(tag.artist()), ToUtf8(tag.album()),
                   ToUtf8(tag.genre()), ToUtf8(tag.comment())};
  fields->numbers = {tag.year(), tag.track()};
}

bool CTagFile::Change(const TagFields& fields) {
  static constexpr void (TagLib::Tag::* kSetText[])(const String&) = {
      &TagLib::Tag::setTitle, &TagLib::Tag::setArtist, &TagLib::Tag::setAlbum,
      &TagLib::Tag::setGenre, &TagLib::Tag::setComment};
  static constexpr void (TagLib::Tag::* kSetNumber[])(unsigned int) = {&TagLib::Tag::setYear,
                                                                       &TagLib::Tag::setTrack};
  TagFields now;
  Read(&now);
  bool changed = false;
  const std::vector<TagLib::Tag*> tags = TagsToChange(m_file.get());
  for (size_t i = 0; i < now.texts.size(); ++i) {
    if ((fields.mask & wire::kTagTexts[i]) == 0 || fields.texts[i] == now.texts[i]) continue;
    for (TagLib::Tag* tag : tags) (tag->*kSetText[i])(String(fields.texts[i], String::UTF8));
    changed = true;
  }
  for (size_t i = 0; i < now.numbers.size(); ++i) {
    if ((fields.mask & wire::kTagNumbers[i]) == 0 || fields.numbers[i] == now.numbers[i]) continue;
    for (TagLib::Tag* tag : tags) (tag->*kSetNumber[i])(fields.numbers[i]);
    changed = true;
  }
  return changed;
}

bool CTagFile::Save() {
  using TagLib::File;
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
  return m_file->save();
}

}  // namespace quill::decoder
