#pragma once

#include <string>
#include <string_view>

#include "core/clock.h"
#include "core/settings.h"
#include "store/mailbox.h"

namespace postkite::app {

/// The mail that is answered.
struct AnsweredMail {
    std::string_view folder;  ///< base name
    int recordNumber;
};

/// A reply as it was stored.
struct Reply {
    int recordNumber = -1;
    std::string localId;
    bool marked = false;  ///< whether the answered mail has its mark; if not, the user knows why
};

/// Appends a reply to the folder `outbox` and marks the answered mail. `text` is the person's own, code page 932
/// with CR LF as line ends.
///
/// The body is the head that the folder of the answered mail has for replies (the default one without a property
/// file), then the answered text with the quotation mark before each line, then `text`. The two lines that the
/// host puts before a text are not quoted. A reply to a message in its room's folder goes to the room, as an
/// answer to that message; to a mail that was written here, to its own recipients; any other to the sender. It is
/// not reserved for sending.
///
/// Returns 0 with the reply on the disk for good, also where the mark cannot be set, which `reply` says then;
/// or -1 and nothing has changed, and the user knows why: the mail is not there or cannot be read whole, the
/// reply would be too long. Takes the lock. An Outbox of an older layout is converted first, if the user wants it.
[[nodiscard]] int MakeReply(store::Mailbox& mailbox, const core::Settings& settings, const core::Clock& clock,
                            const AnsweredMail& answered, std::string_view outbox, std::string_view text,
                            Reply& reply);

}  // namespace postkite::app
