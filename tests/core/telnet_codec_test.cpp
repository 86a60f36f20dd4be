#include "core/telnet_codec.h"

#include <gtest/gtest.h>

namespace postkite::core {
namespace {

/// Bytes in words: "a DO 0 IAC" and so on; a single sign is itself, a number a byte.
std::string Bytes(std::string_view words) {
    static const std::pair<std::string_view, int> kNames[] = {
        {"IAC", 255}, {"DONT", 254}, {"DO", 253},  {"WONT", 252}, {"WILL", 251},
        {"SB", 250},  {"SE", 240},   {"NOP", 241}, {"CR", 13},    {"LF", 10},
        {"NUL", 0},   {"BINARY", 0}, {"ECHO", 1},  {"SGA", 3},    {"TTYPE", 24}};
    std::string bytes;
    while (!words.empty()) {
        const std::string_view word = words.substr(0, words.find(' '));
        words.remove_prefix(std::min(word.size() + 1, words.size()));
        const auto* const name = std::find_if(std::begin(kNames), std::end(kNames),
                                              [word](const auto& named) { return named.first == word; });
        const bool isWord = name != std::end(kNames);
        if (isWord && name->second >= 250 && name->second <= 254) bytes += '\xFF';
        bytes += isWord ? static_cast<char>(name->second) : word.front();
    }
    return bytes;
}

struct Heard {
    std::string data;
    std::string answers;
};

Heard Hear(TelnetCodec& codec, std::string_view bytes, std::size_t piece) {
    Heard heard;
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        std::string part(bytes.substr(at, piece));
        part.resize(codec.Decode(part, heard.answers));
        heard.data += part;
    }
    return heard;
}

TEST(TelnetCodecTest, WhatComesInWhereverItIsCut) {
    struct Case {
        const char* received;
        const char* data;
        const char* answers;
    };
    const Case cases[] = {
        {"a IAC IAC b", "a IAC b", ""},
        {"a IAC NOP b", "a b", ""},
        {"a CR NUL b CR LF c CR d NUL e", "a CR b CR LF c CR d NUL e", ""},
        {"CR IAC NOP NUL a", "CR a", ""},
        // Refused once, until the wish is taken back.
        {"DO TTYPE DO TTYPE a", "a", "WONT TTYPE"},
        {"DO TTYPE DONT TTYPE DO TTYPE", "", "WONT TTYPE WONT TTYPE"},
        {"WILL ECHO WILL ECHO", "", "DONT ECHO"},
        {"DONT TTYPE WONT ECHO", "", ""},
        {"DO ECHO", "", "WONT ECHO"},
        // Taken, with the other direction of binary transmission.
        {"WILL SGA WILL SGA DO SGA", "", "DO SGA WILL SGA"},
        {"DO BINARY CR NUL", "CR", "WILL BINARY DO BINARY"},
        {"WILL BINARY CR NUL IAC IAC", "CR NUL IAC", "DO BINARY WILL BINARY"},
        {"WILL BINARY DO BINARY WILL BINARY DO BINARY", "", "DO BINARY WILL BINARY"},
        {"WILL BINARY DONT BINARY WONT BINARY CR NUL", "CR", "DO BINARY WILL BINARY DONT BINARY"},
        {"DO BINARY DONT BINARY DO BINARY DONT BINARY", "",
         "WILL BINARY DO BINARY WONT BINARY WILL BINARY WONT BINARY"},
        // Subnegotiations, also one with a doubled byte and one whose end is missing.
        {"a SB TTYPE 1 IAC IAC NUL IAC SE b", "a b", ""},
        {"SB TTYPE x x x DO TTYPE a", "a", "WONT TTYPE"},
    };
    for (const Case& line : cases) {
        const std::string received = Bytes(line.received);
        for (std::size_t piece = 1; piece <= received.size(); ++piece) {
            TelnetCodec codec;
            const Heard heard = Hear(codec, received, piece);
            EXPECT_EQ(heard.data, Bytes(line.data)) << line.received << " in pieces of " << piece;
            EXPECT_EQ(heard.answers, Bytes(line.answers)) << line.received << " in pieces of " << piece;
        }
    }
}

TEST(TelnetCodecTest, WhatGoesOut) {
    struct Case {
        const char* agreed;
        const char* data;
        const char* line;
    };
    const Case cases[] = {
        {"", "a IAC b", "a IAC IAC b"},
        {"", "a CR b CR LF CR", "a CR NUL b CR LF CR NUL"},
        {"DO BINARY", "a CR IAC", "a CR IAC IAC"},
        {"WILL BINARY", "CR", "CR NUL"},  // agreed for the other direction alone
        {"WILL BINARY DO BINARY", "CR", "CR"},
        {"DO BINARY DONT BINARY", "CR", "CR NUL"},
    };
    for (const Case& one : cases) {
        TelnetCodec codec;
        static_cast<void>(Hear(codec, Bytes(one.agreed), 1));
        std::string line;
        codec.Encode(Bytes(one.data), line);
        EXPECT_EQ(line, Bytes(one.line)) << one.agreed << ": " << one.data;
    }
}

TEST(TelnetCodecTest, TwoEndsAgreeAndFallSilent) {
    // A host that begins and one that waits; and an end that sends back whatever it gets.
    for (const bool begins : {true, false}) {
        TelnetCodec host(true);
        TelnetCodec client;
        std::string toClient = begins ? host.Offer() : Bytes("WILL BINARY");
        int rounds = 0;
        for (std::string toHost; !toClient.empty() && rounds < 10; ++rounds) {
            toHost = Hear(client, toClient, 2).answers;
            toClient = Hear(host, toHost, 3).answers;
        }
        EXPECT_LT(rounds, 4);
        EXPECT_TRUE(client.sendsBinary() && client.receivesBinary());
        EXPECT_TRUE(host.sendsBinary() && host.receivesBinary());

        TelnetCodec mirrored(begins);
        std::string back = mirrored.Offer();
        for (rounds = 0; !back.empty() && rounds < 10; ++rounds)
            back = Hear(mirrored, back, 1).answers;
        EXPECT_LT(rounds, 4);
    }
}

}  // namespace
}  // namespace postkite::core
