// SPDX-License-Identifier: GPL-3.0-or-later
// What the tables do to files: trash, move, swap. The operations decide by their result whether a
// table is to follow, and log what they did. No operation ever overwrites a file. Main thread.
//
// The disk, and the person who is asked, stand behind two small interfaces: platform/ implements
// the first; the window and the command line the second.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quill {

// The file system. Each call gives 0 or an errno.
class CFileService {
 public:
  virtual ~CFileService() = default;
  // Puts the file where the user's desktop can restore it from.
  [[nodiscard]] virtual int Trash(const std::string& path) = 0;
  // Also across volumes, then by a copy that takes the name when it is complete. EEXIST when the
  // target's name is taken.
  [[nodiscard]] virtual int Move(const std::string& from, const std::string& to) = 0;
  // Within a volume. EEXIST when the target's name is taken.
  [[nodiscard]] virtual int Rename(const std::string& from, const std::string& to) = 0;
  // Takes off what protects the file from being moved.
  [[nodiscard]] virtual int ClearImmutable(const std::string& path) = 0;
};

// The person in front of the program.
class CFileQuestions {
 public:
  virtual ~CFileQuestions() = default;
  // A yes-or-no question; false for no. `warning`, where there is one, stands below it.
  [[nodiscard]] virtual bool Confirm(const std::string& title, const std::string& text,
                                     const std::string& warning) = 0;
  // A folder to move files to; empty when cancelled.
  [[nodiscard]] virtual std::string ChooseMoveFolder() = 0;
  // Runs `work`, which handles one file of a list, and comes back when it has ended; a window may
  // run it on another thread and stay alive meanwhile. False when the user wants no further file
  // to be handled; `work` has then not been run.
  [[nodiscard]] virtual bool Perform(const std::string& path, size_t index, size_t count,
                                     const std::function<void()>& work) = 0;
  // After the last file: what could not be done, one line a file, empty when all went well.
  virtual void Finished(const std::vector<std::string>& failures) = 0;
};

class CFileOperations {
 public:
  // Both must outlive the object.
  CFileOperations(CFileService& files, CFileQuestions& questions)
      : m_files(files), m_questions(questions) {}

  // Asks first, if the settings say so. True when the files have been handled: those that could not
  // be trashed count as well, and are named in the log and to Finished. A user who stops half-way
  // shortens the list to the files that were handled; with none handled the result is false.
  // The question warns when there are groups of copies that lose all of their files.
  [[nodiscard]] bool Delete(std::vector<std::string>* paths, size_t wholeGroups = 0);
  // To the folder of the settings, or to one that the user chooses; else as Delete.
  [[nodiscard]] bool Move(std::vector<std::string>* paths);
  // The same to a given folder, with no question.
  [[nodiscard]] bool MoveTo(const std::string& folder, std::vector<std::string>* paths);
  // Exchanges the files' names by three renames through a temporary name beside A. False after a
  // report and one line to Finished, with the old names restored as far as the disk lets them; the
  // line says which names could not be.
  [[nodiscard]] bool SwapCallback(const std::string& a, const std::string& b);

 private:
  // Runs `work` for each path while the user lets it; a text that it gives is the file's failure.
  [[nodiscard]] bool Handle(std::vector<std::string>* paths,
                            const std::function<std::string(const std::string& path)>& work);
  // Ends a swap that failed with `error` in the step of that number.
  bool EndSwap(int32_t step, int error, const std::string& a, const std::string& failure);

  CFileService& m_files;
  CFileQuestions& m_questions;
};

}  // namespace quill
