// SPDX-License-Identifier: GPL-3.0-or-later
// Results files: those that the user saves and opens, and the autosave file, which is the same
// format kept open with each change of a result appended. The file is a log and not a snapshot:
// removal and change records act on what earlier records built. Appends go through a mapped window,
// so what is appended survives a crash of the program; a 0 byte behind the last record is the end
// marker, overwritten by the next type byte. Layout in docs/results-format.md.
//
// Main thread only, no lock. Strings of 65536 bytes or more are not written.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "storage/file_facts.h"
#include "storage/file_map.h"

namespace quill {

class CResultsJournal;

struct AudioItemRecord : AudioFacts {
  uint8_t group = 0;  // folder group
};

struct ImageItemRecord : ImageFacts {
  uint8_t group = 0;  // folder group
};

struct AnalysisItemRecord {
  std::string path, artist, album, title;
  uint64_t size = 0;  // bytes
  uint32_t durationMs = 0, bitrate = 0, sampleRate = 0;
  uint8_t dataFormat = 0, channels = 0;
  uint16_t format = 0;
  // clipping, silence, absmean, minstep, absmax, maxfreq, clicks
  std::array<float, 7> measures{};
  std::array<uint8_t, 32> averageSpectrum{}, peakSpectrum{};
};

// The tables as the journal sees them. A Bulk call that fails has reported itself and does not stop
// a load. RebuildRows ends a load; WriteResults appends every item, then every pair once.
class CResultsTable {
 public:
  virtual ~CResultsTable() = default;
  virtual void RebuildRows() = 0;
  [[nodiscard]] virtual bool WriteResults(CResultsJournal& journal) = 0;
};

class CAudioResultsTable : public CResultsTable {
 public:
  virtual bool BulkAdd(const AudioItemRecord& item) = 0;
  virtual bool BulkAdd(std::string_view first, std::string_view second, float tags, float content,
                       float precise) = 0;
  virtual bool BulkRemove(std::string_view first, std::string_view second) = 0;
  virtual bool BulkChange(std::string_view oldPath, std::string_view newPath,
                          std::string_view artist, std::string_view album,
                          std::string_view title) = 0;
};

class CImageResultsTable : public CResultsTable {
 public:
  virtual bool BulkAdd(const ImageItemRecord& item) = 0;
  virtual bool BulkAdd(std::string_view first, std::string_view second, float content,
                       float experimental) = 0;
  virtual bool BulkRemove(std::string_view first, std::string_view second) = 0;
  virtual bool BulkChange(std::string_view oldPath, std::string_view newPath) = 0;
};

class CAnalysisResultsTable : public CResultsTable {
 public:
  virtual bool BulkAdd(const AnalysisItemRecord& item) = 0;
  virtual bool BulkRemove(std::string_view path) = 0;
  virtual bool BulkChange(std::string_view oldPath, std::string_view newPath,
                          std::string_view artist, std::string_view album,
                          std::string_view title) = 0;
};

class CResultsJournal {
 public:
  // The tables must outlive the journal. Null for a table that is not kept: its records are read
  // and dropped.
  CResultsJournal(CAudioResultsTable* audio, CImageResultsTable* image,
                  CAnalysisResultsTable* analysis);
  // Cuts the file to its write position.
  ~CResultsJournal();
  CResultsJournal(const CResultsJournal&) = delete;
  CResultsJournal& operator=(const CResultsJournal&) = delete;

  // Creates a missing file; an unknown file at this path is wiped and treated as new. A file that
  // cannot be looked into (full disk, short memory) is left alone and fails after a report.
  [[nodiscard]] bool OpenForWriting(const std::string& path);
  [[nodiscard]] bool OpenForReading(const std::string& path);
  // Whether the file is there and one of ours.
  [[nodiscard]] static bool IsResultsFile(const std::string& path);
  // Whether results may be written there: every file that is none of ours belongs to the user, and
  // OpenForWriting would wipe it.
  [[nodiscard]] static bool MayReplace(const std::string& path);

  // Reads all records into the tables, up to the end or the first damage, and rebuilds their rows.
  // False only for a file that is none of ours. In a journal open for writing it must come first;
  // the next append then goes behind the last whole record, over a damaged one.
  [[nodiscard]] bool Load();
  // Empties the file and writes the present contents of the tables. False after a report when a
  // table fails or the disk is full.
  [[nodiscard]] bool Rebuild();
  // Empties the file: the magic and the end marker stay.
  void Reset();

  // Each appends one record. A full disk skips the store and moves on.
  void AddAudioItem(const AudioItemRecord& item);
  void AddAudioPair(std::string_view first, std::string_view second, float tags, float content,
                    float precise);
  void AddImageItem(const ImageItemRecord& item);
  void AddImagePair(std::string_view first, std::string_view second, float content,
                    float experimental);
  void AddAnalysisItem(const AnalysisItemRecord& item);
  void RemoveAudioPair(std::string_view first, std::string_view second);
  void RemoveImagePair(std::string_view first, std::string_view second);
  void RemoveAnalysisItem(std::string_view path);
  void ChangeAudioItem(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                       std::string_view album, std::string_view title);
  void ChangeImageItem(std::string_view oldPath, std::string_view newPath);
  void ChangeAnalysisItem(std::string_view oldPath, std::string_view newPath,
                          std::string_view artist, std::string_view album, std::string_view title);

 private:
  friend struct CResultsJournalProbe;  // of the tests

  [[nodiscard]] bool ReadMagic();
  // Reads one record behind its type byte and hands it over. False ends the load.
  [[nodiscard]] bool LoadRecord(uint8_t type);
  // Read all of the fields, in order; false at the first that passes the end.
  template <class... Field>
  [[nodiscard]] bool Read(Field&... fields);
  [[nodiscard]] bool ReadField(std::string& text);
  template <class Field>
    requires std::is_trivially_copyable_v<Field>
  [[nodiscard]] bool ReadField(Field& field);
  // The next `length` bytes, or null past the end; moves the position behind them.
  [[nodiscard]] const uint8_t* ReadBytes(uint32_t length);

  // Stores a whole record and the end marker behind it.
  template <class... Field>
  void Append(uint8_t type, const Field&... fields);
  void AppendField(std::string_view text);
  template <class Field>
    requires std::is_trivially_copyable_v<Field>
  void AppendField(const Field& field);
  // Stores and moves the position, also when there is no room. The position stops below 4 GiB.
  void AppendBytes(const void* bytes, uint32_t length);
  void StoreEndMarker();

  CAudioResultsTable* const m_audio;
  CImageResultsTable* const m_image;
  CAnalysisResultsTable* const m_analysis;
  CFileMap m_map;
  bool m_writable = false;
  bool m_complete = true;   // no store has failed since the last Reset
  uint32_t m_position = 0;  // offset of the next byte to read or write
};

}  // namespace quill
