#pragma once

#include <string_view>

#include "core/user_interface.h"

namespace postkite::outgoing {

/// Why a mail that is reserved for sending does not go out.
enum class Refusal {
    None,
    NoDestination,
    OpenBracket,
    ControlCharacter,
    LongAddressee,
    TooManyAddressees,
    NoForum,
    LongForum,
    NoRoom,
    AnsweredNumber,
    SeveralRooms,
    LongPath,
    EndOfText,
    Signature,
    Damaged,
    Endless,
    NoIdentifier,
    SameIdentifier,
    AlreadyTaken,
};

/// The reason as a sentence without its end, code page 932.
[[nodiscard]] std::string_view DescribeRefusal(Refusal refusal, core::Language language);

}  // namespace postkite::outgoing
