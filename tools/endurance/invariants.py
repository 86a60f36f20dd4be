"""What is promised, looked at from outside: a directory as the independent reader tells it, before and after."""

import dataclasses
import json
import subprocess
from collections import Counter, defaultdict

CONVERSION = "ConvertTemp"      # the working folder of a conversion; nothing that is in it alone counts


@dataclasses.dataclass(frozen=True)
class Mail:
    folder: str
    row: int
    identifier: str
    flags: str
    text_flags: str
    offset: int
    subject: str
    hash: str
    lasting: str

    def untouched(self, other):
        """The same bytes in the same folder; compaction may have moved them."""
        return (self.folder, self.identifier, self.flags, self.text_flags, self.hash) == (
            other.folder, other.identifier, other.flags, other.text_flags, other.hash)


@dataclasses.dataclass
class Reading:
    """A working directory as the independent reader tells it."""

    mails: list = dataclasses.field(default_factory=list)
    faults: list = dataclasses.field(default_factory=list)
    pending: list = dataclasses.field(default_factory=list)
    gone: list = dataclasses.field(default_factory=list)        # (folder, row) of deleted records
    older: dict = dataclasses.field(default_factory=dict)
    trees: dict = dataclasses.field(default_factory=dict)
    files: dict = dataclasses.field(default_factory=dict)

    def by_lasting(self):
        mails = defaultdict(list)
        for mail in self.mails:
            mails[mail.lasting].append(mail)
        return mails

    def rows(self, folder, *subjects):
        """The row numbers of the mails with these subjects in a folder, in order."""
        return [str(mail.row) for mail in self.mails if mail.folder.endswith("/" + folder) and mail.subject in subjects]


def read(context, directory):
    run = subprocess.run([str(context.program("independent_reader")), str(directory)], capture_output=True, check=True,
                         env=context.environment())
    reading = Reading()
    for line in run.stdout.decode("ascii").splitlines():
        kind, *fields = line.split("\t")
        if fields[0].endswith("/" + CONVERSION):
            continue
        if kind == "mail":
            folder, row, identifier, flags, text_flags, offset, *rest = fields
            reading.mails.append(Mail(folder, int(row), identifier, flags, text_flags, int(offset), *rest))
        elif kind == "gone":
            reading.gone.append(tuple(fields))
        elif kind == "fault":
            reading.faults.append(tuple(fields))
        elif kind == "pending":
            reading.pending.append(fields[0])
        elif kind in ("older", "file"):
            getattr(reading, "older" if kind == "older" else "files")[fields[0]] = fields[1]
        elif kind == "tree":
            reading.trees[fields[0]] = fields[1]
    return reading


def recovered(context, directory):
    """The reading when the program has finished what a stopped one left, and what was wrong with that."""
    reading = read(context, directory)
    if not reading.pending:
        return reading, []
    # Whoever opens a folder next finishes what was interrupted there; listing the tree opens those of today's layout.
    folders = sorted({file.split("/")[1].rsplit(".", 1)[0] for file in reading.pending
                      if "/" in file} - {"MailBoxInfo"})
    wrong = []
    for command in (("folders",), *(("mail", "list", folder) for folder in folders)):
        wrong += [f"recovery: {what}" for what in judge_run(context.postkite(directory, *command))]
    reading = read(context, directory)
    wrong += [f"still pending after recovery: {file}" for file in reading.pending]
    return reading, wrong


def judge_listing(context, directory, reading):
    """Whether the program counts the mails that are there."""
    run = context.postkite(directory, "--json", "folders")
    if run.returncode != 0:
        return [f"folders: exit status {run.returncode}"]
    counted = {folder["baseName"]: folder["mails"] for folder in json.loads(run.stdout)}
    if len(reading.trees) > 1:
        return []       # another bank may be the current one
    current = [mail.folder.split("/") for mail in reading.mails] + [folder.split("/") for folder, _ in reading.gone]
    found = Counter(folder for bank, folder in current if bank == "MailBox1")
    if any(folder not in counted for folder in ("Inbox", "Outbox", "Trash")):
        return ["the tree has lost a fixed folder"]
    return [f"{folder} is said to have {counted[folder]} mails, and has {count}" for folder, count in found.items()
            if folder in counted and counted[folder] != count]


