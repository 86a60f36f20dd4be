#include "cli/completion.h"

#include <CLI/CLI.hpp>

namespace postkite::cli {

namespace {

std::vector<const CLI::App*> Subcommands(const CLI::App& command) {
    return command.get_subcommands([](const CLI::App*) { return true; });
}

const CLI::App* FindSubcommand(const CLI::App& command, const std::string& name) {
    for (const CLI::App* below : Subcommands(command)) {
        if (below->get_name() == name) return below;
    }
    return nullptr;
}

bool TakesValue(const CLI::App& command, const CLI::App& application, const std::string& word) {
    for (const CLI::App* app : {&command, &application}) {
        const CLI::Option* option = app->get_option_no_throw(word);
        if (option != nullptr) return option->get_items_expected_max() > 0;
    }
    return false;
}

void AddOptions(const CLI::App& app, std::vector<std::string>& candidates) {
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames()) {
            candidates.push_back("--" + name);
        }
    }
}

}  // namespace

std::vector<std::string> Complete(const CLI::App& application, const CommandContext& context,
                                  const std::vector<std::string>& words) {
    const CLI::App* command = &application;
    std::vector<std::string> values;
    const std::string typed = words.empty() ? std::string() : words.back();
    for (std::size_t at = 0; at + 1 < words.size(); ++at) {
        const std::string& word = words[at];
        if (word.starts_with("-")) {
            if (TakesValue(*command, application, word)) ++at;
            if (at + 1 >= words.size()) return {};
        } else if (const CLI::App* below = FindSubcommand(*command, word); below != nullptr) {
            command = below;
        } else {
            values.push_back(word);
        }
    }

    std::vector<std::string> candidates;
    if (typed.starts_with("-")) {
        AddOptions(*command, candidates);
        if (command != &application) AddOptions(application, candidates);
    } else {
        for (const CLI::App* below : Subcommands(*command)) {
            candidates.push_back(below->get_name());
        }
        const auto completer = context.completers.find(command);
        if (completer != context.completers.end()) {
            const auto more = completer->second(values);
            candidates.insert(candidates.end(), more.begin(), more.end());
        }
    }
    std::erase_if(candidates, [&typed](const std::string& word) { return !word.starts_with(typed); });
    return candidates;
}

}  // namespace postkite::cli
