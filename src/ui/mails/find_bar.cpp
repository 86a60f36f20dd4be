#include "ui/mails/find_bar.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QToolButton>

namespace postkite::ui {

namespace {

constexpr int kTypingMilliseconds = 150;

}  // namespace

FindBar::FindBar(bool withList, QWidget* parent)
    : QWidget(parent),
      line_(new QLineEdit(this)),
      modes_(new QComboBox(this)),
      next_(new QToolButton(this)),
      previous_(new QToolButton(this)),
      result_(new QLabel(this)) {
    auto* label = new QLabel(tr("検索(&A)"), this);
    label->setBuddy(line_);
    line_->setClearButtonEnabled(true);
    modes_->setAccessibleName(tr("検索する場所"));
    if (withList) modes_->addItem(tr("一覧を絞り込む"), static_cast<int>(Mode::List));
    modes_->addItem(tr("本文から探す"), static_cast<int>(Mode::Text));
    modes_->setVisible(withList);
    next_->setText(tr("次へ(&X)"));
    previous_->setText(tr("前へ(&P)"));
    result_->setTextFormat(Qt::PlainText);
    auto* close = new QToolButton(this);
    close->setIcon(style()->standardIcon(QStyle::SP_TitleBarCloseButton));
    close->setAutoRaise(true);
    close->setAccessibleName(tr("検索を閉じる"));
    close->setToolTip(tr("検索を閉じる"));

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 2, 4, 2);
    layout->addWidget(label);
    layout->addWidget(line_, 1);
    for (QWidget* widget :
         {static_cast<QWidget*>(modes_), static_cast<QWidget*>(previous_), static_cast<QWidget*>(next_),
          static_cast<QWidget*>(result_), static_cast<QWidget*>(close)}) {
        layout->addWidget(widget);
    }
    for (QToolButton* button : {next_, previous_, close})
        button->setFocusPolicy(Qt::TabFocus);

    typing_.setSingleShot(true);
    connect(&typing_, &QTimer::timeout, this, [this] { TellFilter(); });
    connect(line_, &QLineEdit::textChanged, this, [this] {
        result_->clear();
        if (mode() == Mode::List) typing_.start(kTypingMilliseconds);
    });
    connect(modes_, &QComboBox::currentIndexChanged, this, [this] { FollowMode(); });
    connect(next_, &QToolButton::clicked, this, [this] { AskToFind(false); });
    connect(previous_, &QToolButton::clicked, this, [this] { AskToFind(true); });
    connect(close, &QToolButton::clicked, this, [this] { Close(); });
    FollowMode();
    hide();
}

FindBar::Mode FindBar::mode() const {
    return static_cast<Mode>(modes_->currentData().toInt());
}

QString FindBar::text() const {
    return line_->text();
}

void FindBar::FollowMode() {
    const bool inText = mode() == Mode::Text;
    next_->setVisible(inText);
    previous_->setVisible(inText);
    result_->clear();
    TellFilter();
}

void FindBar::TellFilter() {
    typing_.stop();
    const QString filter = mode() == Mode::List && isVisible() ? line_->text() : QString();
    if (filter == told_) return;
    told_ = filter;
    emit FilterChanged(filter);
}

void FindBar::AskToFind(bool backward) {
    if (!line_->text().isEmpty()) emit FindAsked(line_->text(), backward);
}

void FindBar::Open(Mode mode) {
    const int item = modes_->findData(static_cast<int>(mode));
    show();
    if (item >= 0) modes_->setCurrentIndex(item);
    TellFilter();
    line_->setFocus(Qt::ShortcutFocusReason);
    line_->selectAll();
}

void FindBar::Close() {
    line_->clear();
    hide();
    TellFilter();
    emit Closed();
}

void FindBar::ForgetFilter() {
    typing_.stop();
    told_.clear();
    if (mode() != Mode::List) return;
    const QSignalBlocker silence(line_);
    line_->clear();
}

void FindBar::ShowFound(bool found) {
    result_->setText(found ? QString() : tr("見つかりません"));
}

void FindBar::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Escape:
            Close();
            return;
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (mode() == Mode::Text) {
                AskToFind((event->modifiers() & Qt::ShiftModifier) != 0);
            } else {
                TellFilter();
            }
            return;
        default:
            QWidget::keyPressEvent(event);
    }
}

}  // namespace postkite::ui
