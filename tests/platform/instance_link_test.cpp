#include "platform/instance_link.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QStandardPaths>
#include <atomic>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

namespace quill {
namespace {

// Calls from a thread that plays the second program, while this one runs the event loop.
bool CallFrom(const std::string& folder, const std::string& path) {
  std::atomic<bool> done = false;
  bool answered = false;
  std::thread second([&] {
    answered = CInstanceLink(folder).Call(path);
    done = true;
  });
  while (!done) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  second.join();
  return answered;
}

TEST(InstanceLink, TheSecondStartHandsItsFileToTheFirst) {
  QStandardPaths::setTestModeEnabled(true);
  int argc = 0;
  const QCoreApplication application(argc, nullptr);
  const test::CTempFolder folder;
  qputenv("XDG_RUNTIME_DIR", folder.Path().c_str());
  std::filesystem::create_directory_symlink(folder.Path(), folder / "link");
  std::vector<std::string> called;

  EXPECT_FALSE(CallFrom(folder.Path(), "early")) << "nobody listens";
  {
    CInstanceLink first(folder.Path());
    first.m_called = [&](const std::string& path) { called.push_back(path); };
    first.Listen();
    const std::string name = "/music/\xff\n ä.quillmarsh";
    EXPECT_TRUE(CallFrom(folder.Path(), ""));
    EXPECT_TRUE(CallFrom(folder / "link/", name)) << "the same folder, written otherwise";
    EXPECT_EQ(called, (std::vector<std::string>{"", name}));
    const test::CTempFolder other;
    EXPECT_FALSE(CallFrom(other.Path(), "elsewhere"));
  }
  EXPECT_FALSE(CallFrom(folder.Path(), "late"));

  // What a killed program leaves in the socket's place does not keep the next one from listening.
  auto* killed = new CInstanceLink(folder.Path());
  killed->Listen();
  CInstanceLink next(folder.Path());
  next.m_called = [&](const std::string& path) { called.push_back(path); };
  next.Listen();
  EXPECT_TRUE(CallFrom(folder.Path(), "next"));
  EXPECT_EQ(called.back(), "next");
  delete killed;
}

}  // namespace
}  // namespace quill
