#pragma once

#include <QAction>
#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "ui/desktop.h"
#include "ui/window/command_table.h"

class QMenu;

namespace postkite::ui {

/// The actions of the command table. One that is triggered while the engine is in the middle of something does nothing;
/// one that a running session forbids is refused with its text. Borrows the desktop.
class Commands final : public QObject {
    Q_OBJECT

  public:
    Commands(Desktop& desktop, QObject* parent);

    /// Owned by this object.
    [[nodiscard]] QAction* action(Command command) const { return actions_.at(command); }

    /// What a command does. A checkable one has its new state when it is called.
    void Do(Command command, std::function<void()> work) { work_[command] = std::move(work); }

    /// The same guard for what is in no table. True, and a refusal has been shown, where it must not go on now.
    [[nodiscard]] bool Forbidden(DuringSession duringSession);

    /// Puts the actions of `menu` at its end.
    void Fill(QMenu& menu, MenuId id) const;

    /// Every command that has a key: its label, and its key as people read it.
    [[nodiscard]] std::vector<std::pair<QString, QString>> Keys() const;

  private:
    void Run(const CommandInfo& info);

    Desktop* desktop_;
    std::map<Command, QAction*> actions_;
    std::map<Command, std::function<void()>> work_;
};

}  // namespace postkite::ui
