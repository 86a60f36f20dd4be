"""A working directory with some of everything, and every command that writes."""

import contextlib
import dataclasses
import shutil
import time
from pathlib import Path
from typing import Callable

from endurance import invariants, shim

MAILS = 6              # in the Inbox
CALLS_AGAIN = 2        # at most, until a command has nothing left to do
TERMINATOR = b"\x01\x01\r\n"


@dataclasses.dataclass
class Scenario:
    """A command that changes something.

    `arguments` says how the command is spelled on a directory as it is now, or None where nothing is left to do; so a
    person would call it again after a failure. `arrange` prepares a copy of the directory for it. `lasts`: what the
    command has done is on the disk for good when it ends; marks that only say how a list draws a mail need not be.
    """

    name: str
    arguments: Callable
    text: bytes = b""
    arrange: Callable = lambda directory: None
    lasts: bool = True
    trial: Callable = None      # who tries it, where it is no `Trial`


def always(*arguments):
    return lambda reading: arguments


def on_rows(folder, subjects, *command, behind=()):
    """A command on those of the mails that are still in the folder."""
    def arguments(reading):
        rows = reading.rows(folder, *subjects)
        return (*command, folder, *rows, *behind) if rows else None
    return arguments


def unless_there(subject, *command):
    """A command that makes a mail: a person who sees it in the list does not make it again."""
    return lambda reading: None if any(mail.subject == subject for mail in reading.mails) else command


def listing(first, last):
    """What the host prints of some mails: a capture."""
    lines = []
    for number in range(first, last):
        lines += [f"{number:3} {'YAMADA TARO':16}  {'ABC01234':17}97/01/{number:02} 12:34",
                  f"Subject : captured {number}", *[f"line {line} of {number}" for line in range(number * 3)],
                  "--- action:DELETE"]
    return "".join(line + "\r\n" for line in lines).encode("cp932")


def forum_listing():
    lines = ["CCS(N)>MRE", "\u25c6FABC MES( 1)"]
    for number in range(1, 5):
        lines += [f"{number:03}/004   ABC01234  YAMADA TARO       title {number}", f"(1)    97/01/{number:02} 12:34  001",
                  f"text {number}", "\x20\x08"]
    return "".join(line + "\r\n" for line in [*lines, "CCS(N)>"]).encode("cp932")


def older_folder(mails):
    """Index and text of a folder of the layout V2.xx."""
    index, text = b"", b""
    for number in range(mails):
        index += f"{len(text):<20}20\r\n".encode() + (b" " * 50 + b"\r\n") * 13
        head = ["RoSRr ---- OP Y", f"old-{number}", "ABC01234", "Taro", "97/01/24 08:05", f"old {number}", *[""] * 10]
        text += "".join(line + "\r\n" for line in [*head, f"body {number}"]).encode() + TERMINATOR
    return index, text


