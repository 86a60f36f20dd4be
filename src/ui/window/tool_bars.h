#pragma once

#include <QMainWindow>
#include <array>

#include "ui/desktop.h"
#include "ui/window/commands.h"

class QComboBox;

namespace postkite::ui {

/// The main window's three tool bar bands: 0 the buttons, 1 the environment chooser, 2 the bank chooser. Which are shown,
/// their order, rows and widths are the settings'. Borrows everything.
class ToolBars final : public QObject {
    Q_OBJECT

  public:
    static constexpr int kBands = 3;

    ToolBars(Desktop& desktop, const Commands& commands, QMainWindow& window);

    /// Lays the bands out as the settings say.
    void ApplySettings();
    /// Puts order, rows and widths into the settings. For a window that has been shown.
    void KeepLayout();

    /// Shows the environments and banks as they are now, with the active ones chosen.
    void RefreshChoosers();

  signals:
    void EnvironmentChosen(int number);
    void BankChosen(int number);

  private:
    class Band;

    void FillEnvironments();
    void FillBanks();

    Desktop* desktop_;
    QMainWindow* window_;
    std::array<Band*, kBands> bands_{};
    QComboBox* environments_;
    QComboBox* banks_;
};

}  // namespace postkite::ui
