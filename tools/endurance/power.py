"""The power fails at every moment of every command that writes: all that unsynced changes may leave on the disk.

A run is recorded call by call. Until a file is synced, each write and truncation of it may have reached the disk or
not, a write by half, or as zeros where it made the file longer. Until a directory is synced, each new name, renaming
and removal in it may have reached the disk or not. Nothing but a sync orders any of this. States are made right before
each sync, where most is open, and at the end; all of them where they are few, otherwise some that the seed chooses.
"""

import dataclasses
import itertools
import math
import os
import shutil
from pathlib import PurePosixPath

from endurance import campaign, invariants

MOST_STATES = 64        # of one moment
AGAIN = 4               # one state in so many has its command called again
DIRECTORY = -1


@dataclasses.dataclass
class File:
    content: bytes
    pending: list = dataclasses.field(default_factory=list)     # Call objects, in order

    def options(self):
        """For each pending change the ways in which it may have reached the disk."""
        size, found = len(self.content), []
        for call in self.pending:
            ways = ["absent", "whole"]
            if call.kind == "w":
                ways += ["half"] if call.size > 1 else []
                ways += ["zeros"] if call.offset + call.size > size else []
                size = max(size, call.offset + call.size)
            found.append(ways)
        return found

    def with_changes(self, ways):
        content = bytearray(self.content)
        for call, way in zip(self.pending, ways):
            if way == "absent":
                continue
            if call.kind == "t":
                del content[call.offset:]
                content.extend(bytes(call.offset - len(content)))
                continue
            data = {"whole": call.data, "half": call.data[:call.size // 2], "zeros": b""}[way]
            end = call.offset + (call.size if way != "half" else len(data))
            content.extend(bytes(max(0, end - len(content))))
            content[call.offset:call.offset + len(data)] = data
        return bytes(content)

    def sync(self):
        self.content = self.with_changes(["whole"] * len(self.pending))
        self.pending = []


@dataclasses.dataclass
class NameChange:
    """Names that change together: what each leads to from now on, None for nothing."""

    leads_to: dict

    def touches(self, directory):
        return any(str(PurePosixPath(path).parent) == directory for path in self.leads_to)


class Disk:
    """What is on the disk for good, and what has changed since."""

    def __init__(self, directory):
        self.files, self.directories, self.names = {}, {}, {}
        for folder, below, files in os.walk(directory):
            path = os.path.relpath(folder, directory)
            self.directories[os.stat(folder).st_ino] = path
            self.names.update({os.path.normpath(f"{path}/{name}"): DIRECTORY for name in below})
            for name in files:
                full = os.path.join(folder, name)
                inode = os.stat(full).st_ino
                with open(full, "rb") as file:
                    self.files[inode] = File(file.read())
                self.names[os.path.normpath(f"{path}/{name}")] = inode
        self.current = dict(self.names)
        self.pending = []

    def _change(self, leads_to):
        self.pending.append(NameChange(leads_to))
        self.current.update(leads_to)

    def apply(self, call):
        if call.inode == 0:
            return
        if call.kind == "c":
            self.files[call.inode] = File(b"")
            self._change({call.path: call.inode})
        elif call.kind == "m":
            self._change({call.path: DIRECTORY})
        elif call.kind == "u":
            self._change({call.path: None})
        elif call.kind == "n":
            self._change({call.path: None, call.second: self.current[call.path]})
        elif call.kind in "wt":
            self.files[call.inode].pending.append(call)
        elif call.kind == "o" and self.current.get(call.path, DIRECTORY) == DIRECTORY:
            self.directories[call.inode] = call.path
        elif call.kind == "y":
            self._sync(call.inode)

    def _sync(self, inode):
        if inode in self.files:
            self.files[inode].sync()
            return
        directory = self.directories[inode]
        for change in self.pending:
            if change.touches(directory):
                self.names.update(change.leads_to)
        self.pending = [change for change in self.pending if not change.touches(directory)]

    def states(self, chance, most):
        """What may be on the disk if the power fails now: dictionaries of path and content."""
        open_files = [inode for inode, file in self.files.items() if file.pending]
        options = [ways for inode in open_files for ways in self.files[inode].options()]
        options += [("absent", "whole")] * len(self.pending)
        if math.prod(map(len, options)) <= most:
            chosen = itertools.product(*options)
        else:
            chosen = [["absent"] * len(options), ["whole"] * len(options)]
            chosen += [[chance.choice(ways) for ways in options] for _ in range(most - 2)]
        for ways in chosen:
            yield self._state(open_files, iter(ways))

    def _state(self, open_files, ways):
        changed = {}
        for inode in open_files:
            file = self.files[inode]
            changed[inode] = file.with_changes(list(itertools.islice(ways, len(file.pending))))
        names = dict(self.names)
        for change, way in zip(self.pending, ways):
            if way == "whole":
                names.update(change.leads_to)
        return {path: DIRECTORY if inode == DIRECTORY else changed.get(inode, self.files[inode].content)
                for path, inode in names.items() if inode is not None and self._reachable(path, names)}

    @staticmethod
    def _reachable(path, names):
        return all(names.get(str(parent)) == DIRECTORY for parent in list(PurePosixPath(path).parents)[:-1])


def put(state, directory):
    """Makes a directory of a state."""
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir()
    for path in sorted(path for path, content in state.items() if content == DIRECTORY):
        (directory / path).mkdir()
    for path, content in state.items():
        if content != DIRECTORY:
            (directory / path).write_bytes(content)


def moments(disk, calls):
    """The disk right before each sync, with the number of the call, and at the end; also when the host has been told to
    delete a mail, with how many it was told to by then."""
    deletions = 0
    for call in calls:
        if call.kind == "y" and call.inode:
            yield str(call.number), disk, deletions
        if call.kind == "p" and b"DELETE" in call.data:
            deletions += 1
            yield f"deletion-{deletions}", disk, deletions
        disk.apply(call)
    yield "end", disk, deletions


def points(trial):
    """CALL/INDEX for what may be on the disk at a moment; none twice. The states are kept with the trial."""
    trial.states = {}
    seen = set()
    for name, now, deletions in moments(trial.watched, trial.calls):
        for index, state in enumerate(now.states(trial.context.random, MOST_STATES)):
            known = (name == "end", deletions, frozenset(state.items()))
            if known not in seen:
                seen.add(known)
                trial.states[f"{name}/{index}"] = state, deletions
    return trial.states


def strike(trial, point):
    """A directory as the power failure left it, looked at; every now and then the command again."""
    directory = trial.root / "cut"
    state, deletions = trial.states[point]
    put(state, directory)
    trial.cut(directory, deletions)
    reading, wrong = invariants.recovered(trial.context, directory)
    wrong += trial.judge(directory, reading, done=point.startswith("end/") and trial.scenario.lasts)
    again = trial.context.only or trial.context.random.randrange(AGAIN) == 0
    return wrong + (trial.judge_again(directory) if again else [])


def run(context):
    return campaign.run(context, "power-loss states", points, strike, watch=Disk)
