#include "ui/mails/message_window.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <functional>

#include "ui/icons/palette_icon.h"
#include "ui/mails/find_bar.h"
#include "ui/mails/message_view.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kSmallestSide = 200;
/// No screen reaches as far, and sums of it are numbers still.
constexpr int kFarthest = 1'000'000;

}  // namespace

MessageWindow::MessageWindow(Desktop& desktop, QWidget* parent)
    : QMainWindow(parent, Qt::Window),
      desktop_(&desktop),
      view_(new MessageView(desktop, this)),
      findBar_(new FindBar(false, this)) {
    setAttribute(Qt::WA_DeleteOnClose);
    auto* middle = new QWidget(this);
    auto* layout = new QVBoxLayout(middle);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(view_, 1);
    layout->addWidget(findBar_);
    setCentralWidget(middle);
    MakeToolBar();
    connect(view_, &MessageView::NextUnreadAsked, this, &MessageWindow::NextUnreadAsked);
    connect(view_, &MessageView::MailShown, this, [this] {
        const QString subject = view_->subject();
        setWindowTitle(subject.isEmpty() ? tr("（題名なし）") : subject);
    });
    connect(findBar_, &FindBar::FindAsked, this, [this](const QString& text, bool backward) {
        findBar_->ShowFound(view_->FindNext(text, backward));
    });
    connect(findBar_, &FindBar::Closed, view_, [this] { view_->setFocus(); });
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, [this] {
        // The first one closes what lies in front.
        if (findBar_->isVisible()) {
            findBar_->Close();
        } else {
            close();
        }
    });
    TakePlace();
    view_->setFocus();
}

void MessageWindow::MakeToolBar() {
    QToolBar* bar = addToolBar(tr("メール"));
    bar->setMovable(false);
    bar->setContextMenuPolicy(Qt::PreventContextMenu);
    struct Command {
        const char* icon;
        QString text;
        QKeySequence key;
        std::function<void()> run;
    };
    const Command commands[] = {
        {"save", tr("保存(&A)"), QKeySequence::Save, [this] { view_->SaveAsText(); }},
        {"print", tr("印刷(&R)"), QKeySequence::Print, [this] { view_->Print(); }},
        {"find", tr("検索(&F)"), QKeySequence::Find, [this] { findBar_->Open(FindBar::Mode::Text); }},
        {"", tr("閉じる(&C)"), QKeySequence::Close, [this] { close(); }},
    };
    for (const Command& command : commands) {
        // A button of its own, as those of actions have no access keys.
        auto* button = new QToolButton(bar);
        button->setText(command.text);
        button->setToolTip(command.key.toString(QKeySequence::NativeText));
        button->setIcon(PaletteIcon(QString::fromLatin1(command.icon)));
        button->setToolButtonStyle(command.icon[0] == '\0' ? Qt::ToolButtonTextOnly
                                                           : Qt::ToolButtonTextBesideIcon);
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::TabFocus);
        bar->addWidget(button);
        connect(button, &QToolButton::clicked, this, command.run);
        connect(new QShortcut(command.key, this), &QShortcut::activated, this, command.run);
    }
}

void MessageWindow::ShowMail(const std::string& folder, int recordNumber) {
    view_->ShowMail(folder, recordNumber);
}

void MessageWindow::TakePlace() {
    const core::Settings& settings = desktop_->program.settings();
    const QRect wanted(std::clamp(settings.bodyLeft, -kFarthest, kFarthest),
                       std::clamp(settings.bodyTop, -kFarthest, kFarthest),
                       std::clamp(settings.bodyWidth, kSmallestSide, kFarthest),
                       std::clamp(settings.bodyHeight, kSmallestSide, kFarthest));
    // A screen may have gone since, and a file can say anything.
    QScreen* screen = QGuiApplication::screenAt(wanted.topLeft());
    if (screen == nullptr) screen = QGuiApplication::primaryScreen();
    const QRect available = screen->availableGeometry();
    const QSize size = wanted.size().boundedTo(available.size());
    resize(size);
    move(std::clamp(wanted.left(), available.left(), available.right() + 1 - size.width()),
         std::clamp(wanted.top(), available.top(), available.bottom() + 1 - size.height()));
}

void MessageWindow::KeepPlace() {
    core::Settings& settings = desktop_->program.settings();
    const QRect place = isMaximized() || isMinimized() || isFullScreen() ? normalGeometry() : geometry();
    const QPoint corner = isMaximized() || isMinimized() || isFullScreen() ? place.topLeft() : pos();
    settings.bodyLeft = corner.x();
    settings.bodyTop = corner.y();
    settings.bodyWidth = place.width();
    settings.bodyHeight = place.height();
}

void MessageWindow::closeEvent(QCloseEvent* event) {
    KeepPlace();
    QMainWindow::closeEvent(event);
}

}  // namespace postkite::ui
