#pragma once

#include <QWidget>
#include <string>

#include "core/settings.h"
#include "core/settings_table.h"
#include "ui/desktop.h"
#include "ui/dialogs/setting_pages.h"

namespace postkite::ui {

/// What a setting is changed with. It writes only what people changed in it, so that a value that it cannot show (a
/// flag of 2, bytes that are no character) stays.
class SettingEditor : public QWidget {
    Q_OBJECT

  public:
    /// Shows the value that `settings` has.
    virtual void Show(core::Settings& settings) = 0;

    /// Puts the value into `settings` where it was changed. Empty, or why it cannot be taken; `settings` is left
    /// alone then.
    [[nodiscard]] virtual QString Take(core::Settings& settings) = 0;

    /// Whether it has its label within itself, and needs none in front.
    [[nodiscard]] virtual bool hasOwnLabel() const { return false; }

    [[nodiscard]] const QString& name() const { return name_; }
    [[nodiscard]] int line() const { return static_cast<int>(line_ - core::SettingLines().data()) + 1; }

  protected:
    SettingEditor(const SettingRow& row, QWidget* parent);
    /// Puts `field` into the editor, named, as what the label and its key lead to.
    void Embed(QWidget* field);

    [[nodiscard]] const core::SettingLine& settingLine() const { return *line_; }
    [[nodiscard]] std::string ValueIn(core::Settings& settings) const;
    void PutValue(core::Settings& settings, const std::string& value) const;

  private:
    const core::SettingLine* line_;
    QString name_;
};

/// The label of a row, without an access key.
[[nodiscard]] QString LabelOf(const SettingRow& row);

/// `key` is the access key's letter, for the kinds that have their own label.
[[nodiscard]] SettingEditor* MakeSettingEditor(const SettingRow& row, QChar key, Desktop& desktop,
                                               QWidget* parent);

}  // namespace postkite::ui
