// The main window: toolbar with the four tabs and the scan controls, menus, the tabs themselves and
// the status bar. The front end of TDXAppDelegate, which it owns. It holds no scanning logic: what
// the buttons do is the delegate's. Main thread.
#pragma once

#include <QMainWindow>
#include <memory>
#include <string>
#include <vector>

#include "app/app_delegate.h"
#include "app/front_end.h"

namespace quill {

class TDXMainWindow : public QMainWindow, private CFrontEnd {
  Q_OBJECT

 public:
  // The configuration must have its store and folders; `queue` must outlive the window.
  explicit TDXMainWindow(CMainQueue& queue);
  // Ends the scan in the orderly way, so that the next start goes on with it.
  ~TDXMainWindow() override;

  // Loads the window's state and the folder list, creates the threads and goes on where the last
  // run ended. Then the results file, if a path is given, as the user's open would.
  void Start(const std::string& resultsFile);
  // To the front, as after a second start of the program.
  void BringForward();

  [[nodiscard]] TDXAppDelegate& Delegate() { return *m_delegate; }

 private:
  std::unique_ptr<TDXAppDelegate> m_delegate;
};

}  // namespace quill
