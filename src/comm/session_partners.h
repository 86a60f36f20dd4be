#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace postkite::comm {

/// An entry of a patrol list: a room to read, a library to list, a file to fetch. Code page 932, without line
/// ends.
struct PatrolEntry {
    std::string forum;   ///< forum name
    std::string place;   ///< room or library as it is sent to the host: "mes3", "MES 3", "lib2"
    std::string file;    ///< downloads: what is sent to the host
    std::string local;   ///< downloads: name of the local file below "down"
    int recordNumber{};  ///< downloads: the mail in the folder "Download"
};

/// What a session patrols, in the order of the lists.
struct PatrolLists {
    std::vector<PatrolEntry> rooms;
    std::vector<PatrolEntry> libraries;
    std::vector<PatrolEntry> downloads;
    std::vector<std::string> uploads;  ///< files to send in binary, below the working directory
};

/// What a session asks of the rest of the program. The calls come within a tick, so none may take long.
class SessionPartners {
  public:
    SessionPartners() = default;
    SessionPartners(const SessionPartners&) = delete;
    SessionPartners& operator=(const SessionPartners&) = delete;
    virtual ~SessionPartners() = default;

    /// The mail with that local identifier is about to go out. Should the program end before the host has confirmed it,
    /// the next session has to tell. Where that cannot be noted, returns a negated errno value, and the mail must not
    /// go out; else 0.
    [[nodiscard]] virtual int MailGoesOut(std::string_view localId) = 0;

    /// The mail with that local identifier has gone out and is confirmed: finds it in the Outbox of the current bank, marks it
    /// sent and deselects its row where it is on show. Whoever cannot mark it tells the user.
    virtual void MarkMailSent(std::string_view localId) = 0;

    /// Today is the last access of that room or library.
    virtual void RecordLastAccess(const PatrolEntry& place) = 0;

    /// The stored last access of a library as "YYMMDD", empty when there is none.
    [[nodiscard]] virtual std::string LastAccess(const PatrolEntry& place) = 0;

    /// The download's mail in the folder "Download" is done; its row is deselected where it is on show.
    virtual void MarkDownloadDone(const PatrolEntry& download) = 0;

    /// How many mails the capture file "maillog.txt" holds.
    [[nodiscard]] virtual int CountCapturedMails() = 0;
};

}  // namespace postkite::comm
