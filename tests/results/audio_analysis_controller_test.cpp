#include "results/audio_analysis_controller.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "core/configuration.h"
#include "decoding/wire.h"
#include "results/audio_dups_controller.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using Lines = std::vector<std::string>;

class AudioAnalysisController : public testing::Test {
 protected:
  AudioAnalysisController() { CConfiguration::Instance().SetStore(&m_settings); }
  ~AudioAnalysisController() override { CConfiguration::Instance().SetStore(nullptr); }

  // A file whose rating follows from its sample rate alone.
  static AnalysisItemRecord Record(const std::string& path, uint32_t sampleRate = 44100) {
    AnalysisItemRecord record;
    record.path = path;
    record.artist = "artist of " + path;
    record.sampleRate = sampleRate;
    record.bitrate = 192000;
    record.channels = 2;
    record.measures = {1, 2, 0.01F, 0.00003F, 0.9F, 19000, 3};
    record.averageSpectrum[5] = 77;
    return record;
  }
  CRef<const AnalysisInfo> Info(const std::string& path, uint32_t sampleRate = 44100) {
    const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
    info->path = path;
    info->sampleRate = sampleRate;
    info->channels = 2;
    info->absMax = 0.9F;
    info->maxFreq = 19000;
    return info;
  }
  template <class Controller>
  static Lines Paths(const Controller& model) {
    Lines lines;
    for (size_t row = 0; row < model.RowCount(); ++row) {
      const auto* item = model.TableAt(static_cast<int32_t>(row));
      lines.push_back((item->marked ? "*" : "") + item->base->path);
    }
    return lines;
  }
  static CAudioAnalysisController::Rows All(const CAudioAnalysisController& model) {
    CAudioAnalysisController::Rows rows;
    for (size_t row = 0; row < model.RowCount(); ++row) rows.push_back(static_cast<int32_t>(row));
    return rows;
  }
  void AddPair(const std::string& a, const std::string& b) {
    const auto base = [&](const std::string& path) {
      return m_audioStore.GetCache({path, "artist", "album", "title", 1, 2, 3, 4});
    };
    m_dups.LockedAdd({base(a), base(b), 0, 0, {1, 1, 1}});
    ASSERT_TRUE(m_dups.ProcessNewData());
  }

  // Of the outer rows that show these files.
  [[nodiscard]] CAudioDupsController::Rows RowsOf(const std::string& a,
                                                  const std::string& b) const {
    CAudioDupsController::Rows rows(2);
    for (int32_t row = 0; row < static_cast<int32_t>(m_dups.RowCount()); ++row) {
      const std::string& path = m_dups.TableAt(row)->File()->base->path;
      if (path == a) rows[0] = row;
      if (path == b) rows[1] = row;
    }
    return rows;
  }

  test::CTempFolder m_folder;
  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CAnalysisStore m_store{m_cache};
  CIgnoreList m_ignores;
  CAudioDupsController m_dups{m_audioStore, m_ignores};
  CAudioAnalysisController m_model{m_store, m_ignores};
};

TEST_F(AudioAnalysisController, ArrivingFilesStandInOrderAndTheFirstResultStays) {
  int woken = 0;
  m_model.m_callback = [&] { ++woken; };
  EXPECT_TRUE(m_model.LockedAdd(Info("/good", 44100)));
  EXPECT_TRUE(m_model.LockedAdd(Info("/bad", 8000)));
  EXPECT_FALSE(m_model.LockedAdd({}));
  EXPECT_TRUE(m_model.ProcessNewData());
  EXPECT_TRUE(m_model.LockedAdd(Info("/middle", 30000)));
  EXPECT_TRUE(m_model.LockedAdd(Info("/bad", 44100)));
  EXPECT_TRUE(m_model.ProcessNewData());
  EXPECT_EQ(woken, 2) << "one wake-up a batch";
  EXPECT_EQ(Paths(m_model), (Lines{"/bad", "/middle", "/good"})) << "the worst on top";
  EXPECT_FLOAT_EQ(m_model.FindItem("/bad")->rating, 0.5F);
  m_model.SetSort(FieldId::kRating, false);
  EXPECT_EQ(Paths(m_model), (Lines{"/good", "/middle", "/bad"}));
  m_model.SetSort(FieldId::kFilename, true);
  EXPECT_EQ(Paths(m_model), (Lines{"/bad", "/good", "/middle"}));
  EXPECT_EQ(CAudioAnalysisController(m_store, m_ignores).Sort().column, FieldId::kFilename);
  EXPECT_EQ(m_model.TableAt(3), nullptr);
  EXPECT_EQ(m_model.TableAt(-1), nullptr);
}

