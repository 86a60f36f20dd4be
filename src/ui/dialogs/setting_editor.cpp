#include "ui/dialogs/setting_editor.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QCoreApplication>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QIcon>
#include <QPixmap>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "core/positional_file.h"
#include "ui/dialogs/dialog_sizes.h"
#include "ui/dialogs/path_editor.h"
#include "ui/dialogs/text_field.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

QString Translated(const char* text) {
    return QCoreApplication::translate("SettingPages", text);
}

class CheckBoxEditor final : public SettingEditor {
  public:
    CheckBoxEditor(const SettingRow& row, QChar key, QWidget* parent)
        : SettingEditor(row, parent), box_(new QCheckBox(WithAccessKey(LabelOf(row), key), this)) {
        Embed(box_);
    }
    bool hasOwnLabel() const override { return true; }
    void Show(core::Settings& settings) override {
        shown_ = settingLine().integer(settings) != 0;
        box_->setChecked(shown_);
    }
    QString Take(core::Settings& settings) override {
        if (box_->isChecked() != shown_) settingLine().integer(settings) = box_->isChecked() ? 1 : 0;
        return {};
    }

  private:
    QCheckBox* box_;
    bool shown_ = false;
};

class NumberEditor final : public SettingEditor {
  public:
    NumberEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent), box_(new QSpinBox(this)) {
        box_->setRange(row.lowest, row.highest);
        if (row.unit != nullptr) box_->setSuffix(Translated(row.unit));
        Embed(box_);
        static_cast<QHBoxLayout*>(layout())->addStretch();
    }
    void Show(core::Settings& settings) override {
        shown_ = settingLine().integer(settings);
        box_->setRange(std::min(box_->minimum(), shown_), std::max(box_->maximum(), shown_));
        box_->setValue(shown_);
    }
    QString Take(core::Settings& settings) override {
        if (box_->value() != shown_) settingLine().integer(settings) = box_->value();
        return {};
    }

  private:
    QSpinBox* box_;
    int shown_ = 0;
};

/// Heights of characters are negative in the settings; 0 leaves the height to the font.
class FontHeightEditor final : public SettingEditor {
    Q_DECLARE_TR_FUNCTIONS(SettingEditor)

  public:
    FontHeightEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent), box_(new QSpinBox(this)) {
        constexpr int kHighest = 20;
        box_->setRange(kOfTheFont, kHighest);
        box_->setSpecialValueText(tr("標準"));
        box_->setSuffix(tr(" ドット"));
        Embed(box_);
        static_cast<QHBoxLayout*>(layout())->addStretch();
    }
    void Show(core::Settings& settings) override {
        box_->setValue(-settingLine().integer(settings));
        shown_ = box_->value();
    }
    QString Take(core::Settings& settings) override {
        const int value = box_->value();
        if (value != shown_) settingLine().integer(settings) = value == kOfTheFont ? 0 : -value;
        return {};
    }

  private:
    static constexpr int kOfTheFont = 6;  ///< below the lowest height, 7
    QSpinBox* box_;
    int shown_ = 0;
};

/// A text, with what its kind asks of it.
class TextEditor final : public SettingEditor {
    Q_DECLARE_TR_FUNCTIONS(SettingEditor)

