// SPDX-License-Identifier: GPL-3.0-or-later
// A decoder that does what the file it opens tells it, right or wrong. The "audio file" or "image"
// is a script of lines `COMMAND VERB ARGUMENTS…`, where COMMAND is open, close, info, data,
// image-open, image-close, image-info, image-data, purge, tags-read or tags-write. Each command
// that arrives runs the next lines of its name up to one that answers (or ends the process):
//
//   reply ITEM…       answers with status 0 and the items: a number is a word, @TEXT a block of
//                     512, =TEXT a string
//   status N          answers with status N
//   block PATH A N    puts N bytes at offset A of a file in the mapping and answers with the count,
//                     asking for a larger mapping first if need be
//   fill PATH N       puts the first N bytes of a file in the mapping, with no answer
//   id N              the next answer repeats N instead of the command's id
//   twice             the next answer goes out twice
//   extra N           N zero bytes follow the next answer
//   short N           of the next answer only N bytes go out
//   late MS           the next answer waits so long
//   linger MS         closes both pipes, and ends so much later
//   trickle MS        the next answer goes byte by byte, with so long a pause before each
//   cut N             of the next answer only N bytes go out, then the process ends with 11
//   log TEXT          sends log text; "logsize N" sends N bytes of it
//   resize N          asks for a mapping and logs what was granted
//   flags, table      logs the flags of the open, the handshake
//   inherited         logs what the process was started with
//   hang FILE         answers nothing until the pipe closes; then makes FILE and leaves
//   exit N, kill N    ends with that status, by that signal
//   once FILE VERB…   runs the verb unless FILE exists, which it makes
//   core FOLDER       aborts there, with leave to write a core file
//
// With no line left, close and purge succeed, a command with a path answers 404, the others 99. A
// handshake whose first row has the extensions "handshake VERB…" runs that verb. Started as `core
// FOLDER` it aborts at once, to show what becomes of a core file on this machine.
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <list>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "decoding/wire.h"

namespace {

namespace wire = quill::wire;

[[noreturn]] void AbortWithCore(const char* folder) {
  rlimit limit{};
  getrlimit(RLIMIT_CORE, &limit);
  limit.rlim_cur = limit.rlim_max;
  setrlimit(RLIMIT_CORE, &limit);
  if (chdir(folder) != 0) _exit(1);
  std::signal(SIGABRT, SIG_DFL);
  std::abort();
}

class CFakeDecoder {
 public:
  CFakeDecoder(int argumentCount, char** arguments, char** environment)
      : m_in(std::atoi(arguments[0])), m_out(std::atoi(arguments[1])) {
    size_t variables = 0;
    while (environment[variables]) ++variables;
    std::ostringstream text;
    text << argumentCount << " arguments, " << variables << " variables, "
         << ((fcntl(m_in, F_GETFL) & fcntl(m_out, F_GETFL) & O_NONBLOCK) ? "non-blocking"
                                                                         : "blocking");
    m_start = text.str();
  }

  [[noreturn]] void Run() {
    for (;;) {
      const uint32_t command = GetWord();
      if (command == wire::kHandshake) {
        TakeHandshake();
        continue;
      }
      const auto* const name = NameOf(command);
      if (!name) _exit(70);
      if (TakesPath(command)) TakeOpen();
      if (command == wire::kTagsWrite) TakeTags();
      if (command == wire::kPurge) Unmap();
      Obey(command, name);
    }
  }

 private:
  using Line = std::pair<std::string, std::string>;  // command, verb with its arguments

  static const char* NameOf(uint32_t command) {
    constexpr std::array<const char*, 13> kNames = {
        nullptr,       nullptr,      "open",       "close", "info",      "data",      "image-open",
        "image-close", "image-info", "image-data", "purge", "tags-read", "tags-write"};
    return command < kNames.size() ? kNames[command] : nullptr;
  }
  static bool TakesPath(uint32_t command) {
    return command == wire::kAudioOpen || command == wire::kImageOpen ||
           command == wire::kTagsRead || command == wire::kTagsWrite;
  }

  void TakeHandshake() {
    std::ostringstream text;
    text << "table " << GetWord() << " " << GetWord();
    const uint32_t count = GetWord();
    text << " " << count;
    std::string verb;
    for (uint32_t i = 0; i < count; ++i) {
      wire::DecoderRow row;
      Get(&row, sizeof row);
      text << ", " << row.id << " " << row.enabled << " " << row.extensions;
      if (i == 0 && std::strncmp(row.extensions, "handshake ", 10) == 0) verb = row.extensions + 10;
    }
    m_table = text.str();
    m_replyId = wire::kHandshake;
    if (verb.empty() || !Act(verb)) Answer(0, {});
  }

