#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "practice/library.h"
#include "practice/service.h"
#include "practice/text_entry.h"

namespace postkite::practice {

/// A forum: a place for people with a common interest, with conference rooms, libraries and a manager to
/// write to. It begins with its menu, also for a client that has switched menus off at the top. At "FORUM>"
/// and below:
///
///     MES n   goes to a room          LIB n   goes to a library
///     SMAIL   writes to the manager   E       up, and from the forum's own prompt out of it
///
/// In a room the prompt is "CCS(N)>". The letter says in which direction a bare CR would read on: N next, P
/// previous, R back to the message that is answered, C on to the answers; each is also the command that sets
/// it.
///
///     MRE     every unread message of the room, in the order of its numbers
///     COM     writes a message
///
/// A message counts as read when the client answers the prompt behind the listing, not before: on a line that
/// is lost meanwhile nothing is.
class ForumService final : public Service {
  public:
    static constexpr int kRooms = 20;
    /// Of one MRE, in bytes. The messages beyond it stay unread.
    static constexpr std::size_t kLargestListing = 8 * 1024 * 1024;

    /// `forum` in upper case.
    ForumService(Visit& visit, std::string forum);

    void Enter() override;
    void Prompt() override;
    [[nodiscard]] Destination Hear(std::string_view line) override;
    [[nodiscard]] bool takesText() const override { return entry_.open(); }
    [[nodiscard]] Switches& switches() override { return switches_; }

    /// The client has seen all that was printed and answers it.
    void ConfirmReading();

  private:
    enum class Place { Menu, Room, Library };
    [[nodiscard]] bool HearAnywhere(std::string_view name, std::string_view argument);
    [[nodiscard]] Destination HearInMenu(std::string_view name);
    void HearInRoom(std::string_view name);
    void HearInLibrary(std::string_view line);
    void GoToRoom(std::string_view number);
    void GoToLibrary(std::string_view number);
    void ReadUnread();

    std::string forum_;
    Switches switches_;
    Place place_ = Place::Menu;
    int room_ = 0;
    char direction_ = 'N';
    std::vector<std::string> listed_;  ///< keys of messages of the room that have been printed
    TextEntry entry_;
    Library library_;
};

}  // namespace postkite::practice