TEST_F(AudioAnalysisController, RowsStandInTheOrderOfEveryColumnHoweverTheyCome) {
  struct Column {
    FieldId field;
    std::function<double(const AnalysisInfo&)> number;
    std::function<std::string(const AnalysisInfo&)> text;
  };
  const auto none = [](const AnalysisInfo&) { return std::string(); };
  const auto zero = [](const AnalysisInfo&) { return 0.0; };
  using Info = const AnalysisInfo&;
  const Column columns[] = {
      {FieldId::kFile, zero, [](Info i) { return i.path; }},
      {FieldId::kFolder, zero, [](Info i) { return i.path.substr(0, i.path.rfind('/')); }},
      {FieldId::kFilename, zero, [](Info i) { return i.path.substr(i.path.rfind('/') + 1); }},
      {FieldId::kArtist, zero, [](Info i) { return i.artist; }},
      {FieldId::kTitle, zero, [](Info i) { return i.title; }},
      {FieldId::kAlbum, zero, [](Info i) { return i.album; }},
      {FieldId::kFormat, zero, [](Info i) { return i.format == wire::kPcm ? "PCM" : "AAC"; }},
      {FieldId::kSize, [](Info i) { return double(i.size); }, none},
      {FieldId::kDuration, [](Info i) { return i.durationMs; }, none},
      {FieldId::kBitrate, [](Info i) { return i.bitrate; }, none},
      {FieldId::kRating, [](Info i) { return Rating(i); }, none},
      {FieldId::kSampleRate, [](Info i) { return i.sampleRate; }, none},
      {FieldId::kChannels, [](Info i) { return i.channels; }, none},
      {FieldId::kClipping, [](Info i) { return i.clipping; }, none},
      {FieldId::kSilence, [](Info i) { return i.silence; }, none},
      {FieldId::kAbsMean, [](Info i) { return i.absMean; }, none},
      {FieldId::kMinStep, [](Info i) { return i.minStep; }, none},
      {FieldId::kAbsMax, [](Info i) { return i.absMax; }, none},
      {FieldId::kMaxFreq, [](Info i) { return i.maxFreq; }, none},
      {FieldId::kClicks, [](Info i) { return i.clicks; }, none},
      {FieldId::kPairs, zero, none},  // by the addresses alone
  };
  std::mt19937 random(7);
  // Few values in each field, so that ties are common.
  const auto make = [&](int number) {
    const CRef<AnalysisInfo> info = MakeRef<AnalysisInfo>();
    const auto pick = [&](uint32_t count) { return static_cast<uint32_t>(random() % count); };
    info->path = "/" + std::to_string(pick(3)) + "/" + std::to_string(number * 7919 % 1000);
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
    return info;
  };
  int number = 0;
  for (const Column& column : columns) {
    for (const bool ascending : {true, false}) {
      m_model.Clear();
      m_model.SetSort(column.field, ascending);
      for (const int batch : {60, 1, 1, 2, 40, 1}) {
        for (int i = 0; i < batch; ++i) m_model.LockedAdd(make(++number));
        ASSERT_TRUE(m_model.ProcessNewData());
      }
      m_model.RemovePaths({Paths(m_model)[3], Paths(m_model)[90], "/unknown"});
      ASSERT_EQ(m_model.RowCount(), 103u);
      for (int32_t row = 1; row < 103; ++row) {
        const auto key = [&](const CAudioAnalysisController::ItemData* item) {
          return std::tuple(column.number(*item->base), column.text(*item->base), item);
        };
        const auto above = key(m_model.TableAt(row - 1)), below = key(m_model.TableAt(row));
        ASSERT_TRUE(ascending ? above < below : below < above) << FieldIdentifier(column.field);
      }
    }
  }
}

