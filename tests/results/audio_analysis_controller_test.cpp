// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/audio_analysis_controller.h"

#include <cmath>
#include <limits>
#include <random>
#include <tuple>

#include "decoding/wire.h"
#include "results/field_text.h"
#include "results/result_tables.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using test::At;
using test::Lines;

class AudioAnalysisController : public test::CResultTables {
 protected:
  // Files of which one has a rate of its own, and with it its rating.
  void Arrive(const Lines& paths, uint32_t sampleRate = 44100) {
    for (const std::string& path : paths) {
      const CRef<AnalysisInfo> info = At<AnalysisInfo>(path);
      info->sampleRate = sampleRate;
      info->channels = 2;
      info->absMax = 0.9F;
      info->maxFreq = 19000;
      EXPECT_TRUE(m_analysis.LockedAdd(info));
    }
    ASSERT_TRUE(m_analysis.ProcessNewData());
  }
  // Has the two files of the duplicates table change places.
  void Swap(const std::string& a, const std::string& b) {
    const Lines files = Files(m_audio);
    const auto row = [&](const std::string& path) {
      return static_cast<int32_t>(std::find(files.begin(), files.end(), path) - files.begin());
    };
    ASSERT_TRUE(m_audio.Swap({row(a), row(b)}, [](const auto&, const auto&) { return true; }));
  }
  [[nodiscard]] uint32_t RateOf(const std::string& path) const {
    const auto* item = m_analysis.FindItem(path);
    return item ? item->base->sampleRate : 0;
  }

  test::CTempFolder m_folder;
};

TEST_F(AudioAnalysisController, ArrivingFilesStandInOrderAndTheFirstResultStays) {
  int woken = 0;
  m_analysis.m_callback = [&] { ++woken; };
  Arrive({"/good", "/fair"});
  Arrive({"/worst"}, 8000);
  EXPECT_FALSE(m_analysis.LockedAdd({}));
  Arrive({"/worst"});
  EXPECT_EQ(woken, 3) << "one wake-up a batch";
  EXPECT_EQ(Files(m_analysis)[0], "/worst") << "the worst on top";
  EXPECT_FLOAT_EQ(m_analysis.FindItem("/worst")->rating, 0.5F);
  m_analysis.SetSort(FieldId::kFilename, false);
  m_analysis.SetSort(FieldId::kNone, true);
  EXPECT_EQ(Files(m_analysis), (Lines{"/worst", "/good", "/fair"}));
  const SortState stored = CAudioAnalysisController(m_analysisStore, m_ignores).Sort();
  EXPECT_TRUE(stored.column == FieldId::kFilename && !stored.ascending);
  EXPECT_EQ(m_analysis.TableAt(3), nullptr);
  EXPECT_EQ(m_analysis.TableAt(-1), nullptr);
  m_analysis.LockedAdd(At<AnalysisInfo>("/late"));
  m_analysis.Clear();
  EXPECT_TRUE(m_analysis.ProcessNewData());
  EXPECT_EQ(Files(m_analysis), Lines());
}

