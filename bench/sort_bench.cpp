// What sorting a folder of 2.5 KB mails by rules costs, in CPU time, with a tenth of the mails moving, all of them and
// none, beside plain copying of the folder's two files and a plain search for each rule's text. Everything lies in a
// temporary directory and is gone afterwards.
//
// The arguments are mails and rules. A rule in four looks at bodies, the others at all other parts of a mail.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "bench/silent_user_interface.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "core/time_stamp.h"
#include "organise/sorter.h"

namespace {

using namespace postkite;
using organise::kRuleFields;

/// What a tenth of the subjects hold, and what every address does.
constexpr const char* kRare = "weekly report";
constexpr const char* kEverywhere = "ABC";

class Words {
  public:
    Words() {
        constexpr int kWords = 3000;
        constexpr std::string_view kLetters = "etaoinshrdlucmfwypvbgkjqxz";
        for (int number = 0; number < kWords; ++number) {
            std::string word;
            for (unsigned letters = 2 + random_() % 8; letters > 0; --letters)
                word += kLetters[std::min(random_() % kLetters.size(), random_() % kLetters.size())];
            words_.push_back(word + ' ');
        }
    }
    const std::string& Next() { return words_[random_() % words_.size()]; }

  private:
    std::mt19937 random_{1};
    std::vector<std::string> words_;
};

enum class Moving { None, ATenth, All };

std::vector<organise::SortingRule> MakeRules(std::int64_t count, Moving moving) {
    std::vector<organise::SortingRule> rules;
    for (std::int64_t number = 0; number < count; ++number) {
        organise::SortingRule rule;
        rule.field = kRuleFields[static_cast<std::size_t>(number) % kRuleFields.size()];
        if (number % 4 == 3) rule.field = kRuleFields.back();
        rule.text = "news" + std::to_string(number) + ".example";
        rule.folder = number % 2 == 0 ? "Work" : "Friends";
        rules.push_back(rule);
    }
    if (moving == Moving::ATenth) rules[3] = {true, false, "", "Subject:", kRare, "Work"};
    if (moving == Moving::All) rules.back() = {true, false, "", "Address:", kEverywhere, "Work"};
    return rules;
}

class Laboratory {
  public:
    Laboratory()
        : workspace_(fileSystem_, MakeDirectory()),
          identifiers_(clock_),
          mailbox_(workspace_, workspace_, ui_, clock_, identifiers_) {
        mailbox_.SetBankDirectory("Box");
        for (const char* directory : {"Box", "Setting"})
            std::filesystem::create_directories(workspace_.root() / directory);
        std::ofstream(PathOf("MailBoxInfo.ini")) << "00Desktop\r\n01Inbox/0\r\n01Work/0\r\n01Friends/0\r\n";
    }
    Laboratory(const Laboratory&) = delete;
    Laboratory& operator=(const Laboratory&) = delete;
    ~Laboratory() { std::filesystem::remove_all(workspace_.root()); }

    [[nodiscard]] std::filesystem::path PathOf(const std::string& name) const {
        return workspace_.root() / "Box" / name;
    }

    /// Makes the Inbox anew from a folder of that many mails.
    void FillInbox(std::int64_t mails) {
        const std::string original = Original(mails);
        CopyFiles(original, "Inbox");
        for (const char* target : {"Work", "Friends"}) {
            for (const char* extension : {".loc", ".mtx"})
                std::filesystem::remove(PathOf(std::string(target) + extension));
        }
    }

    /// The name of a folder of that many mails that nobody changes.
    std::string Original(std::int64_t mails) {
        const std::string name = "Original" + std::to_string(mails);
        if (std::filesystem::exists(PathOf(name + ".loc"))) return name;
        const auto writer = mailbox_.OpenWriter(name);
        Words words;
        for (std::int64_t number = 0; number < mails; ++number) {
            store::MailRecord mail = MakeMail(words, number);
            if (mailbox_.AppendTo(*writer, mail) < 0) std::abort();
        }
        if (mailbox_.Commit(*writer, name) < 0) std::abort();
        return name;
    }

    void CopyFiles(const std::string& from, const std::string& to) {
        for (const char* extension : {".loc", ".mtx"}) {
            std::filesystem::copy_file(PathOf(from + extension), PathOf(to + extension),
                                       std::filesystem::copy_options::overwrite_existing);
        }
    }

    int Sort(const std::vector<organise::SortingRule>& rules) {
        if (organise::SaveRules(workspace_, organise::kRuleFile, rules).result < 0) std::abort();
        store::Folders folders(mailbox_, {});
        if (folders.LoadFolderTree() < 0) std::abort();
        const core::Settings settings;
        organise::Sorter sorter(settings, folders, mailbox_, ui_);
        return sorter.SortInbox("Inbox", store::MailEditing::No);
    }

  private:
    static std::filesystem::path MakeDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        return pattern;
    }

    static store::MailRecord MakeMail(Words& words, std::int64_t number) {
        constexpr std::size_t kBodyBytes = 2200;
        store::MailRecord mail;
        mail.flags = store::kReceivedMailFlags;
        mail.address = kEverywhere + std::to_string(number % 1000);
        mail.name = "Taro";
        mail.date = "97/01/23 12:34";
        mail.subject = number % 10 == 0 ? kRare : "Re: " + words.Next() + words.Next();
        while (mail.body.size() < kBodyBytes) {
            for (int word = 0; word < 12; ++word)
                mail.body += words.Next();
            mail.body += "\r\n";
        }
        return mail;
    }

    core::SystemFileSystem fileSystem_;
    core::SystemClock clock_;
    bench::SilentUserInterface ui_;
    core::Workspace workspace_;
    core::IdentifierMaker identifiers_;
    store::Mailbox mailbox_;
};

Laboratory& TheLaboratory() {
    static Laboratory laboratory;
    return laboratory;
}

void Sort(benchmark::State& state, Moving moving) {
    Laboratory& laboratory = TheLaboratory();
    const std::vector<organise::SortingRule> rules = MakeRules(state.range(1), moving);
    const std::int64_t expected = moving == Moving::None     ? 0
                                  : moving == Moving::ATenth ? state.range(0) / 10
                                                             : state.range(0);
    for (auto _ : state) {
        state.PauseTiming();
        laboratory.FillInbox(state.range(0));
        state.ResumeTiming();
        if (laboratory.Sort(rules) != expected) std::abort();
    }
}

/// The peer of all of them: `cp` of index and text.
void PlainCopy(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Original(state.range(0));
    for (auto _ : state)
        laboratory.CopyFiles(folder, "Plain");
}

/// The peer of looking at the mails: each rule's text looked for in the folder's text, which is in memory already.
void PlainSearch(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    std::ifstream file(laboratory.PathOf(laboratory.Original(state.range(0)) + ".mtx"), std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::vector<organise::SortingRule> rules = MakeRules(state.range(1), Moving::None);
    for (auto _ : state) {
        for (const organise::SortingRule& rule : rules) {
            if (memmem(text.data(), text.size(), rule.text.data(), rule.text.size()) != nullptr) std::abort();
        }
    }
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Args({100000, 20})->Args({200000, 20})->Args({100000, 100})->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(Sort, NoneMoves, Moving::None)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, ATenthMoves, Moving::ATenth)->Apply(Sizes);
BENCHMARK_CAPTURE(Sort, AllMove, Moving::All)->Apply(Sizes);
BENCHMARK(PlainCopy)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(PlainSearch)->Args({100000, 20})->Unit(benchmark::kMillisecond);

}  // namespace
