#include <csignal>
#include <string>
#include <vector>

#include "cli/application.h"
#include "core/system_file_system.h"

int main(int argumentCount, char** arguments) {
    // A limit on the size of files is an error of the write, not the end of the program in the middle of it.
    std::signal(SIGXFSZ, SIG_IGN);
    postkite::core::SystemFileSystem fileSystem;
    postkite::cli::Console console = postkite::cli::SystemConsole();
    const std::vector<std::string> words(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
    return postkite::cli::RunPostkite(words, fileSystem, console);
}
