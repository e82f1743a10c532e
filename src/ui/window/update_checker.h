// SPDX-License-Identifier: GPL-3.0-or-later
// One request to the update server, and what to make of its reply. The server's address is a
// setting, empty by default, and without one nothing is ever sent. Main thread.
#pragma once

#include <QNetworkAccessManager>
#include <QPointer>
#include <functional>

class QNetworkReply;

namespace quill {

enum class UpdateResult {
  kNewer = 0,
  kUpToDate = 1,
  kNoConnection = 2,
  kBadReply = 3,
};

class TDXUpdateChecker : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  ~TDXUpdateChecker() override;

  // Whether there is an address to ask.
  [[nodiscard]] static bool IsConfigured();
  // The page that a user is sent to for a new version.
  [[nodiscard]] static QString WebSite();

  // `done` is told the outcome once, unless Stop comes first. False when there is no address.
  bool BeginRequest(std::function<void(UpdateResult)> done);
  // Cancels the request; nothing arrives any more.
  void Stop();

 private:
  void Finish();

  QNetworkAccessManager m_network;
  QPointer<QNetworkReply> m_reply;
  std::function<void(UpdateResult)> m_done;
};

}  // namespace quill
