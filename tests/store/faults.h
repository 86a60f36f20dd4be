#pragma once

#include <cerrno>
#include <string>

#include "tests/support/memory_file_system.h"

namespace postkite::store {

using support::MemoryFileSystem;

/// What may happen to a program at a call of a test's choice.
enum class Fault { FullDisk, BadDisk, Killed, PowerCutDurable, PowerCutWritten, TornWrite, TornAndPowerCut };
inline constexpr Fault kFaults[] = {Fault::FullDisk,        Fault::BadDisk,         Fault::Killed,
                                    Fault::PowerCutDurable, Fault::PowerCutWritten, Fault::TornWrite,
                                    Fault::TornAndPowerCut};

inline void Arrange(MemoryFileSystem& disk, Fault fault, int call) {
    switch (fault) {
        case Fault::FullDisk:
            return disk.FailCall(call, -ENOSPC);
        case Fault::BadDisk:
            return disk.FailCall(call, -EIO);
        case Fault::TornWrite:
        case Fault::TornAndPowerCut:
            return disk.StopWithinWrite(call, 7);
        default:
            return disk.StopAtCall(call);
    }
}

inline bool IsPowerCut(Fault fault) {
    return fault == Fault::PowerCutDurable || fault == Fault::PowerCutWritten ||
           fault == Fault::TornAndPowerCut;
}

inline void End(MemoryFileSystem& disk, Fault fault) {
    if (IsPowerCut(fault)) {
        disk.PowerCut(fault == Fault::PowerCutDurable ? MemoryFileSystem::NamesKept::Durable
                                                      : MemoryFileSystem::NamesKept::Written);
    } else {
        disk.Restart();
    }
}

inline std::string Describe(Fault fault, int call) {
    return "fault " + std::to_string(static_cast<int>(fault)) + " at " + std::to_string(call);
}

}  // namespace postkite::store
