// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <QLabel>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <functional>

#include "app/update_reply.h"
#include "core/configuration.h"
#include "ui/window/update_checker.h"
#include "ui/window/update_window.h"

namespace quill {
namespace {

// A server that gives one answer to whatever it is asked, and keeps what it was asked.
class CServer {
 public:
  explicit CServer(std::function<QByteArray(const QByteArray& request)> answer)
      : m_answer(std::move(answer)) {
    QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
      QTcpSocket* socket = m_server.nextPendingConnection();
      QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
        const QByteArray request = socket->readAll();
        m_requests.append(request);
        const QByteArray said = m_answer(request);
        if (said.isEmpty()) return;  // never answers
        socket->write(said);
        socket->disconnectFromHost();
      });
    });
    EXPECT_TRUE(m_server.listen(QHostAddress::LocalHost));
  }
  [[nodiscard]] std::string Address() const {
    return "http://127.0.0.1:" + std::to_string(m_server.serverPort());
  }
  [[nodiscard]] static QByteArray Page(const QByteArray& body,
                                       const QByteArray& status = "200 OK") {
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
           "\r\nConnection: close\r\n\r\n" + body;
  }

  QByteArrayList m_requests;

 private:
  QTcpServer m_server;
  const std::function<QByteArray(const QByteArray&)> m_answer;
};

class UpdateCheckTest : public testing::Test {
 protected:
  UpdateCheckTest() { CConfiguration::Instance().SetStore(&m_store); }
  ~UpdateCheckTest() override { CConfiguration::Instance().SetStore(nullptr); }

  // -1 when no outcome comes.
  int Check(const std::string& address) {
    m_store.Set("updateAddress", address);
    int outcome = -1;
    TDXUpdateChecker checker;
    if (!checker.BeginRequest([&](UpdateResult result) { outcome = static_cast<int>(result); }))
      return -1;
    (void)QTest::qWaitFor([&] { return outcome != -1; }, 20000);
    return outcome;
  }
  int CheckPage(const QByteArray& page) {
    CServer server([&](const QByteArray&) { return page; });
    return Check(server.Address() + "/");
  }
  [[nodiscard]] static int32_t LastUpdate() {
    return CConfiguration::Instance().GetInteger("lastUpdate", 0);
  }

  CMemorySettingsStore m_store;
};

TEST_F(UpdateCheckTest, TheFourOutcomes) {
  EXPECT_EQ(CheckPage(CServer::Page("Quillmarsh:1.9:OK", "404 Not Found")), 3);
  EXPECT_EQ(CheckPage(CServer::Page("Quillmarsh:2.0:NO")), 3);
  EXPECT_EQ(CheckPage(CServer::Page("")), 3);
  EXPECT_EQ(CheckPage("no protocol at all\r\n\r\n"), 2);
  EXPECT_EQ(Check("http://127.0.0.1:1"), 2);
  EXPECT_EQ(LastUpdate(), 0) << "a check that failed is tried again";
  EXPECT_EQ(CheckPage(CServer::Page(
                "Quillmarsh:" + QByteArray::fromStdString(VersionText(OwnVersion())) + ":OK")),
            1);
  EXPECT_GT(LastUpdate(), 0);
  EXPECT_EQ(CheckPage(CServer::Page("Quillmarsh:99:OK")), 0);
}

TEST_F(UpdateCheckTest, SaysWhoAsksAndFollowsRedirects) {
  CServer last([](const QByteArray&) { return CServer::Page("Quillmarsh:1.0:OK"); });
  CServer first([&](const QByteArray&) {
    return "HTTP/1.1 302 Found\r\nLocation: " + QByteArray::fromStdString(last.Address()) +
           "/there\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  });
  EXPECT_EQ(Check(first.Address()), 1);
  ASSERT_EQ(first.m_requests.size(), 1);
  EXPECT_TRUE(first.m_requests[0].startsWith("GET /version?linux&new HTTP/1.1\r\n"));
  // The names of headers have no case.
  EXPECT_TRUE(first.m_requests[0].toLower().contains(
      "\r\nuser-agent: quillmarsh/" + QByteArray::fromStdString(VersionText(OwnVersion())) +
      "\r\n"));
  EXPECT_TRUE(last.m_requests[0].startsWith("GET /there HTTP/1.1\r\n"));
  EXPECT_EQ(Check(first.Address()), 1);
  EXPECT_TRUE(first.m_requests[1].startsWith("GET /version?linux HTTP/1.1\r\n"))
      << "only the first check of an installation announces itself";
}

TEST_F(UpdateCheckTest, WithoutAnAddressNothingIsSent) {
  EXPECT_EQ(Check(""), -1);
  TDXUpdateWindow::CheckUpdateModal(true, nullptr);
  TDXUpdateWindow::CheckAtStart(nullptr);
}

TEST_F(UpdateCheckTest, AWindowThatIsClosedHearsNothingMore) {
  CServer server([](const QByteArray&) { return QByteArray(); });
  m_store.Set("updateAddress", server.Address());
  {
    TDXUpdateWindow window(std::make_unique<TDXUpdateChecker>(), nullptr);
    window.show();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !server.m_requests.isEmpty(); }, 20000));
  }
  QTest::qWait(20);
  TDXUpdateWindow told(nullptr, nullptr);
  told.ProcessResult(UpdateResult::kNewer);
  bool linked = false;
  for (const QLabel* label : told.findChildren<QLabel*>())
    linked = linked || label->text().contains(QString::fromStdString(server.Address()));
  EXPECT_TRUE(linked);
}

}  // namespace
}  // namespace quill
