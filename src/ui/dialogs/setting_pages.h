#pragma once

#include <cstdint>
#include <span>

/// Where people find each of the settings: a table of pages, and the settings that are on none.
namespace postkite::ui {

enum class EditorKind {
    CheckBox,  ///< 0 or 1
    Number,    ///< `lowest` to `highest`
    Digits,    ///< the same, kept as a text
    Text,
    Secret,     ///< shown as dots
    NewSecret,  ///< shown as dots, typed twice
    Choice,     ///< one of `choices`
    File,
    Directory,
    SoundFile,
    FontFace,
    FontHeight,
    Colour,       ///< red in the lowest byte, then green and blue
    TwentyFlags,  ///< a text of twenty characters "0" or "1"
};

struct SettingChoice {
    const char* value;  ///< as the file has it
    const char* words;  ///< in the context "SettingPages"
};

/// A setting on a page. Texts are in the context "SettingPages".
struct SettingRow {
    int line;  ///< of the settings file, from 1
    EditorKind editor;
    const char* label;
    int number = 0;  ///< what stands for the label's %1, where it has one
    std::int32_t lowest = 0;
    std::int32_t highest = 0;
    const char* unit = nullptr;
    std::span<const SettingChoice> choices = {};
};

struct SettingPage {
    const char* title;
    std::span<const SettingRow> used;
    /// Kept for other versions; this one does nothing with them, and says so.
    std::span<const SettingRow> keptOnly;
};
[[nodiscard]] std::span<const SettingPage> SettingPages();

/// Settings that stand on no page.
enum class Elsewhere {
    Environments,  ///< in the dialog of the connection environments
    Program,       ///< kept by the program itself
};
struct SettingElsewhere {
    int firstLine;
    int lastLine;
    Elsewhere where;
    const char* what;  ///< for the reader of the table
};
[[nodiscard]] std::span<const SettingElsewhere> SettingsElsewhere();

}  // namespace postkite::ui
