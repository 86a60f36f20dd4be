#pragma once

#include "ui/dialogs/setting_editor.h"
#include "ui/dialogs/text_field.h"

namespace postkite::ui {

/// A file or directory, typed or picked; a sound can be heard.
class PathEditor final : public SettingEditor {
    Q_OBJECT

  public:
    PathEditor(const SettingRow& row, Desktop& desktop, QWidget* parent);

    void Show(core::Settings& settings) override { field_->SetBytes(ValueIn(settings)); }
    [[nodiscard]] QString Take(core::Settings& settings) override;

  private:
    void Browse();
    void Play();

    Desktop* desktop_;
    EditorKind kind_;
    TextField* field_;
};

}  // namespace postkite::ui
