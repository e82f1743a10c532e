// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/instance_link.h"

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <filesystem>

namespace quill {

namespace {

constexpr int kPatienceMs = 5000;
// Behind each path, which has none, and once more behind the last.
constexpr char kEnd = '\0';
constexpr qsizetype kMostBytes = 4 << 20;  // more than a command line can hold
constexpr const char* kDone = "done";

// The same for every way to write the folder's path.
QByteArray Digest(const std::string& folder) {
  std::error_code fault;
  const std::filesystem::path real = std::filesystem::canonical(folder, fault);
  const std::string& name = fault ? folder : real.native();
  return QCryptographicHash::hash(QByteArray::fromStdString(name), QCryptographicHash::Sha1)
      .toHex()
      .left(16);
}

// False while the end is still to come.
bool ReadPaths(const QByteArray& said, std::vector<std::string>* paths) {
  paths->clear();
  for (qsizetype from = 0;;) {
    const qsizetype end = said.indexOf(kEnd, from);
    if (end < 0) return false;
    if (end == from) return true;
    paths->push_back(said.mid(from, end - from).toStdString());
    from = end + 1;
  }
}

}  // namespace

CInstanceLink::CInstanceLink(const std::string& folder)
    : m_name(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + "/quillmarsh-" +
             Digest(folder)) {}

CInstanceLink::~CInstanceLink() = default;

void CInstanceLink::Listen() {
  QLocalServer::removeServer(m_name);
  m_server = std::make_unique<QLocalServer>();
  m_server->setSocketOptions(QLocalServer::UserAccessOption);
  QObject::connect(m_server.get(), &QLocalServer::newConnection, m_server.get(),
                   [this] { Answer(); });
  (void)m_server->listen(m_name);
}

void CInstanceLink::Answer() {
  while (QLocalSocket* socket = m_server->nextPendingConnection()) {
    QObject::connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
    const auto read = [this, socket] {
      std::vector<std::string> paths;
      const QByteArray said = socket->peek(kMostBytes);
      if (!ReadPaths(said, &paths)) {
        if (said.size() == kMostBytes) socket->abort();
        return;
      }
      (void)socket->readAll();
      socket->write(kDone);
      socket->flush();
      // Not from here: a dialog's event loop would delete the socket inside its own signal.
      QMetaObject::invokeMethod(
          m_server.get(), [this, paths] { Called(paths); }, Qt::QueuedConnection);
    };
    QObject::connect(socket, &QLocalSocket::readyRead, socket, read);
    read();
  }
}

void CInstanceLink::Called(const std::vector<std::string>& paths) {
  if (m_called) m_called(paths);
}

bool CInstanceLink::Call(const std::vector<std::string>& paths) const {
  QByteArray said;
  for (const std::string& path : paths) said += QByteArray::fromStdString(path) + kEnd;
  said += kEnd;
  QLocalSocket socket;
  socket.connectToServer(m_name);
  if (!socket.waitForConnected(kPatienceMs)) return false;
  socket.write(said);
  if (!socket.waitForBytesWritten(kPatienceMs)) return false;
  return socket.waitForReadyRead(kPatienceMs) && socket.readAll() == kDone;
}

}  // namespace quill