def judge_run(run, killed=False):
    """What a run must not do whatever the disk does."""
    wrong = []
    words = run.stderr.decode("utf-8", "replace")
    if "AddressSanitizer" in words or "runtime error" in words:
        wrong.append(f"the sanitizer complained: {words[:400]}")
    if run.returncode not in ((-9,) if killed else (0, 1)):
        wrong.append(f"exit status {run.returncode}")
    if run.returncode == 1 and not words.strip():
        wrong.append("a failure without a word")
    return wrong


def flags_between(now, before, after):
    """Each flag as it was or as it was to become; a mail that goes out is marked by both flags or counts as reserved."""
    width = max(map(len, (now, before, after)))
    now, before, after = (text.ljust(width) for text in (now, before, after))
    return all(n in (b, a) for n, b, a in zip(now, before, after))


class Change:
    """What a command is to change: the directory before it, and after a run that nothing disturbed."""

    def __init__(self, before, after):
        self.before, self.after = before, after
        self.mails_before, self.mails_after = before.by_lasting(), after.by_lasting()

    def judge(self, now, done):
        """The promises that `now` breaks. `done`: the command said that it has done all of it."""
        wrong = [f"fault: {' '.join(fault)}" for fault in now.faults if fault not in self.before.faults]
        mails_now = now.by_lasting()
        for lasting in {**self.mails_before, **self.mails_after, **mails_now}:
            wrong += self._judge_mail(self.mails_before.get(lasting, []), self.mails_after.get(lasting, []),
                                      mails_now.get(lasting, []), done)
        return wrong + self._judge_order(now) + self._judge_files(now, done)

    def _judge_mail(self, before, after, now, done):
        described = (now or before or after)[0].subject
        places = sorted(mail.folder for mail in now)
        if not before and not after:
            return [f"a mail that was never written: {described} in {', '.join(places)}"]
        least = 0 if not before or not after else 1
        if done:
            least = len(after)
        most = len(after) if done else 1
        if not least <= len(now) <= most:
            return [f"{described} is there {len(now)} times: {', '.join(places) or 'nowhere'}"]
        if not now:
            return []
        mail = now[0]
        allowed = after if done else before + after
        if mail.folder not in [one.folder for one in allowed]:
            return [f"{described} is in {mail.folder}"]
        if before and after and before[0].untouched(after[0]):
            return [] if mail.untouched(before[0]) else [f"{described} was not to be touched and has changed"]
        first, last = allowed[0], allowed[-1]
        if not flags_between(mail.flags, first.flags, last.flags):
            return [f"{described} has the flags {mail.flags!r}, not {first.flags!r} or {last.flags!r}"]
        return []

    def _judge_order(self, now):
        """Mails that stay where they are keep their order."""
        wrong = []
        order = {mail.lasting: (mail.folder, mail.row) for mail in self.before.mails}
        stays = {lasting for lasting, mails in self.mails_after.items()
                 if lasting in order and mails[0].untouched(self.mails_before[lasting][0])}
        for folder in {mail.folder for mail in now.mails}:
            rows = [order[mail.lasting] for mail in now.mails if mail.folder == folder and mail.lasting in stays]
            if rows != sorted(rows):
                wrong.append(f"{folder}: the order has changed")
        return wrong

    def _judge_files(self, now, done):
        wrong = []
        for what in ("trees", "files", "older"):
            before, after, found = (getattr(reading, what) for reading in (self.before, self.after, now))
            for name in {**before, **after, **found}:
                if name.lower().startswith("bmtemp.$$$/") and not done or name == "error.log":
                    continue
                allowed = {after.get(name)} if done else {before.get(name), after.get(name)}
                if name not in before and name not in after:
                    # What is kept beside is more than was asked for, and nothing lost.
                    allowed |= {found.get(name)}
                if found.get(name) not in allowed:
                    wrong.append(f"{what[:-1]} {name} is " + ("neither the old nor the new one" if name in found else "gone"))
        return wrong
