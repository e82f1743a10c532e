// SPDX-License-Identifier: GPL-3.0-or-later
#include "decoding/process_link.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>
#include <vector>

#include "core/kernel_interface.h"
#include "core/log.h"
#include "core/sync.h"
#include "core/system_error.h"

namespace quill {
namespace {

constexpr uint64_t kSharedMemoryRoom = uint64_t{256} << 20;  // bytes
constexpr int kNamesTried = 100;
constexpr const char* kHangs = "Decoder process is hang up";
constexpr const char* kOutOfStep = "Decoder process answers out of step";

std::atomic<uint32_t> g_temporaryName{0};

void Close(int32_t* descriptor) {
  if (*descriptor != -1) close(*descriptor);
  *descriptor = -1;
}

// Children that were let go of alive. Each is collected once it has ended, when some later child
// starts, so that none stays a zombie as long as the application runs.
class CDetachedChildren {
 public:
  void Add(pid_t child) EXCLUDES(m_sync) {
    const CSyncLock lock(m_sync);
    m_children.push_back(child);
  }
  void Collect() EXCLUDES(m_sync) {
    const CSyncLock lock(m_sync);
    std::erase_if(m_children, [](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; });
  }

 private:
  CSync m_sync;
  std::vector<pid_t> m_children GUARDED_BY(m_sync);
};

CDetachedChildren& DetachedChildren() {
  static auto* const children = new CDetachedChildren;  // outlives links of static storage
  return *children;
}

// Memory is preferred to a disk: the backing file never needs to reach one.
std::string TemporaryFolder() {
  const char* const chosen = std::getenv("TMPDIR");
  std::string folder = "/tmp";
  if (chosen && *chosen) {
    folder = chosen;
  } else {
    struct statfs info{};
    if (statfs("/dev/shm", &info) == 0 && info.f_type == kernel::kTmpfsType &&
        uint64_t{info.f_bavail} * static_cast<uint64_t>(info.f_bsize) >= kSharedMemoryRoom &&
        access("/dev/shm", W_OK | X_OK) == 0) {
      folder = "/dev/shm";
    }
  }
  if (folder.back() != '/') folder += '/';
  return folder;
}

// The file has no name any more when this returns, so nothing stays behind after a crash.
int32_t OpenBackingFile() {
  const std::string folder = TemporaryFolder();
  for (int tried = 0; tried < kNamesTried; ++tried) {
    const uint32_t number = g_temporaryName.load();
    char name[48];
    std::snprintf(name, sizeof name, "quillmarshdecoder%08x%08x", static_cast<uint32_t>(getpid()),
                  number);
    const std::string path = folder + name;
    const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file != -1) {
      unlink(path.c_str());
      return file;
    }
    if (errno == EEXIST) {
      g_temporaryName.store(number + 1);
    } else if (errno != EINTR) {
      return -1;
    }
  }
  return -1;
}

// The child borrows this process's memory until it has become the decoder (a fork would copy the
// page tables of all stores), so it may make system calls and nothing else. It keeps the three
// descriptors and the standard ones only. A process group of its own keeps a terminal's interrupt
// away from it: the application stops in its own order.
pid_t StartChild(const char* program, char* const* arguments, const int32_t (&inherited)[3]) {
  char* const environment[] = {nullptr};
  const pid_t child = vfork();  // NOLINT(clang-analyzer-security.insecureAPI.vfork)
  if (child != 0) return child;
  setpgid(0, 0);  // NOLINT(clang-analyzer-unix.Vfork)
  close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC);
  for (const int32_t descriptor : inherited) fcntl(descriptor, F_SETFD, 0);
  execve(program, arguments, environment);
  _exit(1);
}

}  // namespace

std::string CProcessLink::OwnDecoder() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  const std::string own(path, static_cast<size_t>(std::max<ssize_t>(length, 0)));
  const size_t slash = own.rfind('/');
  return (slash == std::string::npos ? "./" : own.substr(0, slash + 1)) + "decoder";
}

CProcessLink::CProcessLink(CDecoderTable& table, std::string program, int32_t hangMs)
    : m_table(table), m_program(std::move(program)), m_hangMs(hangMs) {}

bool CProcessLink::Reinit() {
  if (m_cmpId != m_table.Generation()) Release();
  if (IsOpen() && HasStrayBytes()) Reject(kOutOfStep);
  if (IsOpen()) return true;
  m_shutdown = false;
  m_cmpId = m_table.Generation();
  DetachedChildren().Collect();
  if (!Start()) {
    Release();
    return CSystemError::Bool("Reinit", 148, false);
  }
  if (!Handshake()) return CSystemError::Bool("Reinit", 187, false);
  return true;
}

