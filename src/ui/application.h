#pragma once

#include <functional>

class QApplication;

namespace postkite::ui {

class MainWindow;

/// Runs the desktop program: reads the command line, opens the working directory, asks for the start-up password, and
/// shows the main window until it is closed. Returns the exit status: 0, 1 where the program could not start or the
/// password was refused, 2 for wrong usage. `shown`, if given, is called once, when the window has been shown.
[[nodiscard]] int RunDesktop(QApplication& application, const std::function<void(MainWindow&)>& shown = {});

}  // namespace postkite::ui
