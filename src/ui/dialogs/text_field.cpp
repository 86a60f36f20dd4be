#include "ui/dialogs/text_field.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include "core/positional_file.h"
#include "ui/text.h"

namespace postkite::ui {

void EditedText::Set(std::string_view bytes, const QString& shown) {
    bytes_ = bytes;
    shown_ = shown;
}

QString EditedText::Take(const QString& text, const QString& name, std::string& bytes) const {
    if (!IsChanged(text)) {
        bytes = bytes_;
        return {};
    }
    QString refused;
    const auto typed = Typed(text, &refused);
    if (!typed) return TextField::tr("「%1」には文字「%2」を使えません。").arg(name, refused);
    const bool fits =
        lines_ == Lines::One ? core::FitsInLine(*typed) : typed->find('\0') == std::string::npos;
    if (!fits) return TextField::tr("「%1」には改行などの制御文字を使えません。").arg(name);
    if (typed->size() > longest_) {
        return TextField::tr("「%1」は %2 バイトまでです。（全角文字は 2 バイト）").arg(name).arg(longest_);
    }
    bytes = *typed;
    return {};
}

TextField::TextField(std::size_t longest, QWidget* parent)
    : QLineEdit(parent), edited_(longest, EditedText::Lines::One) {
}

void TextField::SetBytes(std::string_view bytes) {
    setText(Shown(bytes));
    edited_.Set(bytes, text());
    setCursorPosition(0);
}

QString WithAccessKey(const QString& label, QChar key) {
    //: %1: label, %2: the letter of its access key
    return QCoreApplication::translate("AccessKeys", "%1(&%2)").arg(label, QString(key));
}

QString WithoutAccessKey(const QString& label) {
    static const QRegularExpression kJapanese(QStringLiteral("\\s*\\(&.\\)"));
    static const QRegularExpression kOther(QStringLiteral("&(.)"));
    QString plain = label;
    return plain.remove(kJapanese).replace(kOther, QStringLiteral("\\1"));
}

}  // namespace postkite::ui
