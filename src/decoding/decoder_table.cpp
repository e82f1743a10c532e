// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/decoder_table.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/configuration.h"
#include "core/system_error.h"

namespace quill {
namespace {

constexpr const char* kSettingKey = "audioDecoders";
constexpr size_t kStringsPerRow = 3;  // id, "1" when enabled, extensions

constexpr std::array<const char*, 13> kNames = {"Windows Media Format (WMF)",
                                                "Microsoft Media Foundation (MMF)",
                                                "DirectShow",
                                                "Audio Compression Manager (ACM)",
                                                "FLAC",
                                                "Monkey Audio",
                                                "Musepack",
                                                "Ogg Vorbis",
                                                "WavPack",
                                                "Apple QuickTime Framework",
                                                "Apple Core Audio",
                                                "Microsoft GDI Plus",
                                                "Apple Image I/O"};

// Clears what lies behind the text too, so that no stray memory goes over the pipe.
void SetExtensions(wire::DecoderRow* row, std::string_view extensions) {
  std::memset(row->extensions, 0, sizeof row->extensions);
  extensions.copy(row->extensions, sizeof row->extensions - 1);
}

bool SameRow(const wire::DecoderRow& a, const wire::DecoderRow& b) {
  return a.id == b.id && a.enabled == b.enabled &&
         std::strncmp(a.extensions, b.extensions, sizeof a.extensions) == 0;
}

}  // namespace

CDecoderTable& CDecoderTable::Instance() {
  static CDecoderTable table;
  return table;
}

bool CDecoderTable::LoadDefaults(Rows* rows) {
  if (!rows) return CSystemError::Bool("LoadDefaults", 41, false);
  constexpr std::pair<uint32_t, const char*> kDefaults[] = {
      {wire::kDecoderFlac, "fla flac"},        {wire::kDecoderOggVorbis, "ogg oga"},
      {wire::kDecoderMonkeyAudio, "ape"},      {wire::kDecoderWavPack, "wv wvc"},
      {wire::kDecoderMusepack, "mpc mpp mp+"}, {wire::kDecoderGeneral, "*"}};
  rows->clear();
  for (const auto& [id, extensions] : kDefaults) {
    wire::DecoderRow row{.id = id, .enabled = 1, .extensions = {}};
    SetExtensions(&row, extensions);
    rows->push_back(row);
  }
  return true;
}

bool CDecoderTable::LoadDecoders(Rows* rows) {
  if (!rows || !LoadDefaults(rows)) return CSystemError::Bool("LoadDecoders", 62, false);
  std::vector<std::string> list;
  if (!CConfiguration::Instance().GetList(kSettingKey, &list)) return true;

  auto cursor = rows->begin();
  for (size_t i = 0; i + kStringsPerRow <= list.size(); i += kStringsPerRow) {
    const auto id = static_cast<uint32_t>(std::atoi(list[i].c_str()));
    const auto found =
        std::find_if(cursor, rows->end(), [id](const auto& row) { return row.id == id; });
    if (found == rows->end()) continue;
    found->enabled = list[i + 1] == "1" ? 1 : 0;
    SetExtensions(&*found, list[i + 2]);
    std::swap(*found, *cursor);
    ++cursor;
  }
  // A back-end that the setting does not mention is switched off, not dropped.
  for (; cursor != rows->end(); ++cursor) {
    cursor->enabled = 0;
    SetExtensions(&*cursor, {});
  }
  return true;
}

std::vector<std::string> CDecoderTable::ToSetting(const Rows& rows) {
  std::vector<std::string> list;
  for (const wire::DecoderRow& row : rows) {
    list.push_back(std::to_string(row.id));
    list.emplace_back(row.enabled ? "1" : "0");
    list.emplace_back(row.extensions, strnlen(row.extensions, sizeof row.extensions));
  }
  return list;
}

const char* CDecoderTable::Name(uint32_t id) {
  return id >= 1 && id <= kNames.size() ? kNames[id - 1] : "Unknown";
}

void CDecoderTable::Reload() {
  Rows rows;
  if (!LoadDecoders(&rows)) rows.clear();
  const CSyncLock lock(m_sync);
  if (std::equal(rows.begin(), rows.end(), m_rows.begin(), m_rows.end(), SameRow)) return;
  m_rows.swap(rows);
  m_generation.fetch_add(1);
}

CDecoderTable::Rows CDecoderTable::Snapshot() {
  const CSyncLock lock(m_sync);
  return m_rows;
}

}  // namespace quill
