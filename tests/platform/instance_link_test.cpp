// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/instance_link.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QStandardPaths>
#include <QTimer>
#include <atomic>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

namespace quill {
namespace {

// Calls from a thread that plays the second program, while this one runs the event loop.
bool CallFrom(const std::string& folder, const std::vector<std::string>& paths) {
  std::atomic<bool> done = false;
  bool answered = false;
  std::thread second([&] {
    answered = CInstanceLink(folder).Call(paths);
    done = true;
  });
  while (!done) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
  second.join();
  return answered;
}

// Knows how many events of sockets are being delivered.
class CWatchfulApplication : public QCoreApplication {
 public:
  using QCoreApplication::QCoreApplication;
  int inSockets = 0;
  bool notify(QObject* receiver, QEvent* event) override {
    const int step = event->type() == QEvent::SockAct ? 1 : 0;
    inSockets += step;
    const bool done = QCoreApplication::notify(receiver, event);
    inSockets -= step;
    return done;
  }
};

class InstanceLinkTest : public testing::Test {
 protected:
  InstanceLinkTest() {
    QStandardPaths::setTestModeEnabled(true);
    qputenv("XDG_RUNTIME_DIR", folder.Path().c_str());
  }
  int argc = 0;
  CWatchfulApplication application{argc, nullptr};
  const test::CTempFolder folder;
};

TEST_F(InstanceLinkTest, TheSecondStartHandsItsPathsToTheFirst) {
  std::filesystem::create_directory_symlink(folder.Path(), folder / "link");
  std::vector<std::vector<std::string>> called;

  EXPECT_FALSE(CallFrom(folder.Path(), {"early"})) << "nobody listens";
  {
    CInstanceLink first(folder.Path());
    first.m_called = [&](const auto& paths) { called.push_back(paths); };
    first.Listen();
    const std::string name = "/music/\xff\n ä.quillmarsh";
    EXPECT_TRUE(CallFrom(folder.Path(), {}));
    EXPECT_TRUE(CallFrom(folder / "link/", {name, "/music"}))
        << "the same folder, written otherwise";
    QCoreApplication::processEvents();
    EXPECT_EQ(called, (std::vector<std::vector<std::string>>{{}, {name, "/music"}}));
    const test::CTempFolder other;
    EXPECT_FALSE(CallFrom(other.Path(), {"elsewhere"}));
  }
  EXPECT_FALSE(CallFrom(folder.Path(), {"late"}));

  // What a killed program leaves in the socket's place does not keep the next one from listening.
  auto* killed = new CInstanceLink(folder.Path());
  killed->Listen();
  CInstanceLink next(folder.Path());
  next.m_called = [&](const auto& paths) { called.push_back(paths); };
  next.Listen();
  EXPECT_TRUE(CallFrom(folder.Path(), {"next"}));
  QCoreApplication::processEvents();
  EXPECT_EQ(called.back(), std::vector<std::string>{"next"});
  delete killed;
}

// A dialog runs an event loop of its own, in which the second program goes and its socket with it.
TEST_F(InstanceLinkTest, ACallMayOpenADialogAndTakeFurtherCallsInIt) {
  CInstanceLink first(folder.Path());
  int done = 0;
  first.m_called = [&](const auto&) {
    EXPECT_EQ(application.inSockets, 0) << "the socket dies below its own signal";
    QEventLoop dialog;
    QTimer::singleShot(300, &dialog, &QEventLoop::quit);
    dialog.exec();
    ++done;
  };
  first.Listen();
  for (int call = 0; call < 3; ++call) EXPECT_TRUE(CallFrom(folder.Path(), {"/a", "/b"}));
  while (done < 3) QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
}

}  // namespace
}  // namespace quill
