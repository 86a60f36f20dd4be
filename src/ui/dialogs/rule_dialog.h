#pragma once

#include <QDialog>
#include <string_view>

#include "organise/rule_file.h"
#include "ui/desktop.h"

class QCheckBox;
class QComboBox;

namespace postkite::ui {

class TextField;

/// One sorting rule.
class RuleDialog final : public QDialog {
    Q_OBJECT

  public:
    /// `folder` is the one that the title names. The folder of `rule` may be one that the tree does not have; it stays
    /// then where nobody chooses another.
    RuleDialog(Desktop& desktop, std::string_view folder, const organise::SortingRule& rule, QWidget* parent);

    /// What was confirmed.
    [[nodiscard]] const organise::SortingRule& rule() const { return rule_; }

  public slots:
    void accept() override;

  private:
    void ShowRule();
    void OfferFolders();
    void Refuse(QWidget& field, const QString& why);
    /// Takes a part that must not be empty; false where it cannot be taken, and the user knows.
    [[nodiscard]] bool TakeText(TextField& field, const QString& name, std::string& text);

    Desktop* desktop_;
    organise::SortingRule rule_;
    TextField* name_;
    QComboBox* field_;
    TextField* text_;
    QComboBox* folder_;
    QCheckBox* enabled_;
    QCheckBox* automatic_;
};

}  // namespace postkite::ui