bool CProcessLink::Start() {
  const CSyncLock lock(m_table.Mutex());
  m_md = OpenBackingFile();
  if (m_md == -1) return false;

  // Non-blocking ends on both sides. Close-on-exec from the first moment on, so that a child that
  // another thread starts meanwhile cannot inherit them.
  std::array<int32_t, 2> fromChild{-1, -1};
  std::array<int32_t, 2> toChild{-1, -1};
  if (pipe2(fromChild.data(), O_NONBLOCK | O_CLOEXEC) != 0) return false;
  m_pipeRead = fromChild[0];
  pid_t child = -1;
  if (pipe2(toChild.data(), O_NONBLOCK | O_CLOEXEC) == 0) {
    m_pipeWrite = toChild[1];
    char readText[16];
    char writeText[16];
    std::snprintf(readText, sizeof readText, "%d", toChild[0]);
    std::snprintf(writeText, sizeof writeText, "%d", fromChild[1]);
    char* const arguments[] = {readText, writeText, nullptr};
    const std::string program = m_program.empty() ? OwnDecoder() : m_program;
    child = StartChild(program.c_str(), arguments, {toChild[0], fromChild[1], m_md});
  }
  Close(&fromChild[1]);
  Close(&toChild[0]);
  m_pid = child;
  return child != -1;
}

bool CProcessLink::Handshake() {
  const CDecoderTable::Rows rows = m_table.Snapshot();
  uint32_t reply = 0;
  uint32_t status = 0;
  return WriteWord(wire::kHandshake) && WriteWord(wire::kHandshakeFirst) &&
         WriteWord(wire::kHandshakeSecond) && WriteWord(static_cast<uint32_t>(rows.size())) &&
         Write(rows.data(), rows.size() * sizeof(wire::DecoderRow)) && ReadWord(&reply) &&
         ReadStatus(wire::kHandshake, reply, &status) &&
         (status == 0 || Reject("Decoder process refuses the handshake"));
}

bool CProcessLink::Write(const void* buffer, size_t length) {
  if (length == 0) return true;
  if (m_pipeWrite == -1) return CSystemError::Bool("Write", 214, false);
  const auto* bytes = static_cast<const uint8_t*>(buffer);
  while (length > 0) {
    const ssize_t done = write(m_pipeWrite, bytes, length);
    if (done >= 0) {
      bytes += done;
      length -= static_cast<size_t>(done);
    } else if (errno == EPIPE) {
      return LoseChild();
    } else if (errno == EAGAIN) {
      if (!WaitFor(m_pipeWrite, POLLOUT)) return CSystemError::Bool("Write", 241, false);
    } else if (errno != EINTR) {
      Release();
      return CSystemError::Bool("Write", 249, false);
    }
  }
  return true;
}

bool CProcessLink::Read(void* buffer, size_t length) {
  if (length == 0) return true;
  if (m_pipeRead == -1) return CSystemError::Bool("Read", 261, false);
  auto* bytes = static_cast<uint8_t*>(buffer);
  while (length > 0) {
    const ssize_t done = read(m_pipeRead, bytes, length);
    if (done > 0) {
      bytes += done;
      length -= static_cast<size_t>(done);
    } else if (done == 0) {
      return LoseChild();
    } else if (errno == EAGAIN) {
      if (!WaitFor(m_pipeRead, POLLIN)) return CSystemError::Bool("Read", 288, false);
    } else if (errno != EINTR) {
      Release();
      return CSystemError::Bool("Read", 296, false);
    }
  }
  return true;
}

bool CProcessLink::LoseChild() {
  ReapProcess();
  Release();
  return false;
}

bool CProcessLink::WaitFor(int32_t descriptor, int16_t events) {
  pollfd waiting{.fd = descriptor, .events = events, .revents = 0};
  if (poll(&waiting, 1, m_hangMs) != 0) return true;
  return Reject(kHangs);
}

bool CProcessLink::Write(std::string_view text) {
  if (text.size() >= wire::kStringLimit) {
    Release();
    return CSystemError::Bool("Write", 310, false);
  }
  const auto length = static_cast<uint16_t>(text.size());
  return Write(&length, sizeof length) && Write(text.data(), text.size());
}

bool CProcessLink::Read(std::string* text) {
  text->clear();
  uint16_t length = 0;
  if (!Read(&length, sizeof length)) return CSystemError::Bool("Read", 326, false);
  text->resize(length);
  if (!Read(text->data(), length)) return CSystemError::Bool("Read", 331, false);
  return true;
}

bool CProcessLink::HasStrayBytes() const {
  int waiting = 0;
  return ioctl(m_pipeRead, FIONREAD, &waiting) == 0 && waiting > 0;
}

bool CProcessLink::Reject(const char* reason) {
  LogMessage(reason);
  Release();
  return false;
}

