#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "core/shift_jis.h"
#include "store/folder_files.h"
#include "store/mail_record.h"

namespace postkite::store {

/// What the ".PROP" file beside a folder's mails holds. Texts are code page 932.
struct FolderProperties {
    std::string sound;           ///< name of a WAVE file
    std::string defaultAddress;  ///< extra address list of new mails that are written from the folder
    std::string replyTemplate;   ///< head of a reply to a mail of the folder; lines end in CR LF
};

/// The bytes that each of the three may have. Of longer ones in a file the beginning is read, cut between
/// characters.
inline constexpr std::size_t kLongestPropertyBytes = 1024;

inline constexpr std::string_view kDefaultReplyTemplate = []() consteval {
    using namespace core::literals;
    return "%n さんの\r\n題名：%S\r\nに対する返信メールです。\r\n"_sjis;
}
();

/// Whether a file can hold them: none is too long, no zero byte is among them, and sound and address are one
/// line each.
[[nodiscard]] bool CanBeStored(const FolderProperties& properties);

/// Reads a file of either version; the older one has no default address. Everything is empty without a file
/// and in one that begins with neither version's line; what a short file lacks is empty too, its cut last
/// line included. Returns 0 or the negated errno value of what kept the file from being read.
[[nodiscard]] int ReadFolderProperties(const FolderFiles& files, FolderProperties& properties);

/// Writes the current version; the old file stays until the new one is whole. Returns 0 or a negated errno
/// value, -EINVAL for what cannot be stored. Takes the lock.
[[nodiscard]] int WriteFolderProperties(const FolderFiles& files, const FolderProperties& properties);

/// The sound file: the second line, whatever the first says, empty when there is none. -1 without a file that
/// can be read; `out` is left alone then.
[[nodiscard]] int ReadFolderSound(const FolderFiles& files, std::string& out);

/// The default address, empty in a file that has none. -1 without a file that can be read; `out` is left
/// alone then.
[[nodiscard]] int ReadFolderDefaultAddress(const FolderFiles& files, std::string& out);

/// Fills `out` with the head of a reply to `record`, whose stored text is `mailText`, and returns 0. Returns
/// -1 and leaves `out` alone where the folder has no property file that can be read, or nothing behind its
/// second line.
///
/// The template is taken from behind the second line whatever the version, at most 1024 bytes of it. A file
/// of the current version has its default address there, so that the head of the reply begins with that line,
/// empty or not. This is how replies have always begun.
///
/// "%" and one of D, F, M, S, a, n stands for a value of at most 511 bytes. The first eight are put in; the
/// ninth and tenth come out empty, further ones stay as they are. Everything else that begins with "%", "%%"
/// and "%s" too, is text and stays: the template is never a format.
[[nodiscard]] int BuildReplyHeader(const FolderFiles& files, const MailRecord& record, std::string& out,
                                   std::string_view mailText);

/// The same from the default template, for a folder without a property file.
[[nodiscard]] std::string DefaultReplyHeader(const MailRecord& record, std::string_view mailText);

}  // namespace postkite::store
