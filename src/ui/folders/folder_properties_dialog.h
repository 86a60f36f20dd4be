#pragma once

#include <QDialog>
#include <string>

#include "store/folder_properties.h"
#include "ui/desktop.h"
#include "ui/dialogs/text_field.h"

class QGridLayout;
class QPlainTextEdit;

namespace postkite::ui {

/// The sound, the extra addresses of new mails and the head of replies of one folder.
class FolderPropertiesDialog final : public QDialog {
    Q_OBJECT

  public:
    /// Shows it for a folder, by its base name, and returns when it has been closed; false, and the user knows why, where
    /// the properties cannot be read.
    static bool Show(Desktop& desktop, const std::string& folder, QWidget* parent);

    FolderPropertiesDialog(Desktop& desktop, std::string folder, const store::FolderProperties& properties,
                           QWidget* parent);

    void accept() override;

  private:
    void ShowTemplate(const std::string& replyTemplate);
    void AddSound(QGridLayout& layout);
    void Browse();
    void Play();
    /// Each is false, and the user knows why, where what was typed cannot be taken.
    [[nodiscard]] bool TakeSound(std::string& sound);
    [[nodiscard]] bool Accepted(const QString& refusal, QWidget& field);

    Desktop* desktop_;
    std::string folder_;
    TextField* sound_;
    TextField* address_;
    QPlainTextEdit* template_;
    EditedText templateText_{store::kLongestPropertyBytes, EditedText::Lines::Many};
};

}  // namespace postkite::ui
