// SPDX-License-Identifier: GPL-3.0-or-later
// One window over a data folder: the first one listens, and a second start of the program hands
// over to it and ends. Main thread, with a running event loop on the listening side.
#pragma once

#include <QString>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class QLocalServer;

namespace quill {

class CInstanceLink {
 public:
  // `folder` is the data folder that both programs share; it must exist.
  explicit CInstanceLink(const std::string& folder);
  ~CInstanceLink();

  // Called with the paths that the second program was started with, perhaps none. From the event
  // loop, with nothing of the link below it: it may open dialogs.
  std::function<void(const std::vector<std::string>& paths)> m_called;

  // Takes calls from now on; they wait until the event loop runs. Needs the lock of the data
  // folder: what an earlier program left in the socket's place goes. Without a place for the socket
  // a second start cannot hand over; that is all.
  void Listen();
  // No path may be empty. False when nobody answers within a few seconds.
  [[nodiscard]] bool Call(const std::vector<std::string>& paths) const;

 private:
  void Answer();
  void Called(const std::vector<std::string>& paths);

  const QString m_name;  // of the socket
  std::unique_ptr<QLocalServer> m_server;
};

}  // namespace quill
