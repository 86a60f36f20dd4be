#include "outgoing/refusal.h"

#include "core/shift_jis.h"

namespace postkite::outgoing {

using namespace core::literals;

namespace {

struct Phrase {
    Refusal refusal;
    std::string_view japanese;
    std::string_view english;
};

constexpr Phrase kPhrases[] = {
    {Refusal::NoDestination, "宛先がありません"_sjis, "it has no destination"},
    {Refusal::OpenBracket, "宛先の括弧が対応していません"_sjis,
     "the brackets of its destination do not match"},
    {Refusal::ControlCharacter, "宛先に制御文字があります"_sjis, "its destination holds a control character"},
    {Refusal::LongAddressee, "長すぎる宛先があります"_sjis, "one of its addressees is too long"},
    {Refusal::TooManyAddressees, "宛先が多すぎます"_sjis, "it has too many addressees"},
    {Refusal::NoForum, "宛先にフォーラム名がありません"_sjis, "its destination names no forum"},
    {Refusal::LongForum, "フォーラム名が長すぎます"_sjis, "the name of its forum is too long"},
    {Refusal::NoRoom, "会議室の番号がありません"_sjis, "its destination has no number of a room"},
    {Refusal::AnsweredNumber, "コメント先の発言番号が数字ではありません"_sjis,
     "what should be the number of the answered message is no number"},
    {Refusal::SeveralRooms, "フォーラムの宛先は一つだけです"_sjis, "a message goes to one room of one forum"},
    {Refusal::LongPath, "アップロードファイルのパス名が長すぎます"_sjis,
     "the path of its upload file is too long"},
    {Refusal::EndOfText, "本文に入力の終わりと見なされる行（/POST または /E）があります"_sjis,
     "the host would take one of its lines, /POST or /E, for the end of the text"},
    {Refusal::Signature, "署名ファイルを読み込めません"_sjis, "its signature cannot be read"},
    {Refusal::Damaged, "メールが壊れています"_sjis, "it is damaged"},
    {Refusal::Endless, "本文が長すぎるか、終わりがありません"_sjis, "its body is too long or has no end"},
    {Refusal::NoIdentifier, "メールに識別子がありません"_sjis, "it has no identifier"},
    {Refusal::SameIdentifier, "ほかのメールと同じ識別子を持っています"_sjis,
     "another mail has the same identifier"},
    {Refusal::AlreadyTaken, "ホストに送信済みですが、送信済みの印を付けられません"_sjis,
     "it was sent already, and cannot be marked as sent"},
};

}  // namespace

std::string_view DescribeRefusal(Refusal refusal, core::Language language) {
    for (const Phrase& phrase : kPhrases) {
        if (phrase.refusal == refusal)
            return language == core::Language::Japanese ? phrase.japanese : phrase.english;
    }
    return {};
}

}  // namespace postkite::outgoing
