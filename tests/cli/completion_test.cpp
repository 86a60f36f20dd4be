#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/command_line.h"

namespace postkite::cli {
namespace {

std::vector<std::string> Candidates(std::vector<std::string> words) {
    support::MemoryFileSystem files;
    words.insert(words.begin(), {"complete", "--"});
    std::istringstream lines(support::RunPostkite(files, words).out);
    std::vector<std::string> candidates;
    for (std::string line; std::getline(lines, line);) {
        candidates.push_back(line);
    }
    return candidates;
}

using Words = std::vector<std::string>;

TEST(Completion, KnowsCommandsOptionsAndValues) {
    EXPECT_EQ(Candidates({"se"}), (Words{"settings", "session"}));
    EXPECT_EQ(Candidates({"settings", ""}), (Words{"get", "set"}));
    EXPECT_EQ(Candidates({"settings", "get", "MAIL W"}),
              (Words{"MAIL WINDOW LEFT", "MAIL WINDOW TOP", "MAIL WINDOW WIDTH", "MAIL WINDOW HIGH"}));
    EXPECT_EQ(Candidates({"settings", "get", "起動時パ"}), Words{"起動時パスワード"});
    EXPECT_EQ(Candidates({"settings", "set", "REDIAL", ""}), Words{});
    EXPECT_EQ(Candidates({"environments", "switch", ""}).size(), 10U);
    EXPECT_EQ(Candidates({"environments", "set", "3", "user=x", "mo"}), Words{"modem="});
    EXPECT_EQ(Candidates({"environments", "--show"}), Words{"--show-passwords"});
    EXPECT_EQ(Candidates({"--dir", "x", "--json", "settings", "s"}), Words{"set"});
    EXPECT_EQ(Candidates({"--dir", ""}), Words{}) << "a directory: the shell knows those better";
    EXPECT_EQ(Candidates({"nonsense", "--nonsense", "x"}), Words{});
}

}  // namespace
}  // namespace postkite::cli
