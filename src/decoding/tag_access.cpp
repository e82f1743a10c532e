// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/tag_access.h"

#include <array>
#include <utility>

#include "decoding/wire.h"

namespace quill {

int32_t CTagAccess::GetProperties(const std::string& path, uint32_t flags, std::string* title,
                                  std::string* artist, std::string* album, std::string* genre,
                                  std::string* comment, uint32_t* year, uint32_t* track) {
  uint32_t status = 0;
  const bool answered = m_link.SendCommand([&] {
    return m_link.WriteCmd(wire::kTagsRead) && m_link.Write(std::string_view(path)) &&
           m_link.WriteWord(flags) && m_link.ReadReply(wire::kTagsRead, &status);
  });
  if (!answered) return LinkFailed("GetProperties", 1);
  if (status != 0) return static_cast<int32_t>(status);
  std::array<std::string, 5> texts;
  std::array<uint32_t, 2> numbers{};
  for (std::string& text : texts)
    if (!m_link.Read(&text)) return LinkFailed("GetProperties", 2);
  for (uint32_t& number : numbers)
    if (!m_link.ReadWord(&number)) return LinkFailed("GetProperties", 3);
  const std::array textOutputs{title, artist, album, genre, comment};
  for (size_t i = 0; i < texts.size(); ++i)
    if (textOutputs[i]) textOutputs[i]->swap(texts[i]);
  const std::array numberOutputs{year, track};
  for (size_t i = 0; i < numbers.size(); ++i)
    if (numberOutputs[i]) std::swap(*numberOutputs[i], numbers[i]);
  return kDecodeOk;
}

int32_t CTagAccess::SetProperties(const std::string& path, uint32_t flags, const std::string* title,
                                  const std::string* artist, const std::string* album,
                                  const std::string* genre, const std::string* comment,
                                  const uint32_t* year, const uint32_t* track) {
  const std::array texts{title, artist, album, genre, comment};
  const std::array numbers{year, track};
  uint32_t mask = 0;
  for (size_t i = 0; i < std::size(wire::kTagTexts); ++i)
    if (texts[i]) mask |= wire::kTagTexts[i];
  for (size_t i = 0; i < std::size(wire::kTagNumbers); ++i)
    if (numbers[i]) mask |= wire::kTagNumbers[i];
  if (mask == 0) return kDecodeOk;

  uint32_t status = 0;
  const bool answered = m_link.SendCommand([&] {
    bool sent = m_link.WriteCmd(wire::kTagsWrite) && m_link.Write(std::string_view(path)) &&
                m_link.WriteWord(flags) && m_link.WriteWord(mask);
    for (const std::string* text : texts)
      sent = sent && (!text || m_link.Write(std::string_view(*text)));
    for (const uint32_t* number : numbers) sent = sent && (!number || m_link.WriteWord(*number));
    return sent && m_link.ReadReply(wire::kTagsWrite, &status);
  });
  if (!answered) return LinkFailed("SetProperties", 1);
  return static_cast<int32_t>(status);
}

}  // namespace quill
