#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "analyse/analysis.h"
#include "analyse/deliveries.h"
#include "analyse/known_messages.h"
#include "store/mail_record.h"

namespace postkite::analyse {

/// No run makes more rooms' folders: a listing can name any number of rooms.
inline constexpr int kMostNewRooms = 500;

/// What the host's line before a room's messages says.
struct RoomLine {
    std::string forum;   ///< at most 15 bytes; may be anything
    std::string number;  ///< the digits; may be none or any number of them
};

[[nodiscard]] RoomLine ParseRoomLine(std::string_view line);

/// The folders of the rooms while a capture is analysed: finds a room's folder or makes it, and puts messages there
/// that are not there yet. Lives while the working directory is locked; meanwhile nobody else may change the folder
/// tree. Borrows what it is made from.
///
/// Messages of rooms that can have no folder go to the Inbox, with the room's folder name at the end of their date
/// field, where others have the forum's.
class ForumRooms {
  public:
    explicit ForumRooms(const Analysis& analysis, int mostNewRooms = kMostNewRooms);

    /// Takes over the tree as it is on the disk. -1 and the user knows where it cannot be read.
    [[nodiscard]] int Open();

    /// The next messages are this room's. Those stored before are known from here on.
    void BeginBlock(RoomLine line);
    void EndBlock();

    enum class Outcome { Stored, Known, Failed };
    /// Stores a message of the room unless it is there. `record.date` ends where the forum's name is to follow.
    [[nodiscard]] Outcome Store(store::MailRecord& record);

    /// Commits what was stored. False where a message was left out or taken back; the user knows why.
    [[nodiscard]] bool Finish();

    /// The messages that are in their folders for good.
    [[nodiscard]] int committed() const { return deliveries_.committed(); }
    /// Whether the disk is full or broken, and going on is useless.
    [[nodiscard]] bool hopeless() const { return deliveries_.hopeless(); }
    /// The messages that went to the Inbox because their rooms have no folder, and the first of these rooms.
    [[nodiscard]] std::uint64_t misplaced() const { return misplaced_; }
    [[nodiscard]] const std::string& firstMisplacedRoom() const { return firstMisplacedRoom_; }

  private:
    struct Room {
        std::string folder;  ///< base name
        bool wasThere;       ///< when the run began
        bool exists = wasThere;
        bool loaded = false;
        bool failed = false;
        KnownMessages known = KnownMessages();
    };

    void FindRoom();
    [[nodiscard]] Room& AddRoom();
    [[nodiscard]] bool Load(Room& room);
    [[nodiscard]] bool MakeFolder(Room& room);
    [[nodiscard]] Outcome PutInRoom(Room& room, store::MailRecord& record);
    [[nodiscard]] Outcome PutInInbox(store::MailRecord& record);
    [[nodiscard]] Outcome Fail();

    Analysis analysis_;
    Deliveries deliveries_;
    std::map<std::string, Room> rooms_;  ///< by the folder's name in small letters
    Room inbox_;
    RoomLine line_;
    std::string folderName_;  ///< that the room of the block has or would have
    bool sought_ = false;     ///< whether the two below hold for the block
    Room* room_ = nullptr;
    bool canHaveFolder_ = false;
    bool whole_ = true;
    int mostNewRooms_;
    int newRooms_ = 0;
    bool makingFails_ = false;
    std::uint64_t misplaced_ = 0;
    std::string firstMisplacedRoom_;
};

}  // namespace postkite::analyse
