#include "ui/dialogs/about_dialog.h"

#include <QDialogButtonBox>
#include <QFontInfo>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

#include "core/user_interface.h"
#include "ui/dialogs/dialog_sizes.h"
#include "ui/icons/palette_icon.h"
#include "ui/text.h"

namespace postkite::ui {

AboutDialog::AboutDialog(QWidget* parent) : QDialog(parent) {
    const QString product = Shown(core::kProductName);
    setWindowTitle(tr("%1 について").arg(product));
    auto* icon = new QLabel(this);
    const int size = 2 * style()->pixelMetric(QStyle::PM_LargeIconSize, nullptr, this);
    icon->setPixmap(PaletteIcon(QStringLiteral("postkite")).pixmap(size, size));
    icon->setAlignment(Qt::AlignTop);
    auto* name = new QLabel(product, this);
    constexpr double kLarger = 1.6;
    QFont large = name->font();
    large.setPointSizeF(QFontInfo(large).pointSizeF() * kLarger);
    large.setBold(true);
    name->setFont(large);
    QString text;
#ifdef POSTKITE_VERSION
    text = tr("バージョン %1").arg(QStringLiteral(POSTKITE_VERSION)) + QStringLiteral("\n\n");
#endif
    text +=
        tr("電話回線のホストのためのメールソフトです。モデムでホストに接続してメールとフォーラムの発言を受け"
           "取り、"
           "手元のフォルダに整理します。");
    text += QStringLiteral("\n\n") + tr("このソフトウェアは無保証です。");
    auto* description = new QLabel(text, this);
    description->setTextFormat(Qt::PlainText);
    description->setWordWrap(true);
    description->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    constexpr int kLetters = 56;
    description->setMinimumWidth(LettersWidth(*this, kLetters));
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    auto* grid = new QGridLayout(this);
    grid->addWidget(icon, 0, 0, 2, 1);
    grid->addWidget(name, 0, 1);
    grid->addWidget(description, 1, 1);
    grid->addWidget(buttons, 2, 0, 1, 2);
    buttons->button(QDialogButtonBox::Ok)->setFocus();
}

}  // namespace postkite::ui
