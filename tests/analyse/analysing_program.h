#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "analyse/analysis.h"
#include "analyse/mail_log.h"
#include "store/folder_commands.h"
#include "tests/store/mailbox_program.h"

namespace postkite::analyse {

using support::MemoryFileSystem;

/// A program whose mails come from captures, with the bank "Bank" open.
struct AnalysingProgram : store::MailboxProgram {
    explicit AnalysingProgram(MemoryFileSystem& disk) : MailboxProgram(disk) {
        static_cast<void>(folders.LoadFolderTree());
    }

    store::Folders folders{mailbox, {}};
    core::Settings settings;
    Analysis analysis{workspace, settings, mailbox, folders, ui, clock, "Inbox"};
    MailLogResult result;

    int Analyse(std::string_view path = "maillog.txt") { return AnalyseMailLog(analysis, path, result); }
};

constexpr const char* kCapturePath = "/mail/maillog.txt";
constexpr const char* kPartPath = "/mail/maillog.txt.part";
constexpr std::string_view kPrompt = "  action:DELETE\r\n";

/// The host's header line with its line end.
inline std::string HeaderLine(std::string_view name = "YAMADA TARO", std::string_view id = "ABC01234") {
    std::string line(40, ' ');
    line.replace(2, 1, "1").replace(4, name.size(), name).replace(22, id.size(), id);
    return line + "97/01/23 12:34\r\n";
}

/// A mail as the host shows it, up to its question.
inline std::string Captured(std::string_view subject, std::string_view body) {
    return HeaderLine() + "subject:  " + std::string(subject) + "\r\n" + std::string(body) +
           std::string(kPrompt);
}

/// The same as `MailboxProgram::Mails` shows it.
inline std::string Stored(std::string_view subject, std::string_view body) {
    return std::string(subject) + ": " + HeaderLine() + "subject:  " + std::string(subject) + "\r\n" +
           std::string(body);
}

}  // namespace postkite::analyse
