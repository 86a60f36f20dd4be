#pragma once

#include <QObject>

namespace postkite::ui {

/// Which of the keys are held that turn closing the main window into the maintenance of a capture.
class ClosingKeys final : public QObject {
    Q_OBJECT

  public:
    explicit ClosingKeys(QObject* parent);

    [[nodiscard]] bool f1Held() const { return f1Held_; }
    [[nodiscard]] static bool ControlHeld();

  private:
    [[nodiscard]] bool eventFilter(QObject* watched, QEvent* event) override;

    bool f1Held_ = false;
};

}  // namespace postkite::ui
