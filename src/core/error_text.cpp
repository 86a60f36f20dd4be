#include "core/error_text.h"

#include <cerrno>
#include <string_view>
#include <system_error>

#include "core/shift_jis.h"

namespace postkite::core {

namespace {

struct Phrase {
    int code;
    std::string_view japanese;
    std::string_view english;
};

constexpr Phrase kPhrases[] = {
    {-ENOENT, "ファイルがありません"_sjis, "there is no such file"},
    {-EACCES, "アクセス権がありません"_sjis, "permission denied"},
    {-EPERM, "アクセス権がありません"_sjis, "permission denied"},
    {-EROFS, "書き込みできないディスクです"_sjis, "the disk is read-only"},
    {-ENOSPC, "ディスクの空き容量が足りません"_sjis, "the disk is full"},
    {-EDQUOT, "ディスクの割り当て容量を超えました"_sjis, "the disk quota is exceeded"},
    {-EISDIR, "ファイルではなくディレクトリです"_sjis, "it is a directory, not a file"},
    {-ENOTDIR, "ディレクトリではありません"_sjis, "it is not a directory"},
    {-EEXIST, "同じ名前のファイルがあります"_sjis, "the name is taken"},
    {-EINVAL, "使用できない名前または種類のファイルです"_sjis, "its name or kind cannot be used"},
    {-ENAMETOOLONG, "名前が長すぎます"_sjis, "the name is too long"},
    {-EFBIG, "ファイルが大きすぎます"_sjis, "the file is too large"},
    {-EUCLEAN, "ファイルの大きさが内容と合わず、壊れています"_sjis,
     "it is damaged: most of it holds nothing of its kind"},
    {-EMFILE, "開いているファイルが多すぎます"_sjis, "too many files are open"},
    {-ELOOP, "リンクがどこにも通じていません"_sjis, "its links lead nowhere"},
    {-EXDEV, "別のディスクにあります"_sjis, "it is on another disk"},
    {-ENOTSUP, "古い形式のファイルなので、先に変換が必要です"_sjis,
     "it has an older layout and must be converted first"},
    {-ENODATA, "本文のファイルがありません"_sjis, "the file of its texts is missing"},
    {-EMSGSIZE, "メールが大きすぎます"_sjis, "the mail is too large"},
    {-EBUSY, "ほかのプログラムが使用中です"_sjis, "another program is using it"},
    {-ENOTTY, "通信ポートではありません"_sjis, "it is not a serial port"},
    {-ENXIO, "装置がありません"_sjis, "there is no such device"},
    {-ENODEV, "装置がありません"_sjis, "there is no such device"},
    {-ECONNREFUSED, "接続を拒否されました"_sjis, "the connection was refused"},
    {-ECONNRESET, "接続が切れました"_sjis, "the connection was lost"},
    {-ETIMEDOUT, "応答がありません"_sjis, "there was no answer"},
    {-EADDRNOTAVAIL, "このコンピュータのアドレスではありません"_sjis, "it is no address of this computer"},
    {-EADDRINUSE, "アドレスは使用中です"_sjis, "the address is in use"},
    {-EHOSTUNREACH, "相手に到達できません"_sjis, "the host cannot be reached"},
    {-EIO, "ディスクの読み書きに失敗しました"_sjis, "the disk failed"},
};

}  // namespace

std::string DescribeError(int code, Language language) {
    for (const Phrase& phrase : kPhrases) {
        if (phrase.code == code) {
            return std::string(language == Language::Japanese ? phrase.japanese : phrase.english);
        }
    }
    if (language == Language::Japanese) return std::string("エラー番号 "_sjis) + std::to_string(-code);
    return std::generic_category().message(-code);
}

}  // namespace postkite::core
