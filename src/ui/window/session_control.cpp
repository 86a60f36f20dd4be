#include "ui/window/session_control.h"

#include <cerrno>

#include "app/surroundings.h"
#include "comm/device_names.h"
#include "core/error_log.h"
#include "core/error_text.h"
#include "core/shift_jis.h"
#include "ui/text.h"

namespace postkite::ui {

using namespace core::literals;

namespace {

constexpr int kTickMilliseconds = 200;
/// Nobody pays for the call, and nobody wants to wait for it.
constexpr int kPracticeTickMilliseconds = 40;

constexpr auto kPracticeUser = "PKT00099";
constexpr auto kPracticePassword = "practice";

}  // namespace

/// Lets the settings be those of the practice host while it lives.
class SessionControl::PracticeAccount {
  public:
    explicit PracticeAccount(core::Settings& settings) : settings_(&settings), kept_(settings) {
        settings.userId = kPracticeUser;
        settings.userPassword = kPracticePassword;
        settings.phoneNumber = "03-1234-5678";
        settings.fenicsLoad = "2";
        settings.forumName.clear();
        settings.modemInitialCommand = "ATQ0V1E1";
    }
    PracticeAccount(const PracticeAccount&) = delete;
    PracticeAccount& operator=(const PracticeAccount&) = delete;
    ~PracticeAccount() {
        settings_->userId = kept_.userId;
        settings_->userPassword = kept_.userPassword;
        settings_->phoneNumber = kept_.phoneNumber;
        settings_->fenicsLoad = kept_.fenicsLoad;
        settings_->forumName = kept_.forumName;
        settings_->modemInitialCommand = kept_.modemInitialCommand;
    }

  private:
    core::Settings* settings_;
    core::Settings kept_;
};

SessionControl::SessionControl(Desktop& desktop, QObject* parent)
    : QObject(parent), desktop_(&desktop), timer_(this) {
    timer_.setObjectName(QStringLiteral("timer 1"));
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &SessionControl::Tick);
}

SessionControl::~SessionControl() = default;

bool SessionControl::running() const {
    return desktop_->program.sessions().running();
}

bool SessionControl::Refused() {
    return desktop_->ui.RefuseWhile(running(), "送受信中です。"_sjis);
}

void SessionControl::SendAndReceive() {
    if (!Refused()) BeginAtPort(app::Sessions::Start::SendAndReceive);
}

void SessionControl::ReceiveOnly() {
    if (!Refused()) BeginAtPort(app::Sessions::Start::ReceiveOnly);
}

void SessionControl::BeginAtPort(app::Sessions::Start start) {
    const std::string& port = desktop_->program.settings().rsPort;
    std::string device;
    if (comm::FindDevice({}, port, app::ReadVariable, desktop_->fileSystem, desktop_->workspace.root(),
                         device) < 0) {
        const std::string refusal = comm::DescribeRefusedPort(port, desktop_->ui);
        core::LogError(desktop_->workspace, refusal);
        // As where the port cannot be opened.
        if (start != app::Sessions::Start::ReceiveOnly || desktop_->program.settings().autoMode == 0)
            desktop_->ui.Tell(ShownLines(refusal), core::MessageIcon::Stop);
        return;
    }
    static_cast<void>(Begin(start, device, kTickMilliseconds));
}

bool SessionControl::Begin(app::Sessions::Start start, const std::string& device, int tickMilliseconds) {
    // The engine says itself why it refuses. What an earlier session has left may have been stored all the same.
    if (desktop_->program.sessions().Begin(start, device) < 0) {
        desktop_->ui.RedrawMainWindow();
        return false;
    }
    timer_.start(tickMilliseconds);
    emit Started();
    return true;
}

void SessionControl::Disconnect() {
    desktop_->program.sessions().Disconnect();
}

void SessionControl::CallPracticeHost() {
    if (Refused()) return;
    core::Settings& settings = desktop_->program.settings();
    if (!settings.userId.empty() &&
        !desktop_->ui.Ask(
            tr("練習用ホストに接続します。\n届く練習用のメールは、今の受信フォルダに入ります。\n"
               "送信は行いません。接続しますか？"))) {
        return;
    }
    if (practiceHost_ == nullptr) {
        practiceHost_ = std::make_unique<app::PracticeHostProcess>();
        const int started =
            practiceHost_->Start({}, {"--user", kPracticeUser, "--password", kPracticePassword});
        if (started < 0) {
            practiceHost_.reset();
            const QString reason = Shown(core::DescribeError(started, desktop_->ui.language()));
            desktop_->ui.Tell(tr("練習用ホスト（postkite-host）を起動できません。（%1）").arg(reason),
                              core::MessageIcon::Stop);
            return;
        }
    }
    practiceAccount_ = std::make_unique<PracticeAccount>(settings);
    if (!Begin(app::Sessions::Start::ReceiveOnly, practiceHost_->device(), kPracticeTickMilliseconds)) {
        practiceAccount_.reset();
        // It may have ended; the next call begins with a new one.
        practiceHost_.reset();
    }
}

void SessionControl::HangUp() {
    if (!running()) return;
    desktop_->program.sessions().HangUp();
    if (!running()) Finish(0);
}

void SessionControl::Tick() {
    // A tick's own boxes may stay open while the line goes on; in the middle of anything else the engine must not be
    // called.
    if (desktop_->ui.busy() && !inTick_) return;
    const bool outermost = !inTick_;
    inTick_ = true;
    const int result = desktop_->program.sessions().Tick();
    if (outermost) inTick_ = false;
    if (outermost && !running() && timer_.isActive()) Finish(result);
}

void SessionControl::Finish(int result) {
    timer_.stop();
    practiceAccount_.reset();
    emit Ended(result);
}

}  // namespace postkite::ui
