#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/clock.h"
#include "core/file_system.h"
#include "practice/holdings.h"

namespace postkite::practice {

/// The host's disks as a directory that people can fill and look into. Every text is UTF-8.
///
///     mail/NAME.txt                   the mails that wait, in the order of their names
///     forum/FORUM/ROOM/NAME.txt       the unread messages of a room; ROOM is its number
///     deleted/NAME.txt                mails that the client has deleted
///     read/FORUM/ROOM/NAME.txt        messages that it has read
///     received/STAMP-N.txt            what it has uploaded: Id, Date and Service, an empty line, the text
///     session.log                     the dialogue
///
/// The directories are looked into whenever they are needed, so that mails can be put there while the host
/// runs. A file that is made appears under its name when it is complete. Nothing that comes over the line
/// becomes a part of a file's name. A mail in a file of more than `kLargestLetter` bytes is cut; of a
/// directory with more than `kMostFiles` files the rest is not seen.
///
/// Borrows the file system and the clock.
class StateDirectory final : public Holdings {
  public:
    static constexpr std::size_t kLargestLetter = 4 * 1024 * 1024;
    static constexpr std::size_t kMostFiles = 10000;
    /// Of everything that is uploaded in one run, in bytes.
    static constexpr std::uint64_t kMostUploaded = 64 * 1024 * 1024;

    StateDirectory(core::FileSystem& files, const core::Clock& clock, std::filesystem::path root);

    /// Makes the directory and those in it where they are missing. 0 or a negated errno value.
    [[nodiscard]] int Prepare();

    [[nodiscard]] std::vector<std::string> Mails() override;
    [[nodiscard]] std::optional<Letter> Mail(const std::string& key) override;
    [[nodiscard]] int DeleteMail(const std::string& key) override;
    [[nodiscard]] std::vector<std::string> Forums() override;
    [[nodiscard]] std::vector<std::string> Messages(const std::string& forum, int room) override;
    [[nodiscard]] std::optional<Letter> Message(const std::string& forum, int room,
                                                const std::string& key) override;
    [[nodiscard]] int MarkMessageRead(const std::string& forum, int room, const std::string& key) override;
    [[nodiscard]] int Keep(const Upload& upload) override;
    void AppendLog(std::u8string_view lines) override;

  private:
    using Path = std::filesystem::path;
    [[nodiscard]] std::vector<std::string> Names(const Path& directory);
    [[nodiscard]] std::vector<std::string> LetterNames(const Path& directory);
    [[nodiscard]] std::optional<Letter> ReadLetter(const Path& path);
    [[nodiscard]] Path RoomDirectory(const std::string& forum, int room);
    [[nodiscard]] int MakeDirectory(const Path& path);
    [[nodiscard]] int MoveInto(const Path& from, const Path& directory);
    [[nodiscard]] int WriteWhole(const Path& directory, const std::string& name, std::string_view bytes);
    [[nodiscard]] bool IsTaken(const Path& path);

    core::FileSystem* files_;
    const core::Clock* clock_;
    Path root_;
    std::uint64_t uploadedBytes_ = 0;
    int uploads_ = 0;
    std::unique_ptr<core::File> log_;
    std::uint64_t logBytes_ = 0;
};

}  // namespace postkite::practice
