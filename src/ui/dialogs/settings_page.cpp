#include "ui/dialogs/settings_page.h"

#include <QAbstractSpinBox>
#include <QCoreApplication>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/text_field.h"

namespace postkite::ui {

namespace {

/// Those that the dialog itself has are missing: C and O of its buttons, F and L.
constexpr QStringView kAccessKeys = u"ABDEGHIJKMNPQRSTUVWXYZ1234567890";

constexpr int kNarrowestLine = 24;

bool HasAll(const QString& text, const QStringList& words) {
    return std::all_of(words.begin(), words.end(), [&text](const QString& word) {
        return text.normalized(QString::NormalizationForm_KC)
            .contains(word.normalized(QString::NormalizationForm_KC), Qt::CaseInsensitive);
    });
}

}  // namespace

SettingsPage::SettingsPage(const SettingPage& page, Desktop& desktop, QWidget* parent)
    : QScrollArea(parent), title_(QCoreApplication::translate("SettingPages", page.title)) {
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setAccessibleName(title_);
    auto* content = new QWidget(this);
    auto* column = new QVBoxLayout(content);
    if (!page.used.empty()) AddGroup(*column, new QWidget(content), page.used, desktop);
    if (!page.keptOnly.empty()) {
        AddGroup(*column, new QGroupBox(tr("値の保存のみ（この版では使いません）"), content), page.keptOnly,
                 desktop);
    }
    column->addStretch();
    setWidget(content);
    // It scrolls up and down alone.
    setMinimumWidth(content->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width());
}

void SettingsPage::AddGroup(QVBoxLayout& column, QWidget* widget, std::span<const SettingRow> rows,
                            Desktop& desktop) {
    auto* form = new QFormLayout(widget);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setRowWrapPolicy(QFormLayout::WrapLongRows);
    Group group{widget, form, {}};
    for (const SettingRow& row : rows) {
        const auto place = static_cast<qsizetype>(editors_.size());
        const QChar key = kAccessKeys[std::min(place, kAccessKeys.size() - 1)];
        SettingEditor* editor = MakeSettingEditor(row, key, desktop, widget);
        if (editor->hasOwnLabel()) {
            form->addRow(editor);
        } else {
            // Beside a long label a line to type in would become narrower than what is typed there; it goes below.
            if (editor->findChild<QLineEdit*>() != nullptr &&
                editor->findChild<QAbstractSpinBox*>() == nullptr)
                editor->setMinimumWidth(LettersWidth(*this, kNarrowestLine));
            auto* label = new QLabel(WithAccessKey(LabelOf(row), key), widget);
            label->setBuddy(editor);
            form->addRow(label, editor);
        }
        group.editors.push_back(editor);
        editors_.push_back(editor);
    }
    column.addWidget(widget);
    groups_.push_back(std::move(group));
}

bool SettingsPage::Filter(const QStringList& words) {
    const bool all = HasAll(title_, words);
    bool any = false;
    for (const Group& group : groups_) {
        bool inGroup = false;
        for (SettingEditor* editor : group.editors) {
            const bool shown = all || HasAll(editor->name(), words);
            group.form->setRowVisible(editor, shown);
            inGroup = inGroup || shown;
        }
        group.widget->setVisible(inGroup);
        any = any || inGroup;
    }
    return any;
}

}  // namespace postkite::ui
