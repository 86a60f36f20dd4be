// What the operations on a folder cost, in CPU time, with 1,000 to 100,000 mails of 2.5 KB each, beside plain copying of the
// folder's two files. Everything lies in a temporary directory and is gone afterwards.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "bench/silent_user_interface.h"
#include "core/system_clock.h"
#include "core/system_file_system.h"
#include "core/time_stamp.h"
#include "store/folder_commands.h"
#include "store/mailbox.h"

namespace {

using namespace postkite;

store::MailRecord MakeMail() {
    store::MailRecord record;
    record.flags = store::kReceivedMailFlags;
    record.address = "ABC00123";
    record.name = "Taro";
    record.date = "97/01/23 12:34";
    record.subject = "Re: the modem";
    constexpr std::size_t kBodyBytes = 2200;
    while (record.body.size() < kBodyBytes)
        record.body += "It has been raining here since the day before yesterday.\r\n";
    return record;
}

/// A mailbox in a directory of its own. Folders of a size are made once and copied for each use.
class Laboratory {
  public:
    Laboratory()
        : workspace_(fileSystem_, MakeDirectory()),
          identifiers_(clock_),
          mailbox_(workspace_, workspace_, ui_, clock_, identifiers_) {
        mailbox_.SetBankDirectory("Box");
        std::filesystem::create_directories(workspace_.root() / "Box");
        std::filesystem::create_directories(workspace_.root() / "Setting");
    }
    Laboratory(const Laboratory&) = delete;
    Laboratory& operator=(const Laboratory&) = delete;
    ~Laboratory() { std::filesystem::remove_all(workspace_.root()); }

    [[nodiscard]] store::Mailbox& mailbox() { return mailbox_; }
    [[nodiscard]] std::filesystem::path PathOf(const std::string& name) const {
        return workspace_.root() / "Box" / name;
    }

    /// A folder of that many mails that nobody changes.
    std::string Original(std::int64_t mails) {
        const std::string name = "Original" + std::to_string(mails);
        if (!std::filesystem::exists(PathOf(name + ".loc"))) Fill(name, mails);
        return name;
    }

    void Fill(const std::string& folder, std::int64_t mails) {
        const auto writer = mailbox_.OpenWriter(folder);
        store::MailRecord mail = MakeMail();
        for (std::int64_t number = 0; number < mails; ++number) {
            if (mailbox_.AppendTo(*writer, mail) < 0) std::abort();
        }
        if (mailbox_.Commit(*writer, folder) < 0) std::abort();
    }

    /// A fresh copy, to be changed.
    std::string Copy(std::int64_t mails) {
        const std::string original = Original(mails);
        CopyFiles(original, "Copy");
        return "Copy";
    }

    void CopyFiles(const std::string& from, const std::string& to) {
        for (const char* extension : {".loc", ".mtx"}) {
            std::filesystem::copy_file(PathOf(from + extension), PathOf(to + extension),
                                       std::filesystem::copy_options::overwrite_existing);
        }
    }

    void Remove(const std::string& folder) {
        for (const char* extension : {".loc", ".mtx"})
            std::filesystem::remove(PathOf(folder + extension));
    }

  private:
    static std::filesystem::path MakeDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "postkite-bench-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        return pattern;
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

void Append(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    for (auto _ : state) {
        laboratory.Fill("Appended", state.range(0));
        state.PauseTiming();
        laboratory.Remove("Appended");
        state.ResumeTiming();
    }
}

void List(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Original(state.range(0));
    for (auto _ : state) {
        store::FolderReader reader;
        if (reader.Open(laboratory.mailbox().FilesOf(folder)) < 0) std::abort();
        store::MailListEntry entry;
        int number = 0;
        while (reader.ReadListEntry(number, entry) == 0)
            ++number;
        if (number != state.range(0)) std::abort();
        benchmark::DoNotOptimize(entry);
    }
}

void FirstScreen(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Original(state.range(0));
    constexpr int kRows = 50;
    for (auto _ : state) {
        store::FolderReader reader;
        if (reader.Open(laboratory.mailbox().FilesOf(folder)) < 0) std::abort();
        store::MailListEntry entry;
        for (int number = 0; number < kRows; ++number) {
            if (reader.ReadListEntry(number, entry) < 0) std::abort();
        }
        benchmark::DoNotOptimize(reader.CountMails());
    }
}

void FindTheLast(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Original(state.range(0));
    const int last = static_cast<int>(state.range(0)) - 1;
    store::MailListEntry entry;
    if (laboratory.mailbox().ReadListEntry(folder, last, entry) < 0) std::abort();
    for (auto _ : state) {
        if (laboratory.mailbox().FindMail(folder, entry.localId.view()) != last) std::abort();
    }
}

void FlagAThousand(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Copy(state.range(0));
    const int step = static_cast<int>(state.range(0) / 1000);
    for (auto _ : state) {
        const int marked = laboratory.mailbox().MarkMany(folder, [step](store::FolderMarker& marker) {
            for (int number = 0; number < 1000; ++number) {
                const int result = marker.SetFlag(number * step, store::flag::kRead, 'R');
                if (result < 0) return result;
            }
            return 0;
        });
        if (marked < 0) std::abort();
    }
    laboratory.Remove(folder);
}

void TrashATenth(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    std::vector<int> numbers(static_cast<std::size_t>(state.range(0)) / 10);
    for (std::size_t index = 0; index < numbers.size(); ++index)
        numbers[index] = static_cast<int>(index) * 10;
    for (auto _ : state) {
        state.PauseTiming();
        laboratory.Remove("Trash");
        const std::string folder = laboratory.Copy(state.range(0));
        store::Folders folders(laboratory.mailbox(), {});
        state.ResumeTiming();
        if (folders.MoveMailsToTrash(folder, numbers) < 0) std::abort();
    }
    laboratory.Remove("Trash");
}

void Compact(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    for (auto _ : state) {
        state.PauseTiming();
        const std::string folder = laboratory.Copy(state.range(0));
        state.ResumeTiming();
        if (laboratory.mailbox().CompactText(folder, [] {}) < 0) std::abort();
    }
    laboratory.Remove("Copy");
}

/// The peer of all of them: `cp` of index and text.
void PlainCopy(benchmark::State& state) {
    Laboratory& laboratory = TheLaboratory();
    const std::string folder = laboratory.Original(state.range(0));
    for (auto _ : state) {
        laboratory.CopyFiles(folder, "Plain");
    }
    laboratory.Remove("Plain");
}

void Sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(Append)->Apply(Sizes);
BENCHMARK(List)->Apply(Sizes);
BENCHMARK(FirstScreen)->Apply(Sizes);
BENCHMARK(FindTheLast)->Apply(Sizes);
BENCHMARK(FlagAThousand)->Apply(Sizes);
BENCHMARK(TrashATenth)->Apply(Sizes);
BENCHMARK(Compact)->Apply(Sizes);
BENCHMARK(PlainCopy)->Apply(Sizes);

}  // namespace
