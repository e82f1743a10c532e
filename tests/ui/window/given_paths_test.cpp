// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/given_paths.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QMimeData>
#include <filesystem>

#include "storage/results_journal.h"
#include "support/temp_folder.h"

namespace quill {
namespace {

class GivenPathsTest : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories(m_files / "Disc 10/deep");
    std::filesystem::create_directories(m_files / "\xFF");
    std::filesystem::create_directory_symlink(m_files / "Disc 10", m_files / "link");
    test::WriteAll(m_files / "A.mp3", "sound");
    test::WriteAll(m_files / "novel.quillmarsh", "Chapter one.");
    ASSERT_EQ(mkfifo((m_files / "pipe").c_str(), 0600), 0);
    for (const char* const name : {"first.quillmarsh", "without"}) {
      CResultsJournal journal(nullptr, nullptr, nullptr);
      ASSERT_TRUE(journal.OpenForWriting(m_files / name));
    }
  }
  test::CTempFolder m_files;
};

TEST_F(GivenPathsTest, EachPathIsTakenOrRefusedWithAReason) {
  const struct {
    std::vector<std::string> paths;
    std::vector<std::string> folders;
    std::string results;
    QStringList refused;
  } cases[] = {
      {{}, {}, "", {}},
      {{"Disc 10", "\xFF", "Disc 10", "link"}, {"Disc 10", "\xFF", "link"}, "", {}},
      {{"without"}, {}, "without", {}},
      {{"first.quillmarsh", "without", "Disc 10"},
       {"Disc 10"},
       "first.quillmarsh",
       {"one results file is shown at a time"}},
      {{"A.mp3", "novel.quillmarsh"}, {}, "", {"neither a folder", "neither a folder"}},
      {{"gone", "A.mp3/b", "gone"}, {}, "", {"is not there", "is not there"}},
      {{"pipe"}, {}, "", {"neither a folder"}},
  };
  const auto whole = [&](std::vector<std::string> names) {
    for (std::string& name : names) name = m_files / name;
    return names;
  };
  for (const auto& c : cases) {
    const GivenPaths given = SortGiven(whole(c.paths));
    EXPECT_EQ(given.folders, whole(c.folders));
    EXPECT_EQ(given.results, c.results.empty() ? "" : m_files / c.results);
    ASSERT_EQ(given.refused.size(), c.refused.size()) << given.refused.join('|').toStdString();
    for (qsizetype i = 0; i < c.refused.size(); ++i)
      EXPECT_TRUE(given.refused[i].contains(c.refused[i])) << given.refused[i].toStdString();
  }
}

TEST_F(GivenPathsTest, DraggedNamesKeepTheirBytes) {
  QMimeData data;
  const std::string at = "file://" + m_files.Path();
  data.setData("text/uri-list",
               QByteArray::fromStdString(at + "/A.mp3\r\nhttps://example.org/\r\n"));
  EXPECT_EQ(DraggedPaths(data), std::vector<std::string>{m_files / "A.mp3"});
  EXPECT_FALSE(MayTake(DraggedPaths(data)));
  data.setData("text/uri-list", QByteArray::fromStdString(at + "/A.mp3\r\n" + at + "/%FF\r\n" + at +
                                                          "/Disc%2010/\r\n"));
  EXPECT_EQ(DraggedPaths(data),
            (std::vector<std::string>{m_files / "A.mp3", m_files / "\xFF", m_files / "Disc 10/"}));
  EXPECT_TRUE(MayTake(DraggedPaths(data)));
  EXPECT_TRUE(MayTake({"/gone/novel.QUILLMARSH"}));
}

}  // namespace
}  // namespace quill