TEST_F(AudioAnalysisController, RowsStandInTheOrderOfEveryColumnHoweverTheyCome) {
  using Info = const AnalysisInfo&;
  const struct {
    FieldId field;
    double (*number)(Info) = [](Info) { return 0.0; };
    std::string (*text)(Info) = [](Info) { return std::string(); };
  } columns[] = {
      {.field = FieldId::kFile, .text = [](Info i) { return i.path; }},
      {.field = FieldId::kFolder, .text = [](Info i) { return i.path.substr(0, 2); }},
      {.field = FieldId::kFilename, .text = [](Info i) { return i.path.substr(3); }},
      {.field = FieldId::kArtist, .text = [](Info i) { return i.artist; }},
      {.field = FieldId::kTitle, .text = [](Info i) { return i.title; }},
      {.field = FieldId::kAlbum, .text = [](Info i) { return i.album; }},
      {.field = FieldId::kFormat,
       .text = [](Info i) { return std::string(i.format == wire::kPcm ? "PCM" : "AAC"); }},
      {FieldId::kSize, [](Info i) { return double(i.size); }},
      {FieldId::kDuration, [](Info i) { return double(i.durationMs); }},
      {FieldId::kBitrate, [](Info i) { return double(i.bitrate); }},
      {FieldId::kRating, [](Info i) { return double(Rating(i)); }},
      {FieldId::kSampleRate, [](Info i) { return double(i.sampleRate); }},
      {FieldId::kChannels, [](Info i) { return double(i.channels); }},
      {FieldId::kClipping, [](Info i) { return double(i.clipping); }},
      {FieldId::kSilence, [](Info i) { return double(i.silence); }},
      {FieldId::kAbsMean, [](Info i) { return std::isnan(i.absMean) ? -1.0 : double(i.absMean); }},
      {FieldId::kMinStep, [](Info i) { return double(i.minStep); }},
      {FieldId::kAbsMax, [](Info i) { return double(i.absMax); }},
      {FieldId::kMaxFreq, [](Info i) { return double(i.maxFreq); }},
      {FieldId::kClicks, [](Info i) { return double(i.clicks); }},
      {FieldId::kPairs},  // by the addresses alone
  };
  std::mt19937 random(7);
  const auto pick = [&](uint32_t count) { return static_cast<uint32_t>(random() % count); };
  // Few values in each field, so that ties are common.
  const auto make = [&](int number) {
    const auto info = At<AnalysisInfo>("/" + std::to_string(pick(3)) + "/" +
                                       std::to_string(number * 7919 % 1000));
    info->artist = std::string(pick(3), 'a');
    info->title = std::to_string(pick(4));
    info->album = pick(2) ? "\xc3\xa4" : "z";
    info->format = pick(2) ? wire::kPcm : wire::kAac;
    info->size = uint64_t{pick(3)} << 33;
    info->durationMs = pick(4) << 30;
    info->bitrate = pick(4) * 50000;
    info->sampleRate = pick(4) * 12000;
    info->channels = static_cast<uint8_t>(pick(2) + 1);
    for (float* measure : {&info->clipping, &info->silence, &info->absMean, &info->minStep,
                           &info->absMax, &info->maxFreq, &info->clicks})
      *measure = static_cast<float>(pick(4)) * 0.25F;
    if (pick(9) == 0) info->absMean = std::numeric_limits<float>::quiet_NaN();
    return info;
  };
  int number = 0;
  for (const auto& column : columns) {
    for (const bool ascending : {true, false}) {
      m_analysis.Clear();
      m_analysis.SetSort(column.field, ascending);
      for (const int batch : {60, 1, 1, 2, 40, 1}) {
        for (int i = 0; i < batch; ++i) m_analysis.LockedAdd(make(++number));
        ASSERT_TRUE(m_analysis.ProcessNewData());
      }
      const Lines files = Files(m_analysis);
      m_analysis.RemovePaths({files[3], files[90], "/unknown"});
      ASSERT_EQ(m_analysis.RowCount(), 103u);
      for (int32_t row = 1; row < 103; ++row) {
        const auto key = [&](int32_t at) {
          const auto* item = m_analysis.TableAt(at);
          return std::tuple(column.number(*item->base), column.text(*item->base), item);
        };
        ASSERT_TRUE(ascending ? key(row - 1) < key(row) : key(row) < key(row - 1))
            << FieldIdentifier(column.field);
      }
    }
  }
}

