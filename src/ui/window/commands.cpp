#include "ui/window/commands.h"

#include <QCoreApplication>
#include <QMenu>

#include "core/shift_jis.h"
#include "ui/icons/palette_icon.h"

namespace postkite::ui {

using namespace core::literals;

Commands::Commands(Desktop& desktop, QObject* parent) : QObject(parent), desktop_(&desktop) {
    for (const CommandInfo& info : CommandTable()) {
        auto* action = new QAction(QCoreApplication::translate("Commands", info.text), this);
        action->setShortcut(QKeySequence(QString::fromLatin1(info.shortcut)));
        action->setCheckable(info.checkable);
        if (*info.icon != '\0') action->setIcon(PaletteIcon(QString::fromLatin1(info.icon)));
        // No action is to be taken for the application's own and moved elsewhere by the name that it has.
        action->setMenuRole(QAction::NoRole);
        connect(action, &QAction::triggered, this, [this, &info] { Run(info); });
        actions_.emplace(info.command, action);
    }
}

void Commands::Run(const CommandInfo& info) {
    if (Forbidden(info.duringSession)) {
        if (info.checkable) action(info.command)->toggle();
        return;
    }
    const auto found = work_.find(info.command);
    if (found != work_.end()) found->second();
}

bool Commands::Forbidden(DuringSession duringSession) {
    if (desktop_->ui.busy()) return true;
    const bool running = desktop_->program.sessions().running();
    switch (duringSession) {
        case DuringSession::RefusedAsSetting:
            return desktop_->ui.RefuseWhile(running, "送受信中は環境設定を変更できません。"_sjis);
        case DuringSession::RefusedAsBusy:
            return desktop_->ui.RefuseWhile(running, "送受信中です。"_sjis);
        case DuringSession::Allowed:
            break;
    }
    return false;
}

std::vector<std::pair<QString, QString>> Commands::Keys() const {
    std::vector<std::pair<QString, QString>> keys;
    for (const CommandInfo& info : CommandTable()) {
        const QAction& command = *action(info.command);
        if (!command.shortcut().isEmpty())
            keys.emplace_back(command.text(), command.shortcut().toString(QKeySequence::NativeText));
    }
    keys.emplace_back(tr("接続環境 1 から 10 へ切り替える"), QStringLiteral("Shift+F1 - Shift+F10"));
    keys.emplace_back(tr("振り分けの規則 1 から 10 を実行する"), QStringLiteral("Ctrl+0 - Ctrl+9"));
    keys.emplace_back(tr("maillog.txt を解析する"), tr("F1 を押しながら閉じる"));
    keys.emplace_back(tr("meslog.txt を解析する"), tr("Ctrl を押しながら閉じる"));
    return keys;
}

void Commands::Fill(QMenu& menu, MenuId id) const {
    for (const CommandInfo& info : CommandTable()) {
        if (info.menu != id) continue;
        if (info.separatorBefore) menu.addSeparator();
        menu.addAction(action(info.command));
    }
}

}  // namespace postkite::ui