  public:
    TextEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent), row_(&row), field_(new TextField(settingLine().longestText, this)) {
        if (row.editor == EditorKind::Secret) field_->setEchoMode(QLineEdit::Password);
        Embed(field_);
        if (row.editor != EditorKind::Digits) return;
        constexpr int kLetters = 12;
        field_->setMaximumWidth(LettersWidth(*field_, kLetters));
        static_cast<QHBoxLayout*>(layout())->addStretch();
    }
    void Show(core::Settings& settings) override { field_->SetBytes(ValueIn(settings)); }
    QString Take(core::Settings& settings) override {
        std::string value;
        QString refusal = field_->Take(name(), value);
        if (!refusal.isEmpty() || !field_->isChanged()) return refusal;
        refusal = Objection(value);
        if (refusal.isEmpty()) PutValue(settings, value);
        return refusal;
    }

  private:
    QString Objection(const std::string& value) const {
        constexpr std::size_t kFlags = 20;
        constexpr std::size_t kMostDigits = 9;
        if (row_->editor == EditorKind::TwentyFlags &&
            (value.size() != kFlags || value.find_first_not_of("01") != std::string::npos))
            return tr("「%1」は 0 か 1 を 20 文字で入力してください。").arg(name());
        if (row_->editor != EditorKind::Digits) return {};
        const bool isNumber = !value.empty() && value.size() <= kMostDigits &&
                              value.find_first_not_of("0123456789") == std::string::npos;
        const int number = isNumber ? core::ParseInteger(value) : 0;
        if (isNumber && number >= row_->lowest && number <= row_->highest) return {};
        return tr("「%1」は %2 から %3 までの数字で入力してください。")
            .arg(name())
            .arg(row_->lowest)
            .arg(row_->highest);
    }

    const SettingRow* row_;
    TextField* field_;
};

/// A password, typed twice since it cannot be seen.
class NewSecretEditor final : public SettingEditor {
    Q_DECLARE_TR_FUNCTIONS(SettingEditor)

  public:
    NewSecretEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent),
          first_(new TextField(settingLine().longestText, this)),
          second_(new TextField(settingLine().longestText, this)) {
        for (TextField* field : {first_, second_})
            field->setEchoMode(QLineEdit::Password);
        Embed(first_);
        static_cast<QBoxLayout*>(layout())->setDirection(QBoxLayout::TopToBottom);
        second_->setAccessibleName(tr("%1（もう一度）").arg(name()));
        second_->setPlaceholderText(tr("変更するときはもう一度"));
        second_->setEnabled(false);
        connect(first_, &QLineEdit::textChanged, this, [this] {
            second_->setEnabled(first_->isChanged());
            second_->clear();
        });
        layout()->addWidget(second_);
    }
    void Show(core::Settings& settings) override {
        first_->SetBytes(ValueIn(settings));
        second_->setEnabled(false);
    }
    QString Take(core::Settings& settings) override {
        std::string value;
        const QString refusal = first_->Take(name(), value);
        if (!refusal.isEmpty() || !first_->isChanged()) return refusal;
        if (first_->text() != second_->text())
            return tr("「%1」に入力した２つのパスワードが一致しません。").arg(name());
        PutValue(settings, value);
        return {};
    }

  private:
    TextField* first_;
    TextField* second_;
};

class ChoiceEditor final : public SettingEditor {
    Q_DECLARE_TR_FUNCTIONS(SettingEditor)

  public:
    ChoiceEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent), box_(new QComboBox(this)) {
        for (const SettingChoice& choice : row.choices)
            box_->addItem(Translated(choice.words), QByteArray(choice.value));
        Embed(box_);
        static_cast<QHBoxLayout*>(layout())->addStretch();
    }
    void Show(core::Settings& settings) override {
        const std::string value = ValueIn(settings);
        const auto bytes = QByteArray::fromStdString(value);
        shown_ = box_->findData(bytes);
        if (shown_ < 0) {
            box_->addItem(tr("そのほか（%1）").arg(Shown(value)), bytes);
            shown_ = box_->count() - 1;
        }
        box_->setCurrentIndex(shown_);
    }
    QString Take(core::Settings& settings) override {
        if (box_->currentIndex() != shown_)
            PutValue(settings, box_->currentData().toByteArray().toStdString());
        return {};
    }

  private:
    QComboBox* box_;
    int shown_ = -1;
};

/// A face that is typed or taken from those of this computer that suit the list.
class FontFaceEditor final : public SettingEditor {
  public:
    FontFaceEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent),
          box_(new QComboBox(this)),
          field_(new TextField(settingLine().longestText, box_)) {
        box_->setEditable(true);
        box_->setLineEdit(field_);
        box_->setCompleter(nullptr);
        for (const QString& family : QFontDatabase::families(QFontDatabase::Japanese)) {
            if (QFontDatabase::isFixedPitch(family)) box_->addItem(family);
        }
        Embed(box_);
    }
    void Show(core::Settings& settings) override { field_->SetBytes(ValueIn(settings)); }
    QString Take(core::Settings& settings) override {
        std::string value;
        const QString refusal = field_->Take(name(), value);
        if (refusal.isEmpty() && field_->isChanged()) PutValue(settings, value);
        return refusal;
    }

  private:
    QComboBox* box_;
    TextField* field_;
};

