#pragma once

#include <QDialog>
#include <string>

#include "store/folder_properties.h"
#include "ui/desktop.h"

class QGridLayout;
class QLineEdit;
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
    /// A text that keeps its bytes where nobody changed it: not all that files hold can be shown and typed.
    struct Text {
        QString label;  ///< without its access key
        QWidget* widget = nullptr;
        std::string bytes;
        QString shown;
    };
    void AddSound(QGridLayout& layout);
    void Browse();
    void Play();
    [[nodiscard]] bool Take(const Text& text, const QString& typed, std::string& bytes);

    Desktop* desktop_;
    std::string folder_;
    QLineEdit* sound_;
    QLineEdit* address_;
    QPlainTextEdit* template_;
    Text soundText_;
    Text addressText_;
    Text templateText_;
};

}  // namespace postkite::ui