  void TakeOpen() {
    uint16_t length = 0;
    Get(&length, sizeof length);
    std::string path(length, '\0');
    Get(path.data(), length);
    m_flags = GetWord();
    m_script.clear();
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
      const size_t blank = line.find(' ');
      m_script.emplace_back(line.substr(0, blank), line.substr(blank + 1));
    }
  }

  void TakeTags() {
    const uint32_t mask = GetWord();
    for (const uint32_t field : wire::kTagTexts) {
      if ((mask & field) == 0) continue;
      uint16_t length = 0;
      Get(&length, sizeof length);
      std::string text(length, '\0');
      Get(text.data(), length);
    }
    for (const uint32_t field : wire::kTagNumbers)
      if ((mask & field) != 0) GetWord();
  }

  void Obey(uint32_t command, const std::string& name) {
    m_replyId = command;
    for (auto line = m_script.begin(); line != m_script.end();) {
      if (line->first != name) {
        ++line;
        continue;
      }
      const std::string verb = line->second;
      line = m_script.erase(line);
      if (Act(verb)) return;
    }
    if (command == wire::kAudioClose || command == wire::kImageClose || command == wire::kPurge)
      Answer(0, {});
    else
      Answer(TakesPath(command) ? 404 : 99, {});
  }

  // True when the command has been answered.
  bool Act(const std::string& text) {
    std::istringstream in(text);
    std::string verb;
    in >> verb;
    if (verb == "reply") {
      std::string items;
      for (std::string item; in >> item;) {
        if (item[0] == '@') {
          items += item.substr(1);
          items.resize(items.size() + 512 - (item.size() - 1), '\0');
        } else if (item[0] == '=') {
          const auto length = static_cast<uint16_t>(item.size() - 1);
          items.append(reinterpret_cast<const char*>(&length), sizeof length) += item.substr(1);
        } else {
          AppendWord(&items, static_cast<uint32_t>(std::stoul(item)));
        }
      }
      Answer(0, items);
      return true;
    }
    if (verb == "status") {
      Answer(Number(in), {});
      return true;
    }
    if (verb == "block") {
      SendBlock(in);
      return true;
    }
    if (verb == "fill") {
      std::string path;
      in >> path;
      Fill(path, 0, Number(in));
    }
    if (verb == "id") m_replyId = Number(in);
    if (verb == "twice") m_twice = true;
    if (verb == "extra") m_extra = Number(in);
    if (verb == "short") m_short = Number(in);
    if (verb == "late") m_lateMs = Number(in);
    if (verb == "linger") Linger(Number(in));
    if (verb == "trickle") m_trickleMs = Number(in);
    if (verb == "cut") m_cut = static_cast<int64_t>(Number(in));
    if (verb == "log") SendLog(text.substr(4));
    if (verb == "logsize") SendLog(std::string(Number(in), 'x'));
    if (verb == "resize") SendLog("granted " + std::to_string(Resize(Number(in))));
    if (verb == "flags") SendLog("flags " + std::to_string(m_flags));
    if (verb == "table") SendLog(m_table);
    if (verb == "inherited") SendLog(m_start + ", " + Descriptors());
    if (verb == "hang") {
      std::string marker;
      in >> marker;
      WaitForClose(marker);
    }
    if (verb == "exit") _exit(static_cast<int>(Number(in)));
    if (verb == "kill") raise(static_cast<int>(Number(in)));
    if (verb == "once") {
      std::string marker;
      std::string rest;
      in >> marker;
      std::getline(in >> std::ws, rest);
      const int file = open(marker.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0600);
      if (file != -1) {
        close(file);
        return Act(rest);
      }
    }
    if (verb == "core") {
      std::string folder;
      in >> folder;
      AbortWithCore(folder.c_str());
    }
    return false;
  }

  static uint32_t Number(std::istringstream& in) {
    uint32_t number = 0;
    in >> number;
    return number;
  }

  static void AppendWord(std::string* bytes, uint32_t word) {
    bytes->append(reinterpret_cast<const char*>(&word), sizeof word);
  }

  void Answer(uint32_t status, const std::string& items) {
    std::string reply;
    AppendWord(&reply, m_replyId);
    AppendWord(&reply, status);
    reply += items;
    if (std::exchange(m_twice, false)) reply += reply;
    reply.append(std::exchange(m_extra, 0), '\0');
    reply.resize(std::min(reply.size(), std::exchange(m_short, SIZE_MAX)));
    std::this_thread::sleep_for(std::chrono::milliseconds(std::exchange(m_lateMs, 0)));
    if (m_cut >= 0) {
      Put(reply.data(), static_cast<size_t>(m_cut));
      _exit(wire::kExitCrashed);
    }
    if (m_trickleMs > 0) {
      for (const char byte : reply) {
        std::this_thread::sleep_for(std::chrono::milliseconds(m_trickleMs));
        Put(&byte, 1);
      }
      m_trickleMs = 0;
    } else {
      Put(reply.data(), reply.size());
    }
  }

