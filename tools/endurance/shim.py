"""The preloaded library between a program and the disk: how it is told what to do, and what it writes down."""

import dataclasses

KINDS = {"o": "open", "c": "create", "s": "look", "l": "list", "r": "read", "w": "write", "t": "truncate", "y": "sync",
         "n": "rename", "u": "remove", "m": "make a directory", "k": "lock", "p": "send"}


@dataclasses.dataclass
class Call:
    number: int
    kind: str
    inode: int      # 0: it failed by itself
    offset: int
    size: int
    path: str
    second: str
    data: bytes = b""


def environment(context, directory, log="/dev/null", at=0, fault="", kinds="", data=False):
    """What to run a program with. `kinds`: for good, every call of these kinds from `at` on fails."""
    return {
        "LD_PRELOAD": context.program("libfault_shim.so"),
        "ENDURE_ROOT": directory,
        "ENDURE_LOG": log,
        "ENDURE_AT": at,
        "ENDURE_FAULT": fault,
        "ENDURE_FOR_GOOD": 1 if kinds else 0,
        "ENDURE_KINDS": kinds,
        "ENDURE_DATA": 1 if data else 0,
    }


def calls(log, data=False):
    """The recorded calls, in order."""
    content, at, found = log.read_bytes(), 0, []
    while at < len(content):
        end = content.index(b"\n", at)
        number, kind, inode, offset, size, path, second = content[at:end].decode("utf-8").split("\t")
        call = Call(int(number), kind, int(inode), int(offset), int(size), path, second)
        at = end + 1
        if data and kind in "wp" and (call.inode or kind == "p"):
            call.data = content[at:at + call.size]
            at += call.size
        found.append(call)
    return found
