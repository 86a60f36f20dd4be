#pragma once

namespace CLI {
class App;
}

namespace postkite::cli {

class CommandContext;

/// `postkite demo`: one connection with a practice host of its own, to watch.
void AddDemoCommand(CLI::App& application, CommandContext& context);

}  // namespace postkite::cli
