#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

#include "core/shift_jis.h"

namespace postkite::core {
namespace {

constexpr std::size_t kTextBytes = 4 << 20;

/// About 4 MB of Shift-JIS like a mailbox's: runs of ASCII, kana, kanji and half-width katakana, in lines.
/// The runs and the kanji are drawn anew all the way, so that no branch predictor learns them; the same on
/// every machine.
std::string MakeText() {
    constexpr std::string_view kPhrases[] = {
        "こんにちは、"_sjis, "しかしながら"_sjis, "については"_sjis, "メール"_sjis,
        "ネットワーク"_sjis, "です。"_sjis,       "ﾒｰﾙ"_sjis,        "ﾊﾟｿｺﾝ通信"_sjis,
        "ﾃﾞｽﾈ "_sjis,        "Re: "_sjis,         "MAIL> "_sjis,     "1997/01/24 "_sjis,
        "READ ALL, 3"_sjis,  "2400bps"_sjis,      "\r\n"_sjis,       "（笑）\r\n"_sjis,
        " the modem "_sjis,  "ありがとう"_sjis,   "ございます"_sjis, "-----------------\r\n"_sjis,
    };
    std::mt19937 random(932);
    std::string text;
    while (text.size() < kTextBytes) {
        text += kPhrases[random() % std::size(kPhrases)];
        for (std::size_t kanji = random() % 5; kanji > 0; --kanji) {
            text += static_cast<char>(0x89 + random() % 15);
            text += static_cast<char>(0x80 + random() % 125);
        }
    }
    return text;
}

const std::string& Text() {
    static const std::string text = MakeText();
    return text;
}

const std::u8string& TextInUtf8() {
    static const std::u8string text = ToUtf8(Text());
    return text;
}

/// One call of iconv into a new string of `outBytes`, as our functions make one.
std::string Iconv(iconv_t converter, const char* in, std::size_t inBytes, std::size_t outBytes) {
    std::string result(outBytes, '\0');
    char* from = const_cast<char*>(in);
    char* to = result.data();
    if (iconv(converter, &from, &inBytes, &to, &outBytes) == static_cast<std::size_t>(-1)) std::abort();
    result.resize(static_cast<std::size_t>(to - result.data()));
    return result;
}

void ReportBytes(benchmark::State& state, std::size_t bytes) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void ShiftJisToUtf8(benchmark::State& state) {
    while (state.KeepRunning())
        benchmark::DoNotOptimize(ToUtf8(Text()));
    ReportBytes(state, Text().size());
}
BENCHMARK(ShiftJisToUtf8);

void ShiftJisToUtf8Iconv(benchmark::State& state) {
    iconv_t converter = iconv_open("UTF-8", "CP932");
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Iconv(converter, Text().data(), Text().size(), 3 * Text().size()));
    }
    iconv_close(converter);
    ReportBytes(state, Text().size());
}
BENCHMARK(ShiftJisToUtf8Iconv);

void ShiftJisFromUtf8(benchmark::State& state) {
    while (state.KeepRunning())
        benchmark::DoNotOptimize(FromUtf8(TextInUtf8()));
    ReportBytes(state, TextInUtf8().size());
}
BENCHMARK(ShiftJisFromUtf8);

void ShiftJisFromUtf8Iconv(benchmark::State& state) {
    iconv_t converter = iconv_open("CP932", "UTF-8");
    const auto* in = reinterpret_cast<const char*>(TextInUtf8().data());
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(Iconv(converter, in, TextInUtf8().size(), TextInUtf8().size()));
    }
    iconv_close(converter);
    ReportBytes(state, TextInUtf8().size());
}
BENCHMARK(ShiftJisFromUtf8Iconv);

}  // namespace
}  // namespace postkite::core
