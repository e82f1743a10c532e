#include "results/image_dups_controller.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "core/configuration.h"
#include "results/audio_dups_controller.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

using Lines = std::vector<std::string>;

ImageItemRecord Record(const std::string& path, uint8_t format = 4, uint8_t bits = 24) {
  ImageItemRecord item;
  item.path = path;
  item.format = format;
  item.bits = bits;
  return item;
}

class ImageDupsController : public testing::Test {
 protected:
  ImageDupsController() { CConfiguration::Instance().SetStore(&m_settings); }
  ~ImageDupsController() override { CConfiguration::Instance().SetStore(nullptr); }

  template <class Controller>
  static Lines Rows(const Controller& model) {
    Lines lines;
    for (int32_t row = 0; row < static_cast<int32_t>(model.RowCount()); ++row) {
      const auto* data = model.TableAt(row);
      std::string line = data->item->base->path;
      if (data->pair) {
        line += ">" + data->File()->base->path;
        for (float score : data->pair->scores) line += " " + std::to_string(score).substr(0, 5);
      }
      lines.push_back(line);
    }
    return lines;
  }

  test::CTempFolder m_folder;
  CMemorySettingsStore m_settings;
  CCacheStore m_cache;
  CScanCounters m_counters;
  CAudioStore m_audioStore{m_cache, m_counters};
  CImageStore m_store{m_cache, m_counters};
  CIgnoreList m_ignores;
  CImageDupsController m_model{m_store, m_ignores};
};

TEST_F(ImageDupsController, LoadRefusesWhatDoesNotFit) {
  EXPECT_TRUE(m_model.BulkAdd(Record("/a", 4)));
  EXPECT_FALSE(m_model.BulkAdd(Record("/a", 5)));  // unlike a sound
  EXPECT_TRUE(m_model.BulkAdd(Record("/b")));
  EXPECT_TRUE(m_model.BulkAdd("/b", "/a", 0.5f, -1));
  EXPECT_FALSE(m_model.BulkAdd("/a", "/b", 1, 1));
  EXPECT_FALSE(m_model.BulkAdd("/a", "/c", 1, 1));
  EXPECT_FALSE(m_model.BulkChange("/c", "/d"));
  EXPECT_FALSE(m_model.BulkRemove("/a", "/c"));
  EXPECT_FALSE(m_model.LockedAdd({m_store.GetCache({"/x", 1, 1, 1, 1, 1}), {}, 0, 0, {1, 1}}));
  m_model.RebuildRows();
  EXPECT_EQ(Rows(m_model), (Lines{"/a", "/b"}));
  EXPECT_EQ(m_model.TableAt(0)->item->base->format, 4);
  EXPECT_TRUE(m_model.BulkRemove("/a", "/b"));
  EXPECT_EQ(m_model.ItemCount(), 0u);
}

TEST_F(ImageDupsController, FormatSortsByCodeThenDepth) {
  // Their texts would sort otherwise: "24bit BMP", "8bit JPEG", "16bit PNG", "24bit PNG".
  for (auto [path, format, bits] : {std::tuple("/b", 4, 8), {"/d", 5, 24}, {"/c", 5, 16}}) {
    ASSERT_TRUE(
        m_model.BulkAdd(Record(path, static_cast<uint8_t>(format), static_cast<uint8_t>(bits))));
  }
  ASSERT_TRUE(m_model.BulkAdd(Record("/a", 1, 24)));
  for (const char* path : {"/a", "/b", "/c"}) ASSERT_TRUE(m_model.BulkAdd("/d", path, 1, 1));
  m_model.SetSort(FieldId::kFormat, true);
  EXPECT_EQ(Rows(m_model), (Lines{"/a", "/b", "/c", "/d"}));
}

// A user who looks at sounds and pictures in one scan has both in one results file.
TEST_F(ImageDupsController, OneJournalBringsBackBothTables) {
  CConfiguration::Instance().SetBool("enableFlatMode", true);
  CAudioDupsController audio(m_audioStore, m_ignores);
  CImageDupsController images(m_store, m_ignores);
  const auto yes = [](const auto&...) { return true; };
  const std::string path = m_folder / "autosave.quillmarsh";
  {
    CResultsJournal journal(&audio, &images, nullptr);
    ASSERT_TRUE(journal.OpenForWriting(path));
    audio.m_journal = images.m_journal = &journal;
    const auto sound = [&](const std::string& name) {
      return m_audioStore.GetCache({name, "artist", "album", "title", 1, 2, 3, 4});
    };
    const auto picture = [&](const std::string& name) {
      return m_store.GetCache({name, 640, 480, 5, 8, 1ull << 33});
    };
    // The same paths in both: a record of one table must not reach the other.
    for (const char* other : {"/b.x", "/c.x", "/d.x"}) {
      audio.LockedAdd({sound("/a.x"), sound(other), 1, 2, {0.25f, 0.5f, 0.75f}});
      images.LockedAdd({picture("/a.x"), picture(other), 3, 4, {0.125f, 0.5f}});
      ASSERT_TRUE(audio.ProcessNewData());
      ASSERT_TRUE(images.ProcessNewData());
    }
    ASSERT_TRUE(images.ActOnFile("/b.x", yes));
    ASSERT_TRUE(audio.Update("/a.x", "A", "B", "C"));
    ASSERT_TRUE(audio.Rename("/b.x", "/e.x"));
    ASSERT_TRUE(audio.ActOnFile("/c.x", yes));
    audio.m_journal = images.m_journal = nullptr;
  }
  const Lines sounds = {"/a.x",
                        "/a.x>/d.x 0.250 0.500 0.750",
                        "/a.x>/e.x 0.250 0.500 0.750",
                        "/d.x",
                        "/d.x>/a.x 0.250 0.500 0.750",
                        "/e.x",
                        "/e.x>/a.x 0.250 0.500 0.750"};
  const Lines pictures = {
      "/a.x", "/a.x>/c.x 0.125 0.500", "/a.x>/d.x 0.125 0.500", "/c.x", "/c.x>/a.x 0.125 0.500",
      "/d.x", "/d.x>/a.x 0.125 0.500"};
  EXPECT_EQ(Rows(audio), sounds);
  EXPECT_EQ(Rows(images), pictures);

  const auto check = [&](const std::string& file) {
    CAudioDupsController loadedAudio(m_audioStore, m_ignores);
    CImageDupsController loadedImages(m_store, m_ignores);
    CResultsJournal reader(&loadedAudio, &loadedImages, nullptr);
    ASSERT_TRUE(reader.OpenForReading(file));
    ASSERT_TRUE(reader.Load());
    EXPECT_EQ(Rows(loadedAudio), sounds);
    EXPECT_EQ(Rows(loadedImages), pictures);
    EXPECT_EQ(loadedAudio.TableAt(0)->item->base->artist, "A");
    EXPECT_EQ(loadedAudio.TableAt(0)->item->base->durationMs, 1u);
    EXPECT_EQ(loadedImages.TableAt(0)->item->base->size, 1ull << 33);
    EXPECT_EQ(loadedImages.TableAt(0)->item->folderGroup, 3);
  };
  check(path);
  // And so does a file written from the tables themselves.
  const std::string saved = m_folder / "saved.quillmarsh";
  {
    CResultsJournal writer(&audio, &images, nullptr);
    ASSERT_TRUE(writer.OpenForWriting(saved));
    ASSERT_TRUE(writer.Rebuild());
  }
  check(saved);
}

}  // namespace
}  // namespace quill