bool CProcessLink::WriteCmd(uint32_t command) {
  if (IsOpen() && HasStrayBytes()) return Reject(kOutOfStep);
  return WriteWord(command);
}

bool CProcessLink::ReadStatus(uint32_t command, uint32_t word, uint32_t* status) {
  return word == command ? ReadWord(status) : Reject(kOutOfStep);
}

bool CProcessLink::ReadReply(uint32_t command, uint32_t* status) {
  uint32_t word = 0;
  return ReadCmd(&word) && ReadStatus(command, word, status);
}

bool CProcessLink::ReadCmd(uint32_t* word) {
  while (ReadWord(word)) {
    if (*word == wire::kLogText) {
      std::string text;
      if (!Read(&text)) return CSystemError::Bool("ReadCmd", 347, false);
      LogMessage(text.c_str());
    } else if (*word == wire::kResizeMap) {
      uint32_t wanted = 0;
      if (!ReadWord(&wanted)) return CSystemError::Bool("ReadCmd", 356, false);
      Resize(wanted);
      if (!WriteWord(wire::kResizeMap) || !WriteWord(static_cast<uint32_t>(m_md)) ||
          !WriteWord(static_cast<uint32_t>(m_mapSize))) {
        return CSystemError::Bool("ReadCmd", 379, false);
      }
    } else {
      return true;
    }
  }
  return false;
}

void CProcessLink::Resize(uint32_t wanted) {
  Unmap();
  if (ftruncate(m_md, wanted) != 0) return;
  // The room is taken now: a full disk or a full tmpfs is a refusal here, and never a fault when
  // either process touches a page.
  int failed = 0;
  do {
    failed = posix_fallocate(m_md, 0, wanted);
  } while (failed == EINTR);
  void* const map =
      failed ? MAP_FAILED : mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_SHARED, m_md, 0);
  if (map == MAP_FAILED) {
    [[maybe_unused]] const int ignored = ftruncate(m_md, 0);
    return;
  }
  m_map = static_cast<uint8_t*>(map);
  m_mapSize = wanted;
}

void CProcessLink::Unmap() {
  if (m_map) munmap(m_map, m_mapSize);
  m_map = nullptr;
  m_mapSize = 0;
}

bool CProcessLink::PurgeMapping() {
  if (m_mapSize <= wire::kSmallMapping) return true;
  uint32_t reply = 0;
  uint32_t status = 0;
  if (!WriteCmd(wire::kPurge) || !ReadWord(&reply) || !ReadStatus(wire::kPurge, reply, &status) ||
      status != 0) {
    return CSystemError::Bool("PurgeMapping", 402, false);
  }
  Unmap();
  if (ftruncate(m_md, 0) != 0) return CSystemError::Bool("PurgeMapping", 409, false);
  return true;
}

void CProcessLink::ReapProcess() {
  // First, so that the child cannot block on them.
  Close(&m_pipeRead);
  Close(&m_pipeWrite);
  int status = 0;
  pid_t ended = 0;
  for (int32_t waitedMs = 0; waitedMs < m_hangMs; ++waitedMs) {
    ended = waitpid(m_pid, &status, WNOHANG);
    if (ended != 0) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  if (ended == 0) {
    Reject(kHangs);
    return;
  }

  const bool known = ended == m_pid;
  if (known && WIFEXITED(status) && WEXITSTATUS(status) == wire::kExitOrderly) {
    m_shutdown = true;
  } else if (known && ((WIFEXITED(status) && WEXITSTATUS(status) == wire::kExitCrashed) ||
                       (WIFSIGNALED(status) && WCOREDUMP(status)))) {
    LogMessage("Decoder process is crashed");
  } else {
    LogMessage("Decoder process is forcifully shutdown");
  }
  m_pid = -1;
}

void CProcessLink::Release() {
  Unmap();
  Close(&m_md);
  Close(&m_pipeRead);
  Close(&m_pipeWrite);
  if (m_pid != -1 && waitpid(m_pid, nullptr, WNOHANG) == 0) DetachedChildren().Add(m_pid);
  m_pid = -1;
}

void CProcessLink::LogMessage(const char* text) {
  if (!text) return;
  CLogLine line;
  line.Append(text);
  if (!m_logPath.empty()) line.Append(", file: \"").Append(m_logPath).Append("\"");
  if (m_logDecoder != 0) line.Append(", decoder: ").Append(CDecoderTable::Name(m_logDecoder));
  if (!m_logDescr.empty()) line.Append(", ").Append(m_logDescr);
}

void CProcessLink::SetLogContext(uint32_t decoderId, std::string path, std::string description) {
  m_logDecoder = decoderId;
  m_logPath = std::move(path);
  m_logDescr = std::move(description);
}

}  // namespace quill