class World:
    """The directory that every scenario starts from, made once with the program itself."""

    def __init__(self, context):
        self.context = context
        self.root = context.scratch / "world"
        self.template = self.root / "template"
        self.inputs = self.root / "inputs"
        self.inputs.mkdir(parents=True)
        (self.inputs / "capture.txt").write_bytes(listing(1, 4))
        (self.inputs / "forum.txt").write_bytes(forum_listing())
        self._fill()

    def _do(self, *arguments, text=b""):
        run = self.context.postkite(self.template, *arguments, text=text)
        if run.returncode != 0:
            raise RuntimeError(f"{' '.join(arguments)}: {run.stderr.decode()}")

    def _body(self, subject):
        """A text that no other mail has, of a size that the seed chooses."""
        lines = self.context.random.choice((1, 3, 40, 400))
        return f"{subject}\n".encode() + "".join(f"{line} 本文の行 {subject}\n" for line in range(lines)).encode()

    def _mail(self, folder, subject, **fields):
        options = [part for name, value in fields.items() for part in (f"--{name}", value)]
        self._do("mail", "add", folder, "--subject", subject, "--date", "97/01/24 08:05", *options, "--body", "-",
                 text=self._body(subject))

    def _fill(self):
        for key, value in (("USERID", "ABC01234"), ("MAILBOXPATHNAME1", "MailBox2"), ("CURRENT ID", "0")):
            self._do("settings", "set", key, value)
        self._do("environments", "set", "0", "name=home", "user=ABC01234", "password=himitsu", "telephone=03-0000-0000")
        self._do("environments", "set", "1", "name=away", "user=ABC01234", "password=himitsu", "telephone=03-0000-0000")
        for parent, name in (("Desktop", "Work"), ("Work", "97"), ("Desktop", "Spare"), ("Desktop", "Old")):
            self._do("folders", "new", parent, name)
        for number in range(MAILS):
            self._mail("Inbox", f"inbox {number}", address=f"A{number}", flags="Rosrr ---- OP")
        for number in range(2):
            for folder in ("Work", "Work#97", "Trash"):
                self._mail(folder, f"{folder} {number}", flags="Rosrr ---- OP")
            self._mail("Outbox", f"outbox {number}", address="XYZ00456")
        self._mail("Outbox", "outbox forum", address="/FABC,MES1")
        self._do("mail", "reserve", "Outbox", "0", "1", "2")
        self._do("mail", "delete", "Work", "0")
        self._do("folders", "properties", "Work", "--sound", "ding.wav", "--template", "-", text=b"Re: %S\n")
        self._do("rules", "add", "first", "Subject:", "inbox 1", "Work")
        self._do("rules", "add", "second", "Subject:", "inbox 4", "Work#97")
        self._do("forums", "set", "FABC,mes1", "perday", "--last-access", "97/01/23")
        index, text = older_folder(3)
        (self.template / "MailBox1/Old.loc").write_bytes(index)
        (self.template / "MailBox1/Old.mtx").write_bytes(text)

    def capture(self, name, source):
        return lambda directory: shutil.copy(self.inputs / source, directory / name)

    def chosen(self):
        """The scenarios of this run."""
        wanted = self.context.only.split("/")[0]
        for scenario in self.scenarios():
            if wanted in ("", scenario.name):
                yield scenario

    def scenarios(self):
        """In the order of the manual."""
        body = self._body("added")
        moved, flagged = ("inbox 1", "inbox 3"), ("inbox 2",)
        return [
            Scenario("settings-set", always("settings", "set", "REDIALINTER", "7")),
            Scenario("environments-set", always("environments", "set", "1", "telephone=06-1111-1111", "speed=9600")),
            Scenario("environments-switch", always("environments", "switch", "1")),
            Scenario("banks-switch", always("banks", "switch", "1")),
            Scenario("folders-new", self.unless_folder(b"01Fresh", "folders", "new", "Desktop", "Fresh")),
            Scenario("folders-rename", self.unless_folder(b"01Job", "folders", "rename", "Work", "Job")),
            Scenario("folders-move", self.unless_folder(b"02Spare", "folders", "move", "Spare", "Inbox")),
            Scenario("folders-move-below", self.unless_folder(b"0397", "folders", "move", "Work", "Spare")),
            Scenario("folders-delete", self.while_folder(b"01Work", "folders", "delete", "Work")),
            Scenario("folders-reset", always("folders", "reset")),
            Scenario("folders-convert", lambda reading: ("folders", "convert", "Old") if reading.older else None),
            Scenario("folders-properties", always("folders", "properties", "Work", "--address", "XYZ00456")),
            Scenario("compact", always("compact")),
            Scenario("mail-add", unless_there("added", "mail", "add", "Inbox", "--subject", "added", "--date",
                                              "97/01/25 09:00", "--body", "-"), body),
            Scenario("mail-add-first", unless_there("added", "mail", "add", "Spare", "--subject", "added", "--date",
                                                    "97/01/25 09:00", "--body", "-"), body),
            Scenario("mail-replace", self.replacing("inbox 2"), body),
            Scenario("mail-flag", on_rows("Inbox", flagged, "mail", "flag", behind=("5", "7")), lasts=False),
            Scenario("mail-read", on_rows("Inbox", moved, "mail", "read"), lasts=False),
            Scenario("mail-reserve", on_rows("Inbox", moved, "mail", "reserve")),
            Scenario("mail-unreserve", on_rows("Outbox", ("outbox 0", "outbox 1"), "mail", "unreserve")),
            Scenario("mail-sent", on_rows("Outbox", ("outbox 0",), "mail", "sent")),
            Scenario("mail-trash", on_rows("Inbox", moved, "mail", "trash")),
            Scenario("mail-delete", on_rows("Inbox", moved, "mail", "delete")),
            Scenario("mail-reply", self.replying("inbox 0"), "返事\n".encode(), lasts=False),
            Scenario("rules-add", self.unless_rule(b"third", "rules", "add", "third", "Subject:", "x", "Trash")),
            Scenario("rules-remove", self.while_rule(b"first", "rules", "remove", "0")),
            Scenario("sort", always("sort")),
            Scenario("queue", always("queue"), lasts=False),
            Scenario("analyse-mail", self.while_file("maillog.txt", "analyse", "mail"),
                     arrange=self.capture("maillog.txt", "capture.txt")),
            Scenario("analyse-mail-file", self.analysing(self.inputs / "capture.txt")),
            Scenario("analyse-forum", self.while_file("meslog.txt", "analyse", "forum"),
                     arrange=self.capture("meslog.txt", "forum.txt")),
            Scenario("forums-set", always("forums", "set", "FABC,mes1", "read")),
        ]

    # What a person would look at before calling a command again. The directory is the one that is being looked at.

    directory: Path = None

    def _holds(self, file, text):
        path = self.directory / file
        return path.is_file() and text in path.read_bytes()

    def unless_folder(self, line, *command):
        return lambda reading: None if self._holds("MailBox1/MailBoxInfo.ini", line) else command

    def while_folder(self, line, *command):
        return lambda reading: command if self._holds("MailBox1/MailBoxInfo.ini", line) else None

    def unless_rule(self, name, *command):
        return lambda reading: None if self._holds("Setting/filter.ini", name) else command

    def while_rule(self, name, *command):
        return lambda reading: command if self._holds("Setting/filter.ini", name) else None

    def while_file(self, file, *command):
        return lambda reading: command if (self.directory / file).is_file() else None

    def analysing(self, file):
        """A file of one's own; the copy that was broken off first, as the program asks for."""
        def arguments(reading):
            if (self.directory / "maillog-copy.txt").is_file():
                return "analyse", "mail", "maillog-copy.txt"
            return unless_there("captured 3", "analyse", "mail", str(file))(reading)
        return arguments

    def replacing(self, subject):
        def arguments(reading):
            found = [mail.identifier for mail in reading.mails if mail.subject == subject]
            return ("mail", "replace", "Inbox", found[0], "--subject", "added", "--date", "97/01/25 09:00", "--body",
                    "-") if found else None
        return arguments

    def replying(self, subject):
        def arguments(reading):
            row = reading.rows("Inbox", subject)[0]
            if not any(mail.folder.endswith("/Outbox") and subject in mail.subject for mail in reading.mails):
                return "mail", "reply", "Inbox", row, "--body", "-"
            answered = any(mail.subject == subject and mail.flags[4] == "R" for mail in reading.mails)
            return None if answered else ("mail", "flag", "Inbox", row, "4", "R")
        return arguments


