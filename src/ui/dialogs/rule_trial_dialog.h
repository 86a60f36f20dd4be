#pragma once

#include <QDialog>
#include <string_view>
#include <vector>

#include "organise/sorter.h"
#include "ui/desktop.h"

class QTreeWidget;

namespace postkite::ui {

/// The mails of a folder that rules would move, and where to. Moves nothing.
class RuleTrialDialog final : public QDialog {
    Q_OBJECT

  public:
    /// Rows that are shown; of the others there is the number alone.
    static constexpr int kMostRows = 1000;

    RuleTrialDialog(Desktop& desktop, std::string_view folder, const organise::RuleTable& rules,
                    const std::vector<organise::SortedMail>& plan, QWidget* parent);

  private:
    void Fill(Desktop& desktop, std::string_view folder, const organise::RuleTable& rules,
              const std::vector<organise::SortedMail>& plan);

    QTreeWidget* list_;
};

}  // namespace postkite::ui
