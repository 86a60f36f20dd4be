#include "ui/window_user_interface.h"

#include <QApplication>
#include <QFileInfo>
#include <QMessageBox>
#include <QSoundEffect>
#include <QUrl>
#include <filesystem>
#include <string>

#include "ui/text.h"

namespace postkite::ui {

namespace {

/// For the time that the engine waits for the windows.
class EngineCall {
  public:
    explicit EngineCall(int& depth) : depth_(&depth) { ++depth; }
    EngineCall(const EngineCall&) = delete;
    EngineCall& operator=(const EngineCall&) = delete;
    ~EngineCall() { --*depth_; }

  private:
    int* depth_;
};

/// A piece may end between CR and LF, so the LF alone ends a line.
QString MonitorLines(std::string_view text) {
    std::string lines(text);
    std::erase(lines, '\r');
    return ShownLines(lines);
}

QMessageBox::Icon IconOf(core::MessageIcon icon) {
    switch (icon) {
        case core::MessageIcon::Information:
            return QMessageBox::Information;
        case core::MessageIcon::Warning:
            return QMessageBox::Warning;
        case core::MessageIcon::Stop:
            return QMessageBox::Critical;
        case core::MessageIcon::None:
            break;
    }
    return QMessageBox::NoIcon;
}

}  // namespace

WindowUserInterface::WindowUserInterface(core::Language language) : language_(language) {
}

WindowUserInterface::~WindowUserInterface() = default;

void WindowUserInterface::SetSurroundings(const core::Workspace& workspace, const core::Settings& settings) {
    workspace_ = &workspace;
    settings_ = &settings;
}

bool WindowUserInterface::ShowBox(const QString& caption, const QString& text, core::MessageIcon icon,
                                  bool question) {
    if (unattended_) return false;
    QMessageBox box(QApplication::activeWindow());
    box.setWindowTitle(caption);
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    box.setIcon(question ? QMessageBox::Question : IconOf(icon));
    box.setStandardButtons(question ? QMessageBox::Ok | QMessageBox::Cancel : QMessageBox::Ok);
    box.setDefaultButton(QMessageBox::Ok);
    if (icon == core::MessageIcon::Stop && settings_ != nullptr && settings_->errorSound != 0) {
        PlaySoundFile(settings_->errorSoundFile);
    }
    return box.exec() == QMessageBox::Ok;
}

void WindowUserInterface::Tell(const QString& text, core::MessageIcon icon) {
    static_cast<void>(ShowBox(Shown(core::kProductName), text, icon, false));
}

bool WindowUserInterface::Ask(const QString& text) {
    return ShowBox(Shown(core::kProductName), text, core::MessageIcon::None, true);
}

bool WindowUserInterface::RefuseWhile(bool running, std::string_view text) {
    if (running) Tell(ShownLines(text));
    return running;
}

void WindowUserInterface::ShowMessage(std::string_view caption, std::string_view text,
                                      core::MessageIcon icon) {
    const EngineCall call(engineCalls_);
    static_cast<void>(ShowBox(Shown(caption), ShownLines(text), icon, false));
}

bool WindowUserInterface::AskQuestion(std::string_view caption, std::string_view text) {
    const EngineCall call(engineCalls_);
    return ShowBox(Shown(caption), ShownLines(text), core::MessageIcon::None, true);
}

void WindowUserInterface::SetStatusText(std::string_view text) {
    emit StatusTextChanged(Shown(text));
}

void WindowUserInterface::SetProgress(std::uint64_t position, std::uint64_t total) {
    emit ProgressChanged(position, total);
}

void WindowUserInterface::PlaySoundFile(std::string_view fileName) {
    if (fileName.empty() || workspace_ == nullptr) return;
    std::filesystem::path path;
    if (fileName.starts_with('/')) {
        path = std::filesystem::path(Shown(fileName).toStdString());
    } else if (workspace_->Locate(fileName, path) < 0) {
        return;
    }
    const QString file = QString::fromStdString(path.string());
    if (!QFileInfo(file).isFile()) return;
    if (sound_ == nullptr) sound_ = std::make_unique<QSoundEffect>();
    sound_->setSource(QUrl::fromLocalFile(file));
    sound_->play();
}

void WindowUserInterface::AppendMonitorText(std::string_view text) {
    emit MonitorTextAppended(MonitorLines(text));
}

void WindowUserInterface::ReplaceMonitorText(std::string_view text) {
    emit MonitorTextReplaced(MonitorLines(text));
}

void WindowUserInterface::PumpMessages() {
    const EngineCall call(engineCalls_);
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void WindowUserInterface::RedrawMainWindow() {
    emit RedrawAsked();
}

}  // namespace postkite::ui
