// Feeds the targets with their seeds and with a number of changed ones, the same every time and with any compiler.
//
//     fuzz_seeds SEEDS INPUTS [TARGET]        every target, or one; SEEDS is the directory that has one for each
//     fuzz_seeds --input TARGET FILE          one input again
//
// An input that breaks a target is left as TARGET.input in the current directory.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/common_interface_defs.h>
#endif

// POSTKITE_FUZZ_TARGETS is a TARGET(name) for each; the function is renamed by the build.
#define TARGET(name) extern "C" int Fuzz_##name(const std::uint8_t* data, std::size_t size);
POSTKITE_FUZZ_TARGETS
#undef TARGET

namespace {

using namespace std::string_view_literals;

using Target = int (*)(const std::uint8_t* data, std::size_t size);

const std::map<std::string_view, Target> kTargets = {
#define TARGET(name) {#name, Fuzz_##name},
    POSTKITE_FUZZ_TARGETS
#undef TARGET
};

/// For the end of the program in the middle of an input, which is all that these are for.
std::string runningTarget;
std::string runningInput;

void KeepInput() {
    const std::string name = runningTarget + ".input";
    std::ofstream(name, std::ios::binary) << runningInput;
    std::fprintf(stderr, "left as %s\n", name.c_str());
}

void Run(std::string_view name, const std::string& input) {
    runningTarget = name;
    runningInput = input;
    kTargets.at(name)(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

std::string Read(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class Mutator {
  public:
    explicit Mutator(const std::vector<std::string>& seeds) : seeds_(&seeds) {}

    std::string Next() {
        std::string input = (*seeds_)[Below(seeds_->size())];
        for (std::size_t changes = 1 + Below(4); changes > 0; --changes)
            Change(input);
        return input;
    }

  private:
    std::size_t Below(std::size_t end) { return end == 0 ? 0 : chance_() % end; }

    void Change(std::string& input) {
        // Bytes that mean something in one of the files or on the line.
        constexpr std::string_view kBytes = "\r\n \0\x01\xFF\x81\\/|>=09AY-x"sv;
        const std::size_t at = Below(input.size());
        const std::size_t count = 1 + Below(std::min<std::size_t>(input.size() - at, 64));
        switch (Below(7)) {
            case 0:
                if (!input.empty()) input[at] = static_cast<char>(chance_());
                break;
            case 1:
                if (!input.empty()) input[at] = kBytes[Below(kBytes.size())];
                break;
            case 2:
                input.insert(at, 1 + Below(3), kBytes[Below(kBytes.size())]);
                break;
            case 3:
                input.erase(at, count);
                break;
            case 4:
                input.insert(Below(input.size()), input.substr(at, count));
                break;
            case 5:
                input.resize(at);
                break;
            default:
                const std::string& other = (*seeds_)[Below(seeds_->size())];
                input.insert(at, other.substr(Below(other.size()), 200));
        }
    }

    const std::vector<std::string>* seeds_;
    std::mt19937 chance_{1};
};

std::size_t RunTarget(std::string_view name, const std::filesystem::path& directory, std::size_t inputs) {
    std::set<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(directory))
        paths.insert(entry.path());
    std::vector<std::string> seeds;
    for (const std::filesystem::path& path : paths)
        seeds.push_back(Read(path));
    for (const std::string& seed : seeds)
        Run(name, seed);
    Mutator mutator(seeds);
    for (std::size_t count = 0; count < inputs && !seeds.empty(); ++count)
        Run(name, mutator.Next());
    return seeds.empty() ? 0 : seeds.size() + inputs;
}

}  // namespace

int main(int argumentCount, char** argumentList) {
    const std::vector<std::string> arguments(argumentList + 1, argumentList + argumentCount);
    std::signal(SIGABRT, [](int) {
        KeepInput();
        std::_Exit(EXIT_FAILURE);
    });
#if defined(__SANITIZE_ADDRESS__)
    __sanitizer_set_death_callback(KeepInput);
#endif
    if (arguments.size() == 3 && arguments[0] == "--input") {
        Run(arguments[1], Read(arguments[2]));
        return EXIT_SUCCESS;
    }
    if (arguments.size() < 2) return EXIT_FAILURE;
    for (const auto& [name, target] : kTargets) {
        if (arguments.size() > 2 && arguments[2] != name) continue;
        const std::size_t runs = RunTarget(name, std::filesystem::path(arguments[0]) / name,
                                           static_cast<std::size_t>(std::stoul(arguments[1])));
        std::printf("%s %zu\n", std::string(name).c_str(), runs);
        std::fflush(stdout);
        if (runs == 0) return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
