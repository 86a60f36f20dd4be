#include "core/settings_file.h"

#include <memory>

#include "core/line_reader.h"
#include "core/settings_table.h"

namespace postkite::core {

namespace {

using Kind = SettingLine::Kind;

std::int32_t ToolBarHeight(ToolBarStyle style) {
    return style == ToolBarStyle::Bands ? 100 : 39;
}

void TakeLine(const SettingLine& line, std::string_view text, Settings& settings) {
    text = text.substr(0, text.find('\0'));
    const std::size_t equals = text.find('=');  // which is never a trail byte
    // The program never wrote a line without "="; whoever did gave no value.
    if (equals == std::string_view::npos) return;
    const std::string_view value = text.substr(equals + 1);
    if (line.kind == Kind::Integer) {
        line.integer(settings) = ParseInteger(value);
    } else {
        line.text(settings) = ValueOfLine(value, line.longestText, line.kind == Kind::Secret);
    }
}

}  // namespace

int ReadSettingLines(File& file, Settings& settings, Corrections corrections) {
    LineReader reader(file, kLongestPositionalLine);
    std::string text;
    for (const SettingLine& line : SettingLines()) {
        if (ReadLogLine(reader, text) < 0) break;
        TakeLine(line, text, settings);
        if (corrections == Corrections::Made && line.correct != nullptr) line.correct(settings);
    }
    return reader.error();
}

LoadOutcome LoadSettings(const Workspace& workspace, Settings& settings, Environments& environments,
                         ToolBarStyle style) {
    DefaultEnvironments(environments);
    LoadOutcome outcome;
    std::unique_ptr<File> file;
    outcome.settings = workspace.Open(kSettingsFile, OpenMode::Read, file);
    if (outcome.settings < 0) return outcome;
    outcome.settings = ReadSettingLines(*file, settings, Corrections::Made);
    file.reset();
    settings.toolBarHeight = settings.toolBarFlag == 1 ? ToolBarHeight(style) : 0;
    outcome.environments = LoadEnvironments(workspace, environments, settings);
    outcome.hostEntries = LoadHostEntries(workspace, environments.hostEntries);
    return outcome;
}

std::string FormatSettings(Settings settings) {
    std::string output;
    for (const SettingLine& line : SettingLines()) {
        output += line.key;
        output += '=';
        if (line.kind == Kind::Integer) {
            output += std::to_string(line.integer(settings)) + "\r\n";
        } else {
            AppendValue(output, line.text(settings), line.kind == Kind::Secret);
        }
    }
    return output;
}

SaveOutcome SaveSettings(Workspace& workspace, Settings& settings, const BandLayout* bands) {
    if (bands != nullptr) {
        settings.bandWidth = bands->widths;
        settings.bandRow = bands->rows;
        settings.bandOrder = bands->order;
        settings.bandOrderFlag = bands->orderFlag;
    }
    if (settings.savePassword == 0) settings.userPassword.clear();
    return ReplacePositionalFile(workspace, kSettingsFile, FormatSettings(settings), [](File& old) {
        Settings understood;
        // What cannot be read is missing from the result, and so the file counts as holding more. A value
        // that was corrected on purpose is no loss.
        static_cast<void>(ReadSettingLines(old, understood, Corrections::None));
        return FormatSettings(std::move(understood));
    });
}

}  // namespace postkite::core
