#include "practice/built_in_set.h"

#include <cerrno>
#include <string_view>

namespace postkite::practice {

namespace {

struct BuiltInLetter {
    std::string_view key;
    std::string_view forum;  ///< empty for a mail
    int room;
    std::u8string_view file;  ///< as it would stand in a state directory
};

constexpr std::string_view kDefaultDate = "97/01/23 09:00";

constexpr BuiltInLetter kLetters[] = {
    {"mail 1", "", 0,
     u8R"(Name: 糸巻係
Id: PKT00001
Date: 97/01/20 08:30
Subject: ようこそ

はじめまして。練習用ホストの糸巻係です。

このホストは、電話線のむこうの本物のかわりに、お手元の機械のなかで
動いています。何度つないでも電話代はかかりません。途中で切れても、
だれにも迷惑はかかりません。安心して失敗してください。

読み終えたメールは、「action:」に DELETE と答えると消えます。
消えたものも、ホストを起動しなおせば、また届きます。

それでは、よい風を。
)"},
    {"mail 2", "", 0,
     u8R"(Name: 凪野 ひさし
Id: PKT00021
Date: 97/01/21 22:15
Subject: 日曜の凧あげ

凪野です。

日曜の午後、河原で凧をあげませんか。
天気図を見ると、昼すぎから北西の風が五メートルほど吹きそうです。
六角凧の骨を削りなおしたので、うまくいけば橋より高くあがるはず。

  持ちもの: 手袋、糸巻、あたたかい飲みもの
  集合:     一時、水門の横

来られるかどうか、土曜の夜までに返事をください。
)"},
    {"mail 3", "", 0,
     u8R"(Name: INET GATE
Id: INET#GATE
Date: 97/01/22 03:41
Subject: Tide tables

Message-Id: <9701220340.AA00017@harbour.example>
From: "Mori, Aya" <aya@harbour.example>
To: pkt00099@post.example
Subject: Tide tables

Hisashi tells me that you are going to the river on Sunday.
High tide is at 14:20, so keep to the upper bank after two.

I would come along, but the ferry does not run in winter.

Aya
)"},
    {"mail 4", "", 0,
     u8R"(Name: 海老名 みどり
Id: PKT00034
Date: 97/01/22 19:02
Subject: Re: 糸の長さ

> 百メートルも要るでしょうか。

要ります。というのも、糸はまっすぐには張らないからです。
風が弱いほどたるみが大きくなって、百メートル出しても高さは
六十メートルくらいにしかなりません。

表をつくって、ライブラリの一番に入れておきました。
「ITO.LZH」です。ソート順がすこし変なのは、能力の限界です。
)"},
    {"FSORA 1 1", "FSORA", 1,
     u8R"(Name: 凪野 ひさし
Id: PKT00021
Date: 97/01/19 21:10
Number: 12
Subject: 冬の河原

夕方の河原で、かもめが凧の糸をよけて飛ぶのを見ました。
見えているのか、鳴る音を聞いているのか。
)"},
    {"FSORA 1 2", "FSORA", 1,
     u8R"(Name: 海老名 みどり
Id: PKT00034
Date: 97/01/19 23:48
Number: 13
Reply-To: 12
Subject: RE: 冬の河原

鳴る音だと思います。細い糸は風のなかで高い音を出します。
うちの犬も、凧より先に糸を見あげます。
)"},
    {"FSORA 1 3", "FSORA", 1,
     u8R"(Name: 糸巻係
Id: PKT00001
Date: 97/01/20 07:05
Number: 14
Reply-To: 13
Subject: 犬の耳

犬は四万ヘルツまで聞こえるそうです。
こんど糸を太くして、気づくかどうか試してみてください。
)"},
    {"FSORA 2 1", "FSORA", 2,
     u8R"(Name: 風間 つばさ
Id: PKT00058
Date: 97/01/21 12:30
Number: 3
Subject: 竹ひごの乾かしかた

竹ひごを削ったあと、どのくらい乾かしていますか。
わたしは日陰で二週間です。ストーブの横に置いたら、見事に反りました。
)"},
    {"FUMIBE 1 1", "FUMIBE", 1,
     u8R"(Name: 灯台守
Id: PKT00007
Date: 97/01/22 05:55
Number: 1001
Subject: けさの海

波一メートル、視程二十キロ。
東の空に、明けの明星がよく見えています。
)"},
    {"FUMIBE 1 2", "FUMIBE", 1,
     u8R"(Name: 風間 つばさ
Id: PKT00058
Date: 97/01/22 06:40
Number: 1002
Reply-To: 1001
Subject: RE: けさの海

こちらからも見えました。
毎朝の一行を楽しみにしています。
)"},
};

bool Belongs(const BuiltInLetter& letter, std::string_view forum, int room) {
    return letter.forum == forum && letter.room == room;
}

std::vector<std::string> Keys(const std::set<std::string>& gone, std::string_view forum, int room) {
    std::vector<std::string> keys;
    for (const BuiltInLetter& letter : kLetters) {
        const std::string key(letter.key);
        if (Belongs(letter, forum, room) && !gone.contains(key)) keys.push_back(key);
    }
    return keys;
}

std::optional<Letter> Find(const std::set<std::string>& gone, std::string_view forum, int room,
                           const std::string& key) {
    for (const BuiltInLetter& letter : kLetters) {
        if (Belongs(letter, forum, room) && letter.key == key && !gone.contains(key)) {
            return ParseLetter(letter.file, kDefaultDate);
        }
    }
    return std::nullopt;
}

}  // namespace

std::vector<std::string> BuiltInSet::Mails() {
    return Keys(gone_, {}, 0);
}

std::optional<Letter> BuiltInSet::Mail(const std::string& key) {
    return Find(gone_, {}, 0, key);
}

int BuiltInSet::DeleteMail(const std::string& key) {
    if (!Find(gone_, {}, 0, key)) return -ENOENT;
    gone_.insert(key);
    return 0;
}

std::vector<std::string> BuiltInSet::Forums() {
    std::set<std::string> forums;
    for (const BuiltInLetter& letter : kLetters) {
        if (!letter.forum.empty()) forums.emplace(letter.forum);
    }
    return {forums.begin(), forums.end()};
}

std::vector<std::string> BuiltInSet::Messages(const std::string& forum, int room) {
    return Keys(gone_, forum, room);
}

std::optional<Letter> BuiltInSet::Message(const std::string& forum, int room, const std::string& key) {
    return Find(gone_, forum, room, key);
}

int BuiltInSet::MarkMessageRead(const std::string& forum, int room, const std::string& key) {
    if (!Find(gone_, forum, room, key)) return -ENOENT;
    gone_.insert(key);
    return 0;
}

int BuiltInSet::Keep(const Upload&) {
    return 0;
}

void BuiltInSet::AppendLog(std::u8string_view) {
}

}  // namespace postkite::practice
