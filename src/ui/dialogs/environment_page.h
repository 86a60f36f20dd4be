#pragma once

#include <QWidget>
#include <string>
#include <vector>

#include "core/environments.h"
#include "ui/dialogs/text_field.h"

class QComboBox;
class QFormLayout;

namespace postkite::ui {

/// The fields of one connection environment, and the bank that goes with it. What people leave alone keeps its bytes.
class EnvironmentPage final : public QWidget {
    Q_OBJECT

  public:
    /// `folders` are offered as folders of mail, `bankDirectories` as banks.
    EnvironmentPage(const std::vector<std::string>& folders, const std::vector<QString>& bankDirectories,
                    QWidget* parent);

    void Show(const core::Environment& environment, int bank);

    /// Takes what was changed into both. Empty, or why it cannot be taken; `refused` is the field then.
    [[nodiscard]] QString Take(core::Environment& environment, int& bank, QWidget*& refused) const;

    [[nodiscard]] QString environmentName() const;

  signals:
    void NameEdited();

  private:
    using Member = std::string core::Environment::*;
    struct TextRow {
        Member member;
        QString name;
        TextField* field;
    };
    struct ChoiceRow {
        Member member;
        QComboBox* box;
        int shown = -1;
    };
    void AddRow(QFormLayout& form, const QString& label, QChar key, QWidget* field);
    TextField* AddText(QFormLayout& form, const QString& label, QChar key, Member member);
    void AddChoice(QFormLayout& form, const QString& label, QChar key, Member member,
                   const std::vector<std::pair<const char*, QString>>& choices);
    void AddFolder(QFormLayout& form, const QString& label, QChar key, Member member,
                   const std::vector<std::string>& folders);
    /// Values to choose from, each with words that say what it is for.
    void AddPresets(QFormLayout& form, const QString& label, QChar key, Member member,
                    const std::vector<std::pair<const char*, QString>>& presets);
    QComboBox* AddEditable(QFormLayout& form, const QString& label, QChar key, Member member,
                           const QStringList& values);

    std::vector<TextRow> texts_;
    std::vector<ChoiceRow> choices_;
    QComboBox* bank_;
    int shownBank_ = -1;
};

}  // namespace postkite::ui
