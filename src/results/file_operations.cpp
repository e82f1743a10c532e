// SPDX-License-Identifier: GPL-3.0-or-later
#include "results/file_operations.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "core/configuration.h"
#include "core/log.h"
#include "core/system_error.h"
#include "results/path_parts.h"

namespace quill {
namespace {

constexpr int32_t kTemporaryNames = 1000;

// What happened and what the user can do about it. `name` is that of the file itself.
std::string Explain(int error, std::string_view name) {
  switch (error) {
    case ENOENT:
      return "It is not there any more: the file or its folder was removed or renamed. Scan the "
             "folder again.";
    case EEXIST:
      return "The name \"" + std::string(name) + "\" is taken there. Rename one of the two files.";
    case EACCES:
    case EPERM:
      return "The system does not permit it. Check who may write to the file, to its folder and to "
             "the place it is to go.";
    case EROFS:
      return "The disk is read-only. Mount it for writing.";
    case ENOSPC:
    case EDQUOT:
      return "The disk is full. Free some space there.";
    case EXDEV:
      return "The two places are on different disks. Move the file to a folder instead.";
    case EBUSY:
    case ETXTBSY:
      return "Another program is using or changing the file. Close it there first.";
    case ENAMETOOLONG:
      return "The name is too long for the disk. Give the file a shorter one.";
    case EISDIR:
      return "A folder has taken the file's name. Scan the folder again.";
    case ELOOP:
      return "A link has taken the file's name. Scan the folder again.";
    case EIO:
      return "The disk could not be read or written. Check the disk.";
    default:
      return std::string(std::strerror(error)) + ". Check the file and its disk.";
  }
}

std::string TemporaryName(const std::string& path, int32_t n) {
  return n == 0 ? path + ".tmp" : path + "." + std::to_string(n) + ".tmp";
}

std::string IsNow(const std::string& temporary) {
  return " It is now called \"" + temporary + "\": give it its name back by hand.";
}

void LogSwapStep(int32_t step, int error) {
  CLogLine()
      .Append("System error [")
      .AppendInteger(error)
      .Append("]: ")
      .Append(std::strerror(error));
  CLogLine().Append("move(").AppendInteger(step).Append(") failed");
}

// The folder of the settings; empty when there is none or it is no longer there.
std::string DefaultMoveFolder() {
  const CConfiguration& configuration = CConfiguration::Instance();
  CByteBlock bytes;
  if (!configuration.GetBool("enableMoveFolder", true)) return {};
  if (!configuration.GetBytes("moveBookmark", &bytes)) return {};
  std::string folder(bytes.begin(), bytes.end());
  struct stat info{};
  return stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) ? folder : std::string();
}

}  // namespace

bool CFileOperations::Handle(std::vector<std::string>* paths,
                             const std::function<std::string(const std::string& path)>& work) {
  const size_t count = paths->size();
  std::vector<std::string> failures;
  size_t handled = 0;
  for (; handled < count; ++handled) {
    const std::string& path = (*paths)[handled];
    std::string failure;
    if (!m_questions.Perform(path, handled, count, [&] { failure = work(path); })) break;
    if (!failure.empty()) failures.push_back(path + ": " + failure);
  }
  paths->resize(handled);
  m_questions.Finished(failures);
  return handled > 0 || count == 0;
}

bool CFileOperations::Delete(std::vector<std::string>* paths, size_t wholeGroups) {
  if (CConfiguration::Instance().GetBool("enableDeletionConfirmation", true)) {
    const std::string text = "Move to trash " + std::to_string(paths->size()) + " file(s)?";
    const std::string warning =
        wholeGroups == 0 ? std::string()
                         : "Groups of which no file will be left: " + std::to_string(wholeGroups);
    if (!m_questions.Confirm("Move to trash", text, warning)) return false;
  }
  return Handle(paths, [this](const std::string& path) {
    int error = m_files.Trash(path);
    if (error != 0 && m_files.ClearImmutable(path) == 0) error = m_files.Trash(path);
    CLogLine().Append("Deleted file \"").Append(path).Append("\"");
    return error == 0 ? std::string() : "Not moved to the trash. " + Explain(error, NamePart(path));
  });
}

bool CFileOperations::Move(std::vector<std::string>* paths) {
  std::string folder = DefaultMoveFolder();
  if (folder.empty()) folder = m_questions.ChooseMoveFolder();
  return !folder.empty() && MoveTo(folder, paths);
}

bool CFileOperations::MoveTo(const std::string& folder, std::vector<std::string>* paths) {
  const std::string start = folder.ends_with('/') ? folder : folder + "/";
  return Handle(paths, [&](const std::string& path) {
    const std::string target = start + std::string(NamePart(path));
    int error = m_files.Move(path, target);
    if (error != 0 && m_files.ClearImmutable(path) == 0) error = m_files.Move(path, target);
    if (target == path) return std::string("It is in that folder already.");
    if (error != 0) return "Not moved to \"" + folder + "\". " + Explain(error, NamePart(path));
    CLogLine().Append("Moved file \"").Append(path).Append("\" to \"").Append(target).Append("\"");
    return std::string();
  });
}

bool CFileOperations::SwapCallback(const std::string& a, const std::string& b) {
  const std::string refused = "Did not change places with \"" + b + "\". ";
  std::string temporary;
  int refusal = -1;
  for (int32_t n = 0; n < kTemporaryNames && refusal != 0; ++n) {
    temporary = TemporaryName(a, n);
    refusal = m_files.Rename(a, temporary);
    // A name that is taken is refused as well: the next one may be free.
    if (refusal != 0 && refusal != EACCES && refusal != EEXIST) {
      LogSwapStep(1, refusal);
      return EndSwap(1, refusal, a, refused + Explain(refusal, NamePart(temporary)));
    }
  }
  // With every name refused A has kept its own, and the next step fails on it.
  if (const int error = m_files.Rename(b, a)) {
    LogSwapStep(2, error);
    const int left = m_files.Rename(temporary, a);
    if (refusal != 0) return EndSwap(2, error, a, refused + Explain(refusal, NamePart(temporary)));
    return EndSwap(2, error, a,
                   refused + Explain(error, NamePart(a)) + (left != 0 ? IsNow(temporary) : ""));
  }
  if (const int error = m_files.Rename(temporary, b)) {
    LogSwapStep(3, error);
    const int leftB = m_files.Rename(a, b);
    const int leftA = m_files.Rename(temporary, a);
    return EndSwap(3, error, a,
                   refused + Explain(error, NamePart(b)) + (leftA != 0 ? IsNow(temporary) : "") +
                       (leftB != 0 ? " \"" + b + "\" is now called \"" + a + "\"." : ""));
  }
  CLogLine().Append("Swapped files \"").Append(a).Append("\" and \"").Append(b).Append("\"");
  return true;
}

bool CFileOperations::EndSwap(int32_t step, int error, const std::string& a,
                              const std::string& failure) {
  errno = error;  // for the report; putting names back may have left another
  CSystemError::Bool("SwapCallback", step, false);
  m_questions.Finished({a + ": " + failure});
  return false;
}

}  // namespace quill