TEST_F(AudioAnalysisController, ActionsOnRowsInAnyOrder) {
  m_analysis.SetSort(FieldId::kFile, true);
  Arrive({"/a", "/b", "/c", "/d", "/e"});
  m_analysis.MarkRows({4, -1, 1, 99});
  EXPECT_EQ(Files(m_analysis), (Lines{"/a", "*/b", "/c", "/d", "*/e"}));
  m_analysis.InvertMarked();
  m_analysis.MarkRows({0});
  EXPECT_EQ(Files(m_analysis), (Lines{"/a", "/b", "*/c", "*/d", "/e"}));

  Lines asked;
  EXPECT_FALSE(m_analysis.ActOnRows({1, 0}, [&](Lines* paths) {
    asked = *paths;
    return false;
  }));
  EXPECT_EQ(asked, (Lines{"/b", "/a"}));
  // The user stops after the first of them.
  EXPECT_TRUE(m_analysis.ActOnMarked([&](Lines* paths) {
    paths->resize(1);
    return true;
  }));
  EXPECT_EQ(Files(m_analysis), (Lines{"/a", "/b", "*/d", "/e"}));
  m_analysis.IgnoreRows({3, 0, 7});
  EXPECT_EQ(Files(m_analysis), (Lines{"/b", "*/d"}));
  EXPECT_TRUE(m_ignores.IsFileIgnored("/a"));
  m_analysis.IgnoreMarked();
  m_analysis.MarkRows({0});
  m_analysis.UnmarkAll();
  EXPECT_EQ(Files(m_analysis), Lines{"/b"});
  // A table that changes while the user is asked.
  EXPECT_TRUE(m_analysis.ActOnRows({0}, [&](Lines*) {
    m_analysis.Clear();
    Arrive({"/c"});
    return true;
  }));
  EXPECT_EQ(Files(m_analysis), Lines{"/c"});
}

TEST_F(AudioAnalysisController, TheTwoAudioTablesFollowEachOtherIntoOneJournal) {
  const std::string file = m_folder / "results.quillmarsh";
  m_audio.m_controller = &m_analysis;
  m_analysis.m_controller = &m_audio;
  m_analysis.SetSort(FieldId::kFile, true);
  const auto yes = [](Lines*) { return true; };
  {
    CResultsJournal journal(&m_audio, nullptr, &m_analysis);
    ASSERT_TRUE(journal.OpenForWriting(file));
    m_audio.m_journal = m_analysis.m_journal = &journal;
    Arrive({"/a.mp3", "/b.mp3", "/c.mp3", "/d.mp3", "/e.mp3"});
    for (const char* path : {"/b.mp3", "/c.mp3", "/d.mp3", "/e.mp3"}) Pair({"/a.mp3"}, {path});

    ASSERT_TRUE(m_audio.ActOnFile("/b.mp3", yes));
    EXPECT_EQ(Files(m_analysis), (Lines{"/a.mp3", "/c.mp3", "/d.mp3", "/e.mp3"}));
    ASSERT_TRUE(m_analysis.ActOnRows({1}, yes));
    EXPECT_EQ(Files(m_audio), (Lines{"/a.mp3", "/d.mp3", "/e.mp3"}));
    ASSERT_TRUE(m_audio.Rename("/d.mp3", "/A.mp3"));
    ASSERT_TRUE(m_audio.Update("/e.mp3", "new artist", "new album", "new title"));
    EXPECT_EQ(Files(m_analysis), (Lines{"/A.mp3", "/a.mp3", "/e.mp3"}));
    EXPECT_EQ(m_analysis.FindItem("/e.mp3")->base->title, "new title");
    // Two files that change places: each keeps what was measured of its content.
    m_analysis.Clear();
    Arrive({"/A.mp3"}, 8000);
    Arrive({"/a.mp3"});
    Swap("/A.mp3", "/a.mp3");
    EXPECT_EQ(Files(m_analysis), (Lines{"/A.mp3", "/a.mp3"}));
    EXPECT_EQ(RateOf("/a.mp3"), 8000U);
    EXPECT_EQ(RateOf("/A.mp3"), 44100U);
    // And where only one of the two has been measured: it is the one that goes.
    m_analysis.RemovePaths({"/A.mp3"});
    Swap("/a.mp3", "/A.mp3");
    EXPECT_EQ(Files(m_analysis), Lines{"/A.mp3"});
    Swap("/a.mp3", "/A.mp3");
    m_audio.m_journal = m_analysis.m_journal = nullptr;
  }
  CAudioDupsController dups(m_audioStore, m_ignores);
  CResultsJournal journal(&dups, nullptr, &m_analysis);
  m_analysis.Clear();
  ASSERT_TRUE(journal.OpenForReading(file) && journal.Load());
  EXPECT_EQ(Files(m_analysis), Lines{"/a.mp3"});
  EXPECT_EQ(RateOf("/a.mp3"), 8000U);
  EXPECT_EQ(dups.PairCount(), 2U) << "clearing one table keeps the other in the journal";
}

