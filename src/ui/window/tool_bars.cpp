#include "ui/window/tool_bars.h"

#include <QComboBox>
#include <QLabel>
#include <QToolBar>
#include <algorithm>
#include <tuple>

#include "ui/dialogs/text_field.h"
#include "ui/text.h"

namespace postkite::ui {

namespace {

constexpr Command kButtons[] = {Command::SendAndReceive, Command::ReceiveOnly, Command::Disconnect,
                                Command::NextUnread,     Command::FindInList,  Command::PrintMail,
                                Command::MoveToTrash};

/// Narrower a band is of no use, whatever a file says; wider than this no window is.
constexpr int kNarrowestBand = 40;
constexpr int kWidestBand = 4000;

QComboBox* AddChooser(QToolBar& band, const QString& label) {
    auto* caption = new QLabel(label, &band);
    auto* chooser = new QComboBox(&band);
    caption->setBuddy(chooser);
    chooser->setAccessibleName(WithoutAccessKey(label));
    chooser->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    chooser->setMinimumContentsLength(10);
    chooser->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    band.addWidget(caption);
    band.addWidget(chooser);
    return chooser;
}

}  // namespace

/// A band that wants a width without insisting on it: a window can always be made narrower than its bands are.
class ToolBars::Band final : public QToolBar {
  public:
    using QToolBar::QToolBar;

    void Want(int width) {
        wanted_ = std::clamp(width, kNarrowestBand, kWidestBand);
        updateGeometry();
    }
    [[nodiscard]] QSize sizeHint() const override {
        // What the band holds is shown as long as the window has room for it.
        return QToolBar::sizeHint().expandedTo({wanted_, 0});
    }

  private:
    int wanted_ = kNarrowestBand;
};

ToolBars::ToolBars(Desktop& desktop, const Commands& commands, QMainWindow& window)
    : QObject(&window), desktop_(&desktop), window_(&window) {
    const QString titles[] = {tr("ボタン"), tr("接続環境"), tr("メールボックスバンク")};
    for (std::size_t band = 0; band < bands_.size(); ++band) {
        bands_[band] = new Band(titles[band], &window);
        bands_[band]->setObjectName(QStringLiteral("band%1").arg(band));
        // "ToolBarFlag" shows and hides all of them at once.
        bands_[band]->toggleViewAction()->setEnabled(false);
        bands_[band]->setAllowedAreas(Qt::TopToolBarArea);
    }
    for (const Command command : kButtons)
        bands_[0]->addAction(commands.action(command));
    environments_ = AddChooser(*bands_[1], tr("環境(&I)"));
    banks_ = AddChooser(*bands_[2], tr("バンク(&B)"));
    // Only what a person chooses counts, not what is shown because the program has chosen.
    connect(environments_, &QComboBox::activated, this,
            [this](int row) { emit EnvironmentChosen(environments_->itemData(row).toInt()); });
    connect(banks_, &QComboBox::activated, this,
            [this](int row) { emit BankChosen(banks_->itemData(row).toInt()); });
}

void ToolBars::ApplySettings() {
    const core::Settings& settings = desktop_->program.settings();
    const bool shown = settings.toolBarFlag == 1;
    for (std::size_t place = 0; place < bands_.size(); ++place) {
        const auto band = static_cast<std::size_t>(settings.bandOrder[place] - '0');
        Band* bar = bands_[band];
        window_->removeToolBar(bar);
        if (place > 0 && static_cast<int>(place) < settings.bandRow)
            window_->addToolBarBreak(Qt::TopToolBarArea);
        window_->addToolBar(Qt::TopToolBarArea, bar);
        bar->Want(settings.bandWidth[band]);
        bar->setVisible(shown && (band != 2 || settings.mailBankCombo != 0));
    }
}

void ToolBars::KeepLayout() {
    core::Settings& settings = desktop_->program.settings();
    // Hidden bands have no place; what the settings have stays.
    if (settings.toolBarFlag != 1) return;
    std::array<std::size_t, kBands> order{0, 1, 2};
    std::stable_sort(order.begin(), order.end(), [this](std::size_t left, std::size_t right) {
        const QPoint a = bands_[left]->pos();
        const QPoint b = bands_[right]->pos();
        return std::tuple(a.y(), a.x()) < std::tuple(b.y(), b.x());
    });
    int rows = 0;
    int lastTop = -1;
    for (std::size_t place = 0; place < order.size(); ++place) {
        const QToolBar* bar = bands_[order[place]];
        settings.bandOrder[place] = static_cast<char>('0' + order[place]);
        if (!bar->isVisible()) continue;
        settings.bandWidth[order[place]] = bar->width();
        if (bar->y() != lastTop) ++rows;
        lastTop = bar->y();
    }
    settings.bandRow = std::max(rows, 1);
}

void ToolBars::RefreshChoosers() {
    FillEnvironments();
    FillBanks();
}

void ToolBars::FillEnvironments() {
    const auto& entries = desktop_->program.environments().entries;
    const int active = desktop_->program.settings().currentId;
    environments_->clear();
    for (int number = 0; number < static_cast<int>(entries.size()); ++number) {
        const std::string& name = entries[static_cast<std::size_t>(number)].name;
        if (name.empty() && number != active) continue;
        environments_->addItem(name.empty() ? tr("環境 %1").arg(number + 1) : Shown(name), number);
        if (number == active) environments_->setCurrentIndex(environments_->count() - 1);
    }
}

void ToolBars::FillBanks() {
    const auto& paths = desktop_->program.settings().mailBoxPathName;
    banks_->clear();
    for (int number = 0; number < static_cast<int>(paths.size()); ++number)
        banks_->addItem(
            QStringLiteral("%1: %2").arg(number + 1).arg(Shown(paths[static_cast<std::size_t>(number)])),
            number);
    banks_->setCurrentIndex(desktop_->program.folders().currentBank());
}

}  // namespace postkite::ui