class ColourEditor final : public SettingEditor {
    Q_DECLARE_TR_FUNCTIONS(SettingEditor)

  public:
    ColourEditor(const SettingRow& row, QWidget* parent)
        : SettingEditor(row, parent), button_(new QPushButton(tr("選択..."), this)) {
        button_->setAutoDefault(false);
        connect(button_, &QPushButton::clicked, this, [this] {
            const QColor picked = QColorDialog::getColor(colour_, this, name());
            if (picked.isValid()) Draw(picked);
        });
        Embed(button_);
        static_cast<QHBoxLayout*>(layout())->addStretch();
    }
    void Show(core::Settings& settings) override {
        const auto value = static_cast<std::uint32_t>(settingLine().integer(settings));
        shown_ = QColor(static_cast<int>(value & 0xFF), static_cast<int>(value >> 8 & 0xFF),
                        static_cast<int>(value >> 16 & 0xFF));
        Draw(shown_);
    }
    QString Take(core::Settings& settings) override {
        if (colour_ != shown_)
            settingLine().integer(settings) = colour_.red() | colour_.green() << 8 | colour_.blue() << 16;
        return {};
    }

  private:
    void Draw(const QColor& colour) {
        colour_ = colour;
        QPixmap swatch(button_->iconSize());
        swatch.fill(colour);
        button_->setIcon(swatch);
        button_->setAccessibleName(tr("%1: %2").arg(name(), colour.name()));
    }

    QPushButton* button_;
    QColor colour_;
    QColor shown_;
};

}  // namespace

QString LabelOf(const SettingRow& row) {
    const QString label = Translated(row.label);
    return row.number > 0 ? label.arg(row.number) : label;
}

SettingEditor::SettingEditor(const SettingRow& row, QWidget* parent)
    : QWidget(parent),
      line_(&core::SettingLines()[static_cast<std::size_t>(row.line) - 1]),
      name_(LabelOf(row)) {
    setObjectName(QStringLiteral("setting%1").arg(row.line));
    auto* box = new QHBoxLayout(this);
    box->setContentsMargins(0, 0, 0, 0);
}

void SettingEditor::Embed(QWidget* field) {
    layout()->addWidget(field);
    field->setAccessibleName(name_);
    setFocusProxy(field);
}

std::string SettingEditor::ValueIn(core::Settings& settings) const {
    return line_->kind == core::SettingLine::Kind::Integer ? std::to_string(line_->integer(settings))
                                                           : line_->text(settings);
}

void SettingEditor::PutValue(core::Settings& settings, const std::string& value) const {
    if (line_->kind == core::SettingLine::Kind::Integer) {
        line_->integer(settings) = core::ParseInteger(value);
    } else {
        line_->text(settings) = value;
    }
}

SettingEditor* MakeSettingEditor(const SettingRow& row, QChar key, Desktop& desktop, QWidget* parent) {
    switch (row.editor) {
        case EditorKind::CheckBox:
            return new CheckBoxEditor(row, key, parent);
        case EditorKind::Number:
            return new NumberEditor(row, parent);
        case EditorKind::NewSecret:
            return new NewSecretEditor(row, parent);
        case EditorKind::Choice:
            return new ChoiceEditor(row, parent);
        case EditorKind::FontFace:
            return new FontFaceEditor(row, parent);
        case EditorKind::FontHeight:
            return new FontHeightEditor(row, parent);
        case EditorKind::Colour:
            return new ColourEditor(row, parent);
        case EditorKind::File:
        case EditorKind::Directory:
        case EditorKind::SoundFile:
            return new PathEditor(row, desktop, parent);
        case EditorKind::Digits:
        case EditorKind::Text:
        case EditorKind::Secret:
        case EditorKind::TwentyFlags:
            break;
    }
    return new TextEditor(row, parent);
}

}  // namespace postkite::ui