TEST_F(AudioAnalysisController, LoadsEveryFieldAndRefusesWhatDoesNotFit) {
  const CRef<AnalysisInfo> info = At<AnalysisInfo>("/full");
  info->artist = "artist";
  info->album = "album";
  info->title = "title";
  info->durationMs = 187400;
  info->bitrate = 192000;
  info->sampleRate = 44100;
  info->dataFormat = 3;
  info->channels = 2;
  info->format = wire::kMp3;
  float value = 0;
  for (float* measure : {&info->clipping, &info->silence, &info->absMean, &info->minStep,
                         &info->absMax, &info->maxFreq, &info->clicks})
    *measure = ++value;
  info->averageSpectrum[5] = 77;
  info->peakSpectrum[31] = 78;
  info->size = 1ull << 33;
  m_analysis.LockedAdd(info);
  ASSERT_TRUE(m_analysis.ProcessNewData());
  const std::string file = m_folder / "saved.quillmarsh";
  CResultsJournal writer(nullptr, nullptr, &m_analysis);
  ASSERT_TRUE(writer.OpenForWriting(file) && writer.Rebuild());

  CAudioAnalysisController loaded(m_analysisStore, m_ignores);
  CResultsJournal reader(nullptr, nullptr, &loaded);
  ASSERT_TRUE(reader.OpenForReading(file) && reader.Load());
  const AnalysisInfo& now = *loaded.FindItem("/full")->base;
  for (auto field = FieldId::kFile; field < FieldId::kSpectrogram;
       field = static_cast<FieldId>(static_cast<int32_t>(field) + 1))
    EXPECT_EQ(AnalysisText(field, &now), AnalysisText(field, &*info)) << FieldIdentifier(field);
  EXPECT_EQ(now.dataFormat, 3);
  EXPECT_EQ(now.averageSpectrum, info->averageSpectrum);
  EXPECT_EQ(now.peakSpectrum, info->peakSpectrum);
  EXPECT_FLOAT_EQ(loaded.FindItem("/full")->rating, Rating(*info));

  // A load that is journalled into another file, and written before its rows stand.
  CResultsJournal again(nullptr, nullptr, &loaded);
  ASSERT_TRUE(again.OpenForWriting(m_folder / "again"));
  loaded.m_journal = &again;
  EXPECT_TRUE(loaded.BulkRemove("/full"));
  AnalysisItemRecord record;
  for (const char* path : {"/c", "/b"}) {
    record.path = path;
    EXPECT_TRUE(loaded.BulkAdd(record));
  }
  EXPECT_FALSE(loaded.BulkAdd(record));
  EXPECT_FALSE(loaded.BulkChange("/x", "/y", "", "", ""));
  EXPECT_FALSE(loaded.BulkRemove("/x"));
  EXPECT_TRUE(loaded.BulkChange("/b", "/0", "c", "d", "e"));
  EXPECT_TRUE(loaded.BulkRemove("/c"));
  EXPECT_EQ(loaded.RowCount(), 0U);
  CResultsJournal second(nullptr, nullptr, &m_analysis);
  m_analysis.Clear();
  ASSERT_TRUE(second.OpenForReading(m_folder / "again") && second.Load());
  EXPECT_EQ(Files(m_analysis), Lines{"/0"});
  EXPECT_TRUE(again.Rebuild());
  EXPECT_EQ(Files(loaded), Lines{"/0"});
  loaded.m_journal = nullptr;
}

}  // namespace
}  // namespace quill
