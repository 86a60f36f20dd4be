#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/shift_jis.h"
#include "organise/sorter.h"
#include "tests/store/mailbox_program.h"

namespace postkite::organise {

using store::MailRecord;
using support::MemoryFileSystem;

constexpr const char* kRulePath = "/mail/Setting/filter.ini";
constexpr const char* kTree =
    "00Desktop\r\n01Inbox/0\r\n01Outbox/0\r\n01Trash/0\r\n01Work/0\r\n0297/0\r\n01Friends/0\r\n";

/// A program on the files of a disk, with its tree loaded.
struct SortingProgram : store::MailboxProgram {
    explicit SortingProgram(MemoryFileSystem& disk) : store::MailboxProgram(disk) {
        EXPECT_EQ(folders.LoadFolderTree(), 0);
    }

    core::Settings settings;
    store::Folders folders{mailbox, {}};
    RuleTable rules;
    Sorter sorter{settings, folders, mailbox, ui};

    /// The numbers in the file of the rules that are loaded.
    std::vector<int> Load(int mask = kEnabledRules) {
        EXPECT_EQ(rules.LoadRules(folders, settings, mask), 0);
        std::vector<int> numbers;
        for (const RuleTable::LoadedRule& rule : rules.rules())
            numbers.push_back(rule.number);
        return numbers;
    }
};

inline void PutTree(MemoryFileSystem& disk) {
    disk.Put("/mail/Bank/MailBoxInfo.ini", kTree);
    disk.PutDirectory("/mail/Setting");
    disk.PutDirectory("/state");
}

/// A rule file's five lines.
inline std::string Rule(std::string_view state, std::string_view field, std::string_view text,
                        std::string_view folder, std::string_view name = "name") {
    std::string lines;
    for (const std::string_view line : {state, name, field, text, folder})
        lines += std::string(line) + "\r\n";
    return lines;
}

}  // namespace postkite::organise
