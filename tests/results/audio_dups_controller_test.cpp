// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/audio_dups_controller.h"

#include "results/result_tables.h"

namespace quill {
namespace {

using test::Lines;

class CPartner : public CPartnerTable, public CAnalysisRequests {
 public:
  void RemovePaths(const Lines& paths) override {
    for (const std::string& path : paths) m_said.push_back("removed " + path);
  }
  void ChangePath(std::string_view oldPath, std::string_view newPath, std::string_view artist,
                  std::string_view album, std::string_view title) override {
    m_said.emplace_back("changed");
    for (std::string_view part : {oldPath, newPath, artist, album, title})
      (m_said.back() += " ") += part;
  }
  void SwapPaths(std::string_view first, std::string_view second) override {
    m_said.push_back("swapped " + std::string(first) + " " + std::string(second));
  }
  void Clear() override { m_said.emplace_back("cleared"); }
  void RequestAnalysis(std::string path) override { m_said.push_back("analyse " + path); }

  Lines Said() { return std::exchange(m_said, {}); }

 private:
  Lines m_said;
};

class AudioDupsController : public test::CResultTables {};

TEST_F(AudioDupsController, PartnersHearOfEveryChangeAndRemoval) {
  CPartner partner;
  CAudioDupsController& model = m_audio;
  model.m_controller = &partner;
  Pair({"/b.mp3"}, {"/a.mp3"});
  Pair({"/c.mp3"}, {"/a.mp3"});
  model.AnalyseAll();
  EXPECT_EQ(partner.Said(), Lines());  // nobody to analyse: the partner keeps what it has
  model.m_workers = &partner;

  EXPECT_TRUE(model.Update("/a.mp3", "A", "B", "C"));
  EXPECT_TRUE(model.Rename("/a.mp3", "/d.mp3"));
  EXPECT_FALSE(model.Rename("/a.mp3", "/x.mp3"));
  EXPECT_FALSE(model.Update("/a.mp3", "", "", ""));
  EXPECT_EQ(partner.Said(), (Lines{"changed /a.mp3 /a.mp3 A B C", "changed /a.mp3 /d.mp3 A B C"}));
  EXPECT_TRUE(model.Swap({2, 0}, [](const std::string& a, const std::string& b) {
    return a == "/d.mp3" && b == "/b.mp3";
  }));
  EXPECT_EQ(partner.Said(), (Lines{"swapped /d.mp3 /b.mp3"}));
  Lines partners{"old"};
  EXPECT_TRUE(model.FillPairs("/b.mp3", &partners));
  EXPECT_EQ(partners, (Lines{"/c.mp3", "/d.mp3"}));
  EXPECT_FALSE(model.FillPairs("/x.mp3", &partners));
  EXPECT_TRUE(partners.empty());
  EXPECT_FALSE(model.FillPairs("/b.mp3", nullptr));

  model.ToggleGroup(0);
  model.AnalyseRows({1, 2, -1, 99, 3});  // the rows 1 and 3 show the same file
  EXPECT_EQ(partner.Said(), (Lines{"analyse /c.mp3", "analyse /d.mp3"}));
  model.MarkRows({0});
  model.AnalyseMarked();
  model.AnalyseAll();
  EXPECT_EQ(partner.Said(), (Lines{"analyse /b.mp3", "cleared", "analyse /b.mp3", "analyse /c.mp3",
                                   "analyse /d.mp3"}));

  model.IgnorePair("/b.mp3", "/x.mp3");
  model.IgnorePair("/c.mp3", "/b.mp3");  // c has no other match and goes with it
  EXPECT_TRUE(m_ignores.IsPairIgnored("/b.mp3", "/c.mp3"));
  EXPECT_EQ(Files(model), (Lines{"*/b.mp3", "/d.mp3"}));
  EXPECT_EQ(partner.Said(), Lines());
  EXPECT_FALSE(model.ActOnFile("/d.mp3", [](const auto&) { return false; }));
  EXPECT_TRUE(model.ActOnFile("/d.mp3", [](const auto&) { return true; }));
  EXPECT_EQ(partner.Said(), (Lines{"removed /d.mp3"}));
  EXPECT_EQ(model.ItemCount(), 0U);
}

}  // namespace
}  // namespace quill
