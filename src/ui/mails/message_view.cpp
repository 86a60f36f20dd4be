#include "ui/mails/message_view.h"

#include <QApplication>
#include <QDesktopServices>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>

#include "store/index_record.h"
#include "ui/mails/list_font.h"
#include "ui/mails/message_highlighter.h"
#include "ui/mails/message_text.h"
#include "ui/mails/text_links.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr int kTryAgainMilliseconds = 100;

}  // namespace

MessageView::MessageView(Desktop& desktop, QWidget* parent)
    : QPlainTextEdit(parent),
      desktop_(&desktop),
      highlighter_(new MessageHighlighter(document())),
      openLink_([](const QUrl& url) { QDesktopServices::openUrl(url); }) {
    setAccessibleName(tr("メールの本文"));
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTabChangesFocus(true);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    viewport()->setMouseTracking(true);
    waiting_.setSingleShot(true);
    connect(&waiting_, &QTimer::timeout, this, [this] { ReadMail(); });
    ApplySettings();
}

void MessageView::ApplySettings() {
    const core::Settings& settings = desktop_->program.settings();
    setFont(ListFont(settings));
    constexpr int kTabCharacters = 8;
    setTabStopDistance(QFontMetricsF(font()).horizontalAdvance(u' ') * kTabCharacters);
    highlighter_->SetPalette(palette());
    highlighter_->SetQuotationMark(Shown(settings.quotationMark));
    const int scrolled = verticalScrollBar()->value();
    Render();
    verticalScrollBar()->setValue(scrolled);
}

void MessageView::ShowMail(const std::string& folder, int recordNumber) {
    if (recordNumber < 0) {
        Clear();
        return;
    }
    folder_ = folder;
    recordNumber_ = recordNumber;
    ReadMail();
}

void MessageView::ReadMail() {
    if (recordNumber_ < 0) return;
    if (desktop_->ui.busy()) {
        waiting_.start(kTryAgainMilliseconds);
        return;
    }
    waiting_.stop();
    store::MailRecord mail;
    constexpr int kWholeMail = 0;
    const int result = desktop_->program.mailbox().ReadMail(folder_, recordNumber_, mail, kWholeMail);
    // The same mail may have another number after others went; the place that is being read stays.
    const bool isSame =
        result == 0 && state_ == State::Mail && mail.localId == mail_.localId && mail.body == mail_.body;
    mail_ = std::move(mail);
    state_ = result == 0 ? State::Mail : State::Damaged;
    if (isSame) return;
    Render();
    emit MailShown();
}

void MessageView::Render() {
    MessageText message;
    if (state_ != State::Nothing) message = MakeMessageText(mail_, desktop_->program.settings());
    if (state_ == State::Damaged)
        message.text += tr("このメールは壊れているか、なくなっています。本文は表示できません。");
    continuing_ = message.continuing;
    highlighter_->SetBlocks(message.headerBlocks, continuing_);
    setPlainText(message.text);
    moveCursor(QTextCursor::Start);
}

void MessageView::Clear() {
    waiting_.stop();
    recordNumber_ = -1;
    folder_.clear();
    mail_ = store::MailRecord();
    const bool showed = showsMail();
    state_ = State::Nothing;
    Render();
    if (showed) emit MailShown();
}

bool MessageView::showsMail() const {
    return state_ != State::Nothing;
}

QString MessageView::subject() const {
    return Shown(store::WithoutTrailingBlanks(mail_.subject));
}

bool MessageView::PageDown() {
    QScrollBar* bar = verticalScrollBar();
    if (bar->value() >= bar->maximum()) return false;
    bar->triggerAction(QAbstractSlider::SliderPageStepAdd);
    return true;
}

void MessageView::PageUp() {
    verticalScrollBar()->triggerAction(QAbstractSlider::SliderPageStepSub);
}

bool MessageView::FindNext(const QString& text, bool backward) {
    if (text.isEmpty()) return false;
    const QTextDocument::FindFlags flags =
        backward ? QTextDocument::FindBackward : QTextDocument::FindFlags();
    QTextCursor found = document()->find(text, textCursor(), flags);
    if (found.isNull()) {
        QTextCursor end(document());
        end.movePosition(backward ? QTextCursor::End : QTextCursor::Start);
        found = document()->find(text, end, flags);
    }
    if (found.isNull()) return false;
    setTextCursor(found);
    ensureCursorVisible();
    return true;
}

