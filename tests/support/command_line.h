#pragma once

#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli/application.h"
#include "tests/support/memory_file_system.h"

namespace postkite::support {

/// What a run of `postkite` printed and returned.
struct RunResult {
    int status = 0;
    std::string out;
    std::string err;
};

/// Runs `postkite` in this process, on the given files, with nobody at the terminal and the working directory
/// "/mail". `input` is what standard input gives; `prepare` may change the console.
inline RunResult RunPostkite(MemoryFileSystem& files, std::vector<std::string> arguments,
                             std::map<std::string, std::string> variables = {}, const std::string& input = {},
                             const std::function<void(cli::Console&)>& prepare = {}) {
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    variables.try_emplace("POSTKITE_DIR", "/mail");
    cli::Console console{
        in, out, err, false, false, [&variables](const char* name) -> std::optional<std::string> {
            const auto found = variables.find(name);
            if (found == variables.end() || found->second.empty()) return std::nullopt;
            return found->second;
        }};
    if (prepare) prepare(console);
    const int status = cli::RunPostkite(std::move(arguments), files, console);
    return {status, out.str(), err.str()};
}

}  // namespace postkite::support
