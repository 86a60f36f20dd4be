#pragma once

#include <gtest/gtest.h>

#include <QDialog>
#include <QTimer>
#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/program.h"
#include "app/temporary_directory.h"
#include "comm/system_serial_port.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "core/workspace.h"
#include "ui/desktop.h"
#include "ui/window_user_interface.h"

namespace postkite::ui {

/// A person in front of the modal boxes and dialogs that come up: does with each what was said beforehand, in
/// order. A box that nobody expected is closed and fails the test; so is one that was expected and never came.
class Person {
  public:
    Person();
    ~Person();

    /// The next one is a message box with this text in it; its button OK (or Cancel) is clicked.
    void ClicksOk(const QString& text);
    void ClicksCancel(const QString& text);
    /// The next one is a dialog; `act` does with it what a person would, and has closed it at its end.
    void Meets(std::function<void(QDialog& dialog)> act);

    /// Whether all of it has come. To be asked when the test expects so; the end asks too.
    [[nodiscard]] bool hasSeenAll() const { return expected_.empty(); }

  private:
    struct Expected {
        QString text;
        bool ok = true;
        std::function<void(QDialog&)> act;
    };
    void Look();

    QTimer timer_;
    std::deque<Expected> expected_;
    std::vector<QWidget*> seen_;
};

/// A program in a directory of its own, empty at first, with its bank open.
class DesktopTest : public ::testing::Test {
  protected:
    DesktopTest();

    /// Begins anew with what is in the directory, its bank not open yet. No window may be left.
    void StartProgram();

    /// Appends a mail that has arrived and is unread. Texts are code page 932.
    void AddMail(std::string_view folder, std::string_view subject, std::string_view body = "text\r\n",
                 std::string_view flags = store::kReceivedMailFlags);
    [[nodiscard]] store::MailListEntry Entry(std::string_view folder, int number);
    /// The bytes of a file of the working directory; empty without one.
    [[nodiscard]] std::string FileBytes(const std::string& name) const;
    void WriteFile(const std::string& name, std::string_view bytes) const;

    app::TemporaryDirectory directory_;
    core::SystemFileSystem fileSystem_;
    std::unique_ptr<core::Workspace> workspace_;
    std::unique_ptr<core::Workspace> programState_;
    core::SystemClock clock_;
    comm::SystemSerialPort port_;
    WindowUserInterface ui_{core::Language::Japanese};
    std::unique_ptr<app::Program> program_;
    std::unique_ptr<Desktop> desktop_;
    Person person_;
};

}  // namespace postkite::ui