  void SendLog(const std::string& text) {
    const uint32_t id = wire::kLogText;
    const auto length = static_cast<uint16_t>(text.size());
    Put(&id, sizeof id);
    Put(&length, sizeof length);
    Put(text.data(), length);
  }

  uint32_t Resize(uint32_t wanted) {
    Unmap();
    const uint32_t request[] = {wire::kResizeMap, wanted};
    Put(request, sizeof request);
    if (GetWord() != wire::kResizeMap) _exit(71);
    const auto descriptor = static_cast<int>(GetWord());
    const uint32_t granted = GetWord();
    if (granted > 0) {
      void* const map = mmap(nullptr, granted, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
      if (map == MAP_FAILED) _exit(72);
      m_map = static_cast<char*>(map);
      m_mapSize = granted;
    }
    return granted;
  }

  void Unmap() {
    if (m_map) munmap(m_map, m_mapSize);
    m_map = nullptr;
    m_mapSize = 0;
  }

  void Fill(const std::string& path, uint32_t offset, uint32_t count) {
    if (m_mapSize < count && Resize(count) < count) _exit(73);
    std::ifstream file(path, std::ios::binary);
    file.seekg(offset);
    file.read(m_map, count);
    if (file.gcount() != count) _exit(74);
  }

  void SendBlock(std::istringstream& in) {
    std::string path;
    in >> path;
    const uint32_t offset = Number(in);
    const uint32_t count = Number(in);
    Fill(path, offset, count);
    std::string reply;
    AppendWord(&reply, count);
    Answer(0, reply);
  }

  // How many descriptors there are beside the standard ones and the two pipe ends.
  std::string Descriptors() const {
    int others = 0;
    DIR* const folder = opendir("/proc/self/fd");
    while (const dirent* const entry = readdir(folder)) {
      const int descriptor = std::atoi(entry->d_name);
      if (descriptor > 2 && descriptor != m_in && descriptor != m_out &&
          descriptor != dirfd(folder))
        ++others;
    }
    closedir(folder);
    return std::to_string(others) + " more descriptors";
  }

  [[noreturn]] void WaitForClose(const std::string& marker) const {
    pollfd end{.fd = m_in, .events = 0, .revents = 0};
    while (poll(&end, 1, -1) <= 0) {
    }
    close(open(marker.c_str(), O_CREAT | O_WRONLY, 0600));
    _exit(0);
  }

  [[noreturn]] void Linger(uint32_t ms) const {
    close(m_in);
    close(m_out);
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    _exit(0);
  }

  uint32_t GetWord() {
    uint32_t word = 0;
    Get(&word, sizeof word);
    return word;
  }

  void Get(void* buffer, size_t length) {
    Move(read, m_in, POLLIN, static_cast<char*>(buffer), length);
  }
  void Put(const void* buffer, size_t length) {
    Move(write, m_out, POLLOUT, static_cast<const char*>(buffer), length);
  }

  template <class Call, class Bytes>
  static void Move(Call call, int descriptor, int16_t events, Bytes bytes, size_t length) {
    while (length > 0) {
      const ssize_t done = call(descriptor, bytes, length);
      if (done > 0) {
        bytes += done;
        length -= static_cast<size_t>(done);
      } else if (done < 0 && errno == EAGAIN) {
        pollfd waiting{.fd = descriptor, .events = events, .revents = 0};
        poll(&waiting, 1, -1);
      } else {
        _exit(0);  // the application has let go
      }
    }
  }

  const int m_in;
  const int m_out;
  std::string m_start;
  std::string m_table;
  std::list<Line> m_script;
  uint32_t m_flags = 0;
  uint32_t m_replyId = 0;
  bool m_twice = false;
  uint32_t m_extra = 0;
  size_t m_short = SIZE_MAX;
  uint32_t m_lateMs = 0;
  uint32_t m_trickleMs = 0;
  int64_t m_cut = -1;
  char* m_map = nullptr;
  uint32_t m_mapSize = 0;
};

}  // namespace

int main(int argumentCount, char** arguments, char** environment) {
  if (argumentCount != 2) return 64;
  if (std::strcmp(arguments[0], "core") == 0) AbortWithCore(arguments[1]);
  CFakeDecoder(argumentCount, arguments, environment).Run();
}
