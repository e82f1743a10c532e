#include <QCoreApplication>
#include <csignal>

#include "cli/commands.h"

int main(int argc, char** argv) {
  // A dead decoder process must not end this one through a write on its pipe.
  std::signal(SIGPIPE, SIG_IGN);
  QCoreApplication application(argc, argv);
  return quill::cli::Run({argv + 1, argv + argc});
}