TEST_F(AudioAnalysisController, ActionsOnRowsInAnyOrder) {
  m_model.SetSort(FieldId::kFile, true);
  for (const char* path : {"/a", "/b", "/c", "/d", "/e"}) m_model.LockedAdd(Info(path));
  ASSERT_TRUE(m_model.ProcessNewData());
  m_model.MarkRows({4, -1, 1, 99});
  EXPECT_EQ(Paths(m_model), (Lines{"/a", "*/b", "/c", "/d", "*/e"}));
  m_model.InvertMarked();
  m_model.MarkRows({0});
  EXPECT_EQ(Paths(m_model), (Lines{"/a", "/b", "*/c", "*/d", "/e"}));

  Lines asked;
  EXPECT_FALSE(m_model.ActOnRows({1, 0}, [&](Lines* paths) {
    asked = *paths;
    return false;
  }));
  EXPECT_EQ(asked, (Lines{"/b", "/a"}));
  EXPECT_EQ(m_model.RowCount(), 5u);
  // The user stops after the first of them.
  EXPECT_TRUE(m_model.ActOnMarked([&](Lines* paths) {
    paths->resize(1);
    return true;
  }));
  EXPECT_EQ(Paths(m_model), (Lines{"/a", "/b", "*/d", "/e"}));
  m_model.IgnoreRows({3, 0, 7});
  EXPECT_EQ(Paths(m_model), (Lines{"/b", "*/d"}));
  EXPECT_TRUE(m_ignores.IsFileIgnored("/a"));
  m_model.IgnoreMarked();
  m_model.UnmarkAll();
  EXPECT_EQ(Paths(m_model), (Lines{"/b"}));
  // A table that changes while the user is asked.
  EXPECT_TRUE(m_model.ActOnRows({0}, [&](Lines*) {
    m_model.Clear();
    m_model.LockedAdd(Info("/c"));
    return m_model.ProcessNewData();
  }));
  EXPECT_EQ(Paths(m_model), (Lines{"/c"}));
}

