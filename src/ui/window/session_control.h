#pragma once

#include <QObject>
#include <QTimer>
#include <memory>
#include <string>

#include "app/practice_host_process.h"
#include "app/sessions.h"
#include "ui/desktop.h"

namespace postkite::ui {

/// The sessions of the main window: begins them, ticks them from its timer, and tells when they have ended. The engine
/// shows what there is to show. Borrows the desktop.
class SessionControl final : public QObject {
    Q_OBJECT

  public:
    SessionControl(Desktop& desktop, QObject* parent);
    ~SessionControl() override;

    [[nodiscard]] bool running() const;

    // The commands. One that begins a session while one runs is refused.
    void SendAndReceive();
    void ReceiveOnly();
    void Disconnect();
    /// Starts a practice host, once, and receives from it with the account that it knows. Nothing is ever sent there:
    /// the mails that wait are for people. The settings are as before when the session has ended.
    void CallPracticeHost();

    /// Hangs up and analyses the captures. For the end of the program.
    void HangUp();

  signals:
    void Started();
    /// As `app::Sessions::Tick` returned it.
    void Ended(int result);

  private:
    class PracticeAccount;

    [[nodiscard]] bool Refused();
    void BeginAtPort(app::Sessions::Start start);
    [[nodiscard]] bool Begin(app::Sessions::Start start, const std::string& device, int tickMilliseconds);
    void Tick();
    void Finish(int result);

    Desktop* desktop_;
    QTimer timer_;  ///< timer 1
    bool inTick_ = false;
    std::unique_ptr<app::PracticeHostProcess> practiceHost_;
    std::unique_ptr<PracticeAccount> practiceAccount_;  ///< while the practice host is called
};

}  // namespace postkite::ui
