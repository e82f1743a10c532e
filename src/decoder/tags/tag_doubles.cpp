// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoder/tags/tag_doubles.h"

#include <apetag.h>
#include <asftag.h>
#include <id3v2tag.h>
#include <textidentificationframe.h>
#include <xiphcomment.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace quill::decoder {

namespace {

using TagLib::String;

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

std::string_view NameOf(TagFact fact) {
  constexpr std::string_view kNames[] = {"title",   "artist", "album", "genre",
                                         "comment", "date",   "track"};
  return kNames[static_cast<size_t>(fact)];
}

bool VisitFrames(TagLib::ID3v2::Tag* tag, TagFact fact, const DoubleGoes& goes) {
  if (fact != TagFact::kComment) return false;
  bool went = false;
  const TagLib::ID3v2::FrameList frames = tag->frameList("TXXX");  // a copy: frames leave the tag's
  for (TagLib::ID3v2::Frame* frame : frames) {
    const auto* text = dynamic_cast<TagLib::ID3v2::UserTextIdentificationFrame*>(frame);
    if (text == nullptr || LowerCase(text->description().to8Bit(true)) != NameOf(fact)) continue;
    const TagLib::StringList values = text->fieldList();  // the first is the description
    if (!goes(values.size() > 1 ? values[1].to8Bit(true) : std::string())) continue;
    tag->removeFrame(frame);
    went = true;
  }
  return went;
}

bool VisitItems(TagLib::APE::Tag* tag, TagFact fact, const DoubleGoes& goes) {
  if (fact != TagFact::kYear) return false;
  const auto item = tag->itemListMap().find("DATE");
  if (item == tag->itemListMap().end() || !goes(item->second.toString().to8Bit(true))) return false;
  tag->removeItem("DATE");
  return true;
}

// Of the two names the library takes the first for the field when both are there.
bool VisitComments(TagLib::Ogg::XiphComment* tag, TagFact fact, const DoubleGoes& goes) {
  const TagLib::Ogg::FieldListMap& fields = tag->fieldListMap();
  if (fact != TagFact::kComment || !fields.contains("DESCRIPTION")) return false;
  const auto field = fields.find("COMMENT");
  if (field == fields.end() || !goes(field->second.toString().to8Bit(true))) return false;
  tag->removeFields("COMMENT");
  return true;
}

// Year and track are attributes too; the library does not take them out for 0.
bool IsAttributeOf(TagFact fact, const std::string& name) {
  switch (fact) {
    case TagFact::kArtist:
      return name == "artist" || name == "author";
    case TagFact::kComment:
      return name == "comment" || name == "description";
    case TagFact::kYear:
      return name == "date" || name == "year" || name == "wm/year";
    case TagFact::kTrack:
      return name == "track" || name == "wm/tracknumber";
    default:
      return name == NameOf(fact);
  }
}

bool VisitAttributes(TagLib::ASF::Tag* tag, TagFact fact, const DoubleGoes& goes) {
  std::vector<String> gone;
  for (const auto& [name, attributes] : tag->attributeListMap()) {
    if (!IsAttributeOf(fact, LowerCase(name.to8Bit(true)))) continue;
    const bool one = std::any_of(attributes.begin(), attributes.end(), [&](const auto& attribute) {
      const bool isText = attribute.type() == TagLib::ASF::Attribute::UnicodeType;
      return goes(isText ? attribute.toString().to8Bit(true) : std::to_string(attribute.toUInt()));
    });
    if (one) gone.push_back(name);
  }
  for (const String& name : gone) tag->removeItem(name);
  return !gone.empty();
}

}  // namespace

bool VisitDoubles(TagLib::Tag* tag, TagFact fact, const DoubleGoes& goes) {
  if (auto* frames = dynamic_cast<TagLib::ID3v2::Tag*>(tag)) return VisitFrames(frames, fact, goes);
  if (auto* items = dynamic_cast<TagLib::APE::Tag*>(tag)) return VisitItems(items, fact, goes);
  if (auto* comments = dynamic_cast<TagLib::Ogg::XiphComment*>(tag))
    return VisitComments(comments, fact, goes);
  if (auto* attributes = dynamic_cast<TagLib::ASF::Tag*>(tag))
    return VisitAttributes(attributes, fact, goes);
  return false;
}

}  // namespace quill::decoder
