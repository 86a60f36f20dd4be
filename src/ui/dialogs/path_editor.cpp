#include "ui/dialogs/path_editor.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <filesystem>

#include "core/workspace.h"
#include "ui/text.h"

namespace postkite::ui {

PathEditor::PathEditor(const SettingRow& row, Desktop& desktop, QWidget* parent)
    : SettingEditor(row, parent),
      desktop_(&desktop),
      kind_(row.editor),
      field_(new TextField(settingLine().longestText, this)) {
    Embed(field_);
    auto* browse = new QPushButton(tr("参照..."), this);
    browse->setAccessibleName(tr("%1の参照").arg(name()));
    browse->setAutoDefault(false);
    connect(browse, &QPushButton::clicked, this, &PathEditor::Browse);
    layout()->addWidget(browse);
    if (kind_ != EditorKind::SoundFile) return;
    auto* play = new QPushButton(tr("再生"), this);
    play->setAccessibleName(tr("%1の再生").arg(name()));
    play->setAutoDefault(false);
    connect(play, &QPushButton::clicked, this, &PathEditor::Play);
    layout()->addWidget(play);
}

QString PathEditor::Take(core::Settings& settings) {
    std::string value;
    const QString refusal = field_->Take(name(), value);
    if (refusal.isEmpty() && field_->isChanged()) PutValue(settings, value);
    return refusal;
}

void PathEditor::Browse() {
    const QString root = ShownPath(desktop_->workspace.root().u8string());
    QString from = root;
    std::string value;
    std::filesystem::path path;
    if (field_->Take(name(), value).isEmpty() && !value.empty() &&
        desktop_->workspace.Locate(value, path) == 0)
        from = ShownPath(path.u8string());
    const QString filter = kind_ == EditorKind::SoundFile
                               ? tr("Wave ファイル (*.wav *.WAV);;すべてのファイル (*)")
                               : tr("すべてのファイル (*)");
    const QString picked = kind_ == EditorKind::Directory
                               ? QFileDialog::getExistingDirectory(this, name(), from)
                               : QFileDialog::getOpenFileName(this, name(), from, filter);
    if (!picked.isEmpty()) field_->setText(PathForSetting(picked, root));
}

void PathEditor::Play() {
    std::string value;
    const QString refusal = field_->Take(name(), value);
    if (refusal.isEmpty()) {
        desktop_->ui.PlaySoundFile(value);
    } else {
        desktop_->ui.Tell(refusal, core::MessageIcon::Warning);
    }
}

}  // namespace postkite::ui