TEST_F(AudioAnalysisController, TheTwoAudioTablesFollowEachOtherIntoOneJournal) {
  const std::string file = m_folder / "results.quillmarsh";
  m_dups.m_controller = &m_model;
  m_model.m_controller = &m_dups;
  m_model.SetSort(FieldId::kFile, true);
  const auto yes = [](Lines*) { return true; };
  {
    CResultsJournal journal(&m_dups, nullptr, &m_model);
    ASSERT_TRUE(journal.OpenForWriting(file));
    m_dups.m_journal = m_model.m_journal = &journal;
    for (const char* path : {"/a.mp3", "/b.mp3", "/c.mp3", "/d.mp3", "/e.mp3"}) {
      m_model.LockedAdd(Info(path));
      if (path[1] != 'a') AddPair("/a.mp3", path);
    }
    ASSERT_TRUE(m_model.ProcessNewData());

    ASSERT_TRUE(m_dups.ActOnFile("/b.mp3", yes));
    EXPECT_EQ(Paths(m_model), (Lines{"/a.mp3", "/c.mp3", "/d.mp3", "/e.mp3"}));
    ASSERT_TRUE(m_model.ActOnRows({1}, yes));
    EXPECT_EQ(m_dups.ItemCount(), 3u);
    ASSERT_TRUE(m_dups.Rename("/d.mp3", "/A.mp3"));
    ASSERT_TRUE(m_dups.Update("/e.mp3", "new artist", "new album", "new title"));
    EXPECT_EQ(Paths(m_model), (Lines{"/A.mp3", "/a.mp3", "/e.mp3"}));
    EXPECT_EQ(m_model.FindItem("/e.mp3")->base->title, "new title");
    EXPECT_EQ(m_model.FindItem("/d.mp3"), nullptr);
    // Two files that change places: each keeps what was measured of its content.
    m_model.Clear();
    m_model.LockedAdd(Info("/A.mp3", 8000));
    m_model.LockedAdd(Info("/a.mp3", 44100));
    ASSERT_TRUE(m_model.ProcessNewData());
    m_dups.SetSort(FieldId::kFile, true);
    ASSERT_TRUE(m_dups.Swap({0, 1}, [](const auto&, const auto&) { return true; }));
    EXPECT_EQ(m_model.FindItem("/a.mp3")->base->sampleRate, 8000u);
    EXPECT_EQ(m_model.FindItem("/A.mp3")->base->sampleRate, 44100u);
    // And where only one of the two has been measured: it is the one that goes.
    m_model.RemovePaths({"/A.mp3"});
    ASSERT_TRUE(
        m_dups.Swap(RowsOf("/a.mp3", "/A.mp3"), [](const auto&, const auto&) { return true; }));
    EXPECT_EQ(Paths(m_model), (Lines{"/A.mp3"}));
    ASSERT_TRUE(
        m_dups.Swap(RowsOf("/a.mp3", "/A.mp3"), [](const auto&, const auto&) { return true; }));
    EXPECT_EQ(Paths(m_model), (Lines{"/a.mp3"}));
    m_dups.m_journal = m_model.m_journal = nullptr;
  }
  CAudioDupsController dups(m_audioStore, m_ignores);
  CAudioAnalysisController model(m_store, m_ignores);
  CResultsJournal journal(&dups, nullptr, &model);
  ASSERT_TRUE(journal.OpenForReading(file));
  ASSERT_TRUE(journal.Load());
  EXPECT_EQ(Paths(model), Paths(m_model));
  EXPECT_EQ(model.FindItem("/a.mp3")->base->sampleRate, 8000u);
  EXPECT_EQ(dups.PairCount(), 2u) << "clearing one table keeps the other in the journal";
}

TEST_F(AudioAnalysisController, LoadsEveryFieldAndRefusesWhatDoesNotFit) {
  EXPECT_TRUE(m_model.BulkAdd(Record("/a", 44100)));
  EXPECT_TRUE(m_model.BulkAdd(Record("/b", 22050)));
  EXPECT_FALSE(m_model.BulkAdd(Record("/a")));
  EXPECT_FALSE(m_model.BulkChange("/x", "/y", "", "", ""));
  EXPECT_FALSE(m_model.BulkRemove("/x"));
  EXPECT_TRUE(m_model.BulkChange("/b", "/0", "c", "d", "e"));
  EXPECT_EQ(m_model.RowCount(), 0u);
  m_model.RebuildRows();
  EXPECT_EQ(Paths(m_model), (Lines{"/0", "/a"}));
  const std::string file = m_folder / "saved.quillmarsh";
  {
    CResultsJournal journal(nullptr, nullptr, &m_model);
    ASSERT_TRUE(journal.OpenForWriting(file));
    ASSERT_TRUE(journal.Rebuild());
  }
  CAudioAnalysisController loaded(m_store, m_ignores);
  CResultsJournal journal(nullptr, nullptr, &loaded);
  ASSERT_TRUE(journal.OpenForReading(file));
  ASSERT_TRUE(journal.Load());
  ASSERT_EQ(loaded.RowCount(), 2u);
  const AnalysisInfo& info = *loaded.FindItem("/a")->base;
  EXPECT_EQ(info.artist, "artist of /a");
  EXPECT_EQ(info.silence, 2);
  EXPECT_EQ(info.clicks, 3);
  EXPECT_EQ(info.averageSpectrum[5], 77);
  EXPECT_FLOAT_EQ(loaded.FindItem("/a")->rating, m_model.FindItem("/a")->rating);
  EXPECT_TRUE(loaded.BulkRemove("/a"));
  loaded.RebuildRows();
  EXPECT_EQ(Paths(loaded), (Lines{"/0"}));
}

}  // namespace
}  // namespace quill
