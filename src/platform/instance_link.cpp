#include "platform/instance_link.h"

#include <QCryptographicHash>
#include <QLocalSocket>
#include <QStandardPaths>

namespace quill {

namespace {

constexpr int kPatienceMs = 5000;
constexpr char kEnd = '\0';  // behind a path, which has none
constexpr const char* kDone = "done";

}  // namespace

CInstanceLink::CInstanceLink(const std::string& folder)
    : m_name(QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + "/quillmarsh-" +
             QCryptographicHash::hash(QByteArray::fromStdString(folder), QCryptographicHash::Sha1)
                 .toHex()
                 .left(16)) {}

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
      const QByteArray said = socket->peek(socket->bytesAvailable());
      const qsizetype end = said.indexOf(kEnd);
      if (end < 0) return;
      (void)socket->readAll();
      socket->write(kDone);
      socket->flush();
      if (m_called) m_called(said.left(end).toStdString());
    };
    QObject::connect(socket, &QLocalSocket::readyRead, socket, read);
    read();
  }
}

bool CInstanceLink::Call(const std::string& path) const {
  QLocalSocket socket;
  socket.connectToServer(m_name);
  if (!socket.waitForConnected(kPatienceMs)) return false;
  socket.write(QByteArray::fromStdString(path) + kEnd);
  if (!socket.waitForBytesWritten(kPatienceMs)) return false;
  return socket.waitForReadyRead(kPatienceMs) && socket.readAll() == kDone;
}

}  // namespace quill
