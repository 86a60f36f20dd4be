#pragma once

#include <QMainWindow>
#include <QSplitter>

#include "core/settings.h"

namespace postkite::ui {

/// Where the main window and its panes stand, between the window and the settings.
///
/// "MAIL WINDOW" LEFT, TOP, WIDTH and HIGH are the window's place while it is neither maximised nor minimised; "MAXEND"
/// says that it was maximised. "MAILBOXLISTWIDTH" is the width of the folder pane in pixels, "LISTHIGH" the part of the
/// height between list and message that the list has, in per cent; above 90, as some files have it, it is pixels.
void RestorePlace(QMainWindow& window, const core::Settings& settings);
void KeepPlace(const QMainWindow& window, core::Settings& settings);

/// `folders` holds the folder pane and the rest, `mails` list and message.
void RestorePanes(QSplitter& folders, QSplitter& mails, const core::Settings& settings);
void KeepPanes(const QSplitter& folders, const QSplitter& mails, core::Settings& settings);

}  // namespace postkite::ui