class Trial:
    """A scenario on directories of its own: the start, the undisturbed end, and as many copies as wanted.

    `calls` are those of the undisturbed run, which took `seconds`; `watched` is what `watch` made of the directory
    right before it.
    """

    def __init__(self, context, world, scenario, watch=lambda directory: None):
        self.context, self.world, self.scenario = context, world, scenario
        self.root = world.root / scenario.name
        self.start = self.root / "start"
        shutil.copytree(world.template, self.start)
        scenario.arrange(self.start)
        self.before = invariants.read(context, self.start)
        self.directory = self.copy("clean")
        self.command = self.arguments(self.directory, self.before)
        self.watched = watch(self.directory)
        log, begin = self.root / "log", time.monotonic()
        run = self.run(self.directory, **shim.environment(context, self.directory, log=log, data=True))
        self.seconds = time.monotonic() - begin
        if run.returncode != 0:
            raise RuntimeError(f"{scenario.name}: {run.stderr.decode()}")
        self.calls = shim.calls(log, data=True)
        self.change = invariants.Change(self.before, invariants.read(context, self.directory))
        wrong = self.judge(self.directory, self.change.after, done=True)
        if wrong:
            raise RuntimeError(f"{scenario.name} undisturbed: {wrong}")

    def copy(self, name):
        directory = self.root / name
        shutil.rmtree(directory, ignore_errors=True)
        shutil.copytree(self.start, directory)
        return directory

    def arguments(self, directory, reading):
        self.world.directory = directory
        return self.scenario.arguments(reading)

    def run(self, directory, **environment):
        return self.context.postkite(directory, *self.command, text=self.scenario.text, **environment)

    most_points = None      # of one round; None: all

    def cut(self, directory, deletions):
        """What the host holds when the power has failed."""

    def surroundings(self, directory):
        """What has to run beside the command."""
        del directory
        return contextlib.nullcontext()

    def judge(self, directory, reading, done):
        del directory
        return self.change.judge(reading, done)

    def judge_again(self, directory):
        """The command once more, nothing disturbing it: then all of it is done, and done once."""
        reading, wrong = invariants.recovered(self.context, directory)
        for _ in range(CALLS_AGAIN):
            again = self.arguments(directory, reading)
            if again is None or wrong:
                break
            run = self.context.postkite(directory, *again, text=self.scenario.text)
            wrong += invariants.judge_run(run)
            if run.returncode != 0:
                wrong.append(f"exit status {run.returncode} without a fault: {run.stderr.decode('utf-8', 'replace')[:300]}")
            reading, more = invariants.recovered(self.context, directory)
            wrong += more
        wrong += invariants.judge_listing(self.context, directory, reading)
        return [f"when called again: {what}" for what in wrong + self.judge(directory, reading, done=True)]

    def end(self):
        shutil.rmtree(self.root)
