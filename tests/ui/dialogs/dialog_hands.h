#pragma once

#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QString>
#include <QTest>

namespace postkite::ui {

// What a person does in a dialog. Whoever is busy with one dialog does not see what opens over it: that takes a `Person`
// of its own.

inline void Click(QDialog& dialog, QDialogButtonBox::StandardButton which) {
    auto* buttons = dialog.findChild<QDialogButtonBox*>();
    QTest::mouseClick(buttons->button(which), Qt::LeftButton);
}

inline void ClickOk(QDialog& dialog) {
    Click(dialog, QDialogButtonBox::Ok);
}

inline void ClickCancel(QDialog& dialog) {
    Click(dialog, QDialogButtonBox::Cancel);
}

/// Types over what stands there, as an input method does.
inline void TypeOver(QLineEdit& field, const QString& text) {
    field.selectAll();
    field.insert(text);
}

}  // namespace postkite::ui
