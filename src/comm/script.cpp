#include "comm/script.h"

#include <algorithm>

#include "core/shift_jis.h"

namespace postkite::comm {

namespace {

constexpr std::string_view kEnd = "END";

// clang-format off
constexpr std::array<std::string_view, kScriptCommands> kCommandNames = {
    "SEND_GOMAIL", "CLEAR_RING_BUF", "WAIT_NEXT_LIST", "WAIT_CONNECTIONID", "MODEM_INIT", "CHECK_NEW_MAIL",
    "CHECK_SENDLOGF", "LOGOFF", "LOGON", "CHECK_SENDMAIL", "DELETE_MAIL", "DOWN_MAIL", "RELJUMP",
    "SET_VOL", "SET_ATM", "WAIT_OSIRASE", "WAIT", "WAIT_FORUM", "WAIT_TOP", "WAIT2", "WAIT3",
    "WAIT_CONNECT", "SEND", "SEND_ID", "SEND_DIAL", "SEND_PASSWORD", "WAIT_TIME", "READ_ID", "READ_VANID",
    "SEND_DID", "UPLOAD_HEADER", "READ_MES_TO", "READ_FILE_FAST", "READ_FILE", "CHKSMAIL", "SEND_FBUF",
    "GOTO", "UPLOAD_FBUF", "WAIT_ACTION", "WAIT_SP1", "END", "MAIL_LOG_ON", "MAIL_LOG_OFF",
    "CHECK_SEND_END", "CASE_FENICS", "LIBLOGON", "LIBLOGOFF", "MESLOGON", "MESLOGOFF", "CHECKFORUM",
    "GOTOFORUM", "GOTOFORUML", "GOTOFORUMD", "GOTOMES", "WRITEMESLASTACCESS", "GOTOLIB", "GOTODOWNLIB",
    "DOLIST", "DODOWN", "WAITCCS", "SENDFILENAME", "CHECKDOWNEND", "WAIT05", "WAITKOUMOKU", "BINUP",
    "SENDUPLOADFILENAME", "SENDBINID", "WAITLIST", "BINLISTON", "BINLISTOFF", "SENDBINMAILFNAME",
    "HOSOKULOGON", "HOSOKULOGOFF",
};
// clang-format on

char SeparatorOf(std::string_view fenicsLoad) {
    return fenicsLoad == "4" || fenicsLoad == "5" ? '@' : ',';
}

}  // namespace

ScriptFields SplitLine(std::string_view line, std::string_view fenicsLoad) {
    const char separator = SeparatorOf(fenicsLoad);
    const std::size_t afterFirst = line.empty() ? 0 : core::CharacterLength(line, 0);
    const std::size_t commandEnd = core::FindCharacter(line, separator, afterFirst);
    ScriptFields fields{.command = line.substr(0, commandEnd), .first = {}, .second = {}};
    if (commandEnd == std::string_view::npos) return fields;
    const std::string_view arguments = line.substr(commandEnd + 1);
    const std::size_t firstEnd = core::FindCharacter(arguments, separator);
    fields.first = arguments.substr(0, firstEnd);
    if (firstEnd != std::string_view::npos) fields.second = arguments.substr(firstEnd + 1);
    return fields;
}

std::span<const std::string_view> CommandNames() {
    return kCommandNames;
}

bool EndsScript(std::string_view line) {
    return line.starts_with(kEnd);
}

bool HasLogOffLine(const ScriptLines& lines) {
    return !lines[kLogOffLine].empty() &&
           std::none_of(lines.begin(), lines.begin() + kLogOffLine, EndsScript);
}

bool ReadsSendQueue(const ScriptLines& lines, std::string_view fenicsLoad) {
    constexpr auto kReading =
        std::to_array<std::string_view>({"READ_FILE_FAST", "READ_FILE", "READ_ID", "READ_VANID",
                                         "READ_MES_TO", "CHKSMAIL", "CHECK_SENDMAIL"});
    return std::any_of(lines.begin(), lines.end(), [fenicsLoad, &kReading](const std::string& line) {
        return !line.empty() && std::find(kReading.begin(), kReading.end(),
                                          SplitLine(line, fenicsLoad).command) != kReading.end();
    });
}

BuiltInScript ChooseScript(const core::Settings& settings) {
    if (settings.fenicsLoad == "1") return settings.forumName.empty() ? BuiltInScript::C : BuiltInScript::D;
    return settings.forumName.empty() ? BuiltInScript::A : BuiltInScript::B;
}

void WorkingScript::Load(const ScriptLines& lines, std::string_view fenicsLoad) {
    for (std::size_t number = 0; number < lines.size(); ++number) {
        lines_[number] = core::CutToBytes(lines[number], kLongestScriptLine);
        if (EndsScript(lines_[number])) break;
    }
    // The names alone: a jump to the empty name still finds the line that an entry had.
    for (Label& label : labels_)
        label.name.clear();
    auto next = labels_.begin();
    for (std::size_t number = 0; number < lines_.size() && next != labels_.end(); ++number) {
        if (EndsScript(lines_[number])) break;
        const std::string_view command = SplitLine(lines_[number], fenicsLoad).command;
        if (!command.starts_with('*')) continue;
        next->name = core::CutToBytes(command, kLongestLabel);
        next->line = static_cast<std::int32_t>(number);
        ++next;
    }
}

int WorkingScript::LineOf(std::string_view label) const {
    const auto found = std::find_if(labels_.begin(), labels_.end(),
                                    [label](const Label& entry) { return entry.name == label; });
    return found == labels_.end() ? -1 : found->line;
}

}  // namespace postkite::comm
