// SPDX-License-Identifier: GPL-3.0-or-later
#include <QCoreApplication>
#include <clocale>
#include <csignal>

#include "cli/commands.h"

int main(int argc, char** argv) {
  // A dead decoder process must not end this one through a write on its pipe.
  std::signal(SIGPIPE, SIG_IGN);
  QCoreApplication application(argc, argv);
  // Which takes the user's locale over: numbers have a point all the same, for scripts and JSON.
  std::setlocale(LC_NUMERIC, "C");
  return quill::cli::Run({argv + 1, argv + argc});
}
