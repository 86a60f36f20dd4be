#pragma once

#include <string_view>

#include "analyse/analysis.h"

/// The capture of the host's forum messages: for each room the prompt with the command that reads it, a line with the
/// room's name and its messages, up to the next prompt.
///
///     CCS(N)>MRE                                  any byte between the parentheses
///     ◆FABC MES( 1)
///     001/003   ABC01234  YAMADA TARO       TITLE
///            97/01/23 12:34  002
///     text
///     BLANK BACKSPACE                             the end of a message
///     CCS(N)>
namespace postkite::analyse {

struct ForumLogResult {
    bool found = false;     ///< the capture could be opened
    bool complete = false;  ///< every whole message of the capture is stored, and the capture is deleted
};

/// Cuts the capture into messages and appends each that is not there already to the folder of its room, "%s,mes%d".
/// Returns how many were stored; 0 and nothing is said when the file cannot be opened.
///
/// A room's folder is the tree's folder of that name, wherever it is; one that has none gets it at the top level.
/// Messages of a room whose name no folder can have, and of more new rooms than a run makes, go to the Inbox,
/// and the user is told. Where a message cannot be stored the capture stays and the user knows, in an unattended
/// program (`AUTOMODE`) from "error.log" alone; the next run stores what is missing. What is missing of a message
/// that is too long for a mail is in "error.log" too. Lets the windows work; they must not change folders
/// meanwhile.
[[nodiscard]] int AnalyseForumLog(const Analysis& analysis, std::string_view path, ForumLogResult& result);

/// Tells the user how many messages came; says nothing of none, in an unattended program and without result
/// messages.
void ReportForumMessages(const Analysis& analysis, int count);

}  // namespace postkite::analyse