QUrl MessageView::LinkAt(const QTextCursor& cursor) const {
    const QString line = cursor.block().text();
    const qsizetype at = cursor.positionInBlock();
    for (const TextLink& link : FindLinks(line)) {
        if (at >= link.start && at < link.start + link.length)
            return UrlOf(QStringView(line).sliced(link.start, link.length));
    }
    return {};
}

QUrl MessageView::LinkUnder(const QPoint& point) const {
    QTextCursor cursor = cursorForPosition(point);
    // It is the gap between two characters that is nearest.
    if (cursorRect(cursor).left() > point.x()) cursor.movePosition(QTextCursor::PreviousCharacter);
    const QRect left = cursorRect(cursor);
    QTextCursor behind = cursor;
    behind.movePosition(QTextCursor::NextCharacter);
    const QRect right = cursorRect(behind);
    const bool isOver = left.top() <= point.y() && point.y() <= left.bottom() && left.left() <= point.x() &&
                        (right.top() != left.top() || point.x() <= right.left());
    return isOver ? LinkAt(cursor) : QUrl();
}

void MessageView::OpenLink(const QUrl& url) {
    static const QStringList kSchemes = {QStringLiteral("http"), QStringLiteral("https"),
                                         QStringLiteral("ftp"), QStringLiteral("mailto")};
    if (url.isValid() && kSchemes.contains(url.scheme(), Qt::CaseInsensitive)) openLink_(url);
}

void MessageView::keyPressEvent(QKeyEvent* event) {
    const bool withShift = event->modifiers() == Qt::ShiftModifier;
    if (withShift || event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
        switch (event->key()) {
            case Qt::Key_Space:
                if (withShift) {
                    PageUp();
                } else if (!PageDown()) {
                    emit NextUnreadAsked();
                }
                return;
            case Qt::Key_Backspace:
                PageUp();
                return;
            case Qt::Key_Return:
            case Qt::Key_Enter:
                OpenLink(LinkAt(textCursor()));
                return;
            default:
                break;
        }
    }
    QPlainTextEdit::keyPressEvent(event);
}

void MessageView::mousePressEvent(QMouseEvent* event) {
    pressedAt_ = event->pos();
    QPlainTextEdit::mousePressEvent(event);
}

void MessageView::mouseMoveEvent(QMouseEvent* event) {
    QPlainTextEdit::mouseMoveEvent(event);
    const bool overLink = event->buttons() == Qt::NoButton && LinkUnder(event->pos()).isValid();
    viewport()->setCursor(overLink ? Qt::PointingHandCursor : Qt::IBeamCursor);
}

void MessageView::mouseReleaseEvent(QMouseEvent* event) {
    QPlainTextEdit::mouseReleaseEvent(event);
    const bool isClick = event->button() == Qt::LeftButton && !textCursor().hasSelection() &&
                         (event->pos() - pressedAt_).manhattanLength() < QApplication::startDragDistance();
    if (isClick) OpenLink(LinkUnder(event->pos()));
}

void MessageView::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    highlighter_->SetPalette(palette());
    highlighter_->rehighlight();
}

QMimeData* MessageView::createMimeDataFromSelection() const {
    const QTextCursor cursor = textCursor();
    QString text;
    for (QTextBlock block = document()->findBlock(cursor.selectionStart());
         block.isValid() && block.position() <= cursor.selectionEnd(); block = block.next()) {
        const int start = std::max(cursor.selectionStart() - block.position(), 0);
        const int end = std::min(cursor.selectionEnd() - block.position(), block.length() - 1);
        const bool goesOn = std::binary_search(continuing_.begin(), continuing_.end(), block.blockNumber());
        if (block.position() > cursor.selectionStart() && !goesOn) text += u'\n';
        text += QStringView(block.text()).sliced(start, std::max(end - start, 0));
    }
    auto* selection = new QMimeData;  // the caller's
    selection->setText(text);
    return selection;
}

}  // namespace postkite::ui
