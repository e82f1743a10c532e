// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/window/update_checker.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <ctime>
#include <utility>

#include "app/update_reply.h"
#include "core/configuration.h"

namespace quill {

namespace {

constexpr const char* kAddressKey = "updateAddress";
constexpr const char* kLastKey = "lastUpdate";
constexpr int kStatusOk = 200;
constexpr int kPatienceMs = 30000;
// A reply is one short line.
constexpr qint64 kMostBytes = 64 * 1024;

QString Address() {
  QString address = QString::fromStdString(CConfiguration::Instance().GetString(kAddressKey, ""));
  while (address.endsWith('/')) address.chop(1);
  return address;
}

}  // namespace

TDXUpdateChecker::~TDXUpdateChecker() {
  Stop();
}

bool TDXUpdateChecker::IsConfigured() {
  return !Address().isEmpty();
}

QString TDXUpdateChecker::WebSite() {
  return Address();
}

bool TDXUpdateChecker::BeginRequest(std::function<void(UpdateResult)> done) {
  Stop();
  if (!IsConfigured()) return false;
  m_done = std::move(done);
  // The first check of an installation says that it is one.
  const bool first = CConfiguration::Instance().GetInteger(kLastKey, 0) == 0;
  QNetworkRequest request(QUrl(Address() + (first ? "/version?linux&new" : "/version?linux")));
  request.setRawHeader("User-Agent",
                       QByteArray::fromStdString("Quillmarsh/" + VersionText(OwnVersion())));
  request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                       QNetworkRequest::NoLessSafeRedirectPolicy);
  request.setTransferTimeout(kPatienceMs);
  m_reply = m_network.get(request);
  connect(m_reply, &QNetworkReply::downloadProgress, this, [this](qint64 received) {
    if (m_reply && received > kMostBytes) m_reply->abort();
  });
  connect(m_reply, &QNetworkReply::finished, this, [this] { Finish(); });
  return true;
}

void TDXUpdateChecker::Stop() {
  m_done = nullptr;
  if (!m_reply) return;
  m_reply->disconnect(this);
  m_reply->abort();
  m_reply->deleteLater();
  m_reply = nullptr;
}

void TDXUpdateChecker::Finish() {
  QNetworkReply* const reply = std::exchange(m_reply, nullptr);
  reply->deleteLater();
  const auto done = std::exchange(m_done, nullptr);
  const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
  const QByteArray data = reply->readAll();
  ProgramVersion offered;
  UpdateResult result = UpdateResult::kBadReply;
  if (!status.isValid()) {
    result = UpdateResult::kNoConnection;
  } else if (status.toInt() == kStatusOk && reply->error() == QNetworkReply::NoError &&
             ParseUpdateData(data.constData(), static_cast<size_t>(data.size()), &offered.major,
                             &offered.minor, &offered.release, &offered.build)) {
    CConfiguration::Instance().SetInteger(kLastKey, static_cast<int32_t>(std::time(nullptr)));
    result = IsNewer(offered, OwnVersion()) ? UpdateResult::kNewer : UpdateResult::kUpToDate;
  }
  if (done) done(result);
}

}  // namespace quill
