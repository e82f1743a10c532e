#include "platform/instance_link.h"

#include <QCryptographicHash>
#include <QLocalServer>
#include <QLocalSocket>
#include <QStandardPaths>
#include <filesystem>

namespace quill {

namespace {

constexpr int kPatienceMs = 5000;
constexpr char kEnd = '\0';  // behind a path, which has none
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
