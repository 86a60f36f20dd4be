"""The clock: set back and forward, between commands and while they run.

Each round is a directory of its own and some commands, each with another wall clock (libclock_shim, built with the tests).
Every mail that was acknowledged is there once and whole, and every identifier is its own. A case is the number of a round.
"""

import collections
import json
import shutil

from endurance import invariants
from endurance.frame import Result

DAY = 24 * 60 * 60
# Set back and forward by moments, by a summer time, by days, to another century and to before this system's time.
SHIFTS = (0, 0, -1, 1, -3600, 3600, -DAY, DAY, -40 * DAY, 400 * DAY, -27 * 365 * DAY, 40 * 365 * DAY, -56 * 365 * DAY)
SHORT_ROUNDS = 1
COMMANDS = 12
BANK = "MailBox1/"


class Round:
    def __init__(self, context, result, number):
        self.context, self.result, self.number = context, result, number
        self.directory = context.scratch / f"round {number}"
        self.directory.mkdir()
        self.expected = {}  # folder by subject
        self.random = context.random
        self.case = str(number)

    def violation(self, what):
        self.result.violation(f"round {self.number}: {what}", self.context.again(self.case, self.context.seed))

    def do(self, *arguments, text=b""):
        self.shift = self.random.choice(SHIFTS)
        leap = self.random.choice(SHIFTS)
        run = self.context.postkite(
            self.directory, *arguments, text=text, LD_PRELOAD=self.context.program("libclock_shim.so"),
            ENDURE_CLOCK=self.shift, ENDURE_LEAP=leap, ENDURE_LEAP_AT=self.random.randrange(1, 4))
        self.result.tried["commands"] += 1
        words = run.stderr.decode("utf-8", "replace").strip()
        said = f"{' '.join(arguments)} with the clock at {self.shift:+} s, then {leap:+} s more"
        for wrong in invariants.judge_run(run):
            self.violation(f"{said}: {wrong}")
        if run.returncode != 0:
            self.violation(f"{said}: refused: {words[:300]}")
        return run

    def play(self):
        self.do("folders", "new", "Desktop", "Work")
        self.do("rules", "add", "sortable", "Subject:", "sortable", "Work")
        turns = [self.add] * 5 + [self.trash, self.sort, self.compact, self.mark, self.analyse]
        for number in range(COMMANDS):
            self.random.choice(turns)(f"{self.number}-{number}")
        self.judge()
        shutil.rmtree(self.directory)

    def add(self, name):
        folder = self.random.choice(("Inbox", "Inbox", "Work"))
        subject = self.random.choice(("plain", "sortable")) + " " + name
        if self.do("mail", "add", folder, "--subject", subject, "--body", "-", text=f"{subject}\n".encode()).returncode == 0:
            self.expected[subject] = folder

    def trash(self, _):
        rows = self.rows("Work")
        if rows:
            row = self.random.choice(rows)
            self.do("mail", "trash", "Work", str(row["number"]))
            self.expected[row["subject"]] = "Trash"

    def rows(self, folder):
        return json.loads(self.do("--json", "mail", "list", folder).stdout)

    def sort(self, _):
        self.do("sort")
        for subject, folder in self.expected.items():
            if folder == "Inbox" and subject.startswith("sortable"):
                self.expected[subject] = "Work"

    def compact(self, _):
        self.do("compact")

    def mark(self, _):
        rows = self.rows("Inbox")
        if rows:
            self.do("mail", "read", "Inbox", str(self.random.choice(rows)["number"]))

    def analyse(self, name):
        lines = []
        for number in range(3):
            lines += [f"{number:3} {'YAMADA TARO':16}  {'ABC01234':17} 97/01/23 12:34", f"Subject : mail {name} {number}",
                      f"text {number}", "--- action:DELETE"]
        (self.directory / "capture.txt").write_bytes("".join(line + "\r\n" for line in lines).encode("cp932"))
        if self.do("analyse", "mail", "capture.txt").returncode == 0:
            for number in range(3):
                self.expected[f"mail {name} {number}"] = "Inbox"

    def judge(self):
        reading, wrong = invariants.recovered(self.context, self.directory)
        for what in wrong + [f"fault: {' '.join(fault)}" for fault in reading.faults]:
            self.violation(what)
        found = collections.defaultdict(list)
        for mail in reading.mails:
            found[mail.subject].append(mail.folder.removeprefix(BANK))
        for subject, folder in self.expected.items():
            if found[subject] != [folder]:
                self.violation(f"{subject} is in {', '.join(found[subject]) or 'nothing'} and not once in {folder}")
        for identifier, count in collections.Counter(mail.identifier for mail in reading.mails).items():
            if count > 1:
                self.violation(f"{count} mails have the identifier {identifier}")
        self.result.tried["mails"] += len(self.expected)


def run(context):
    result = Result()
    number = int(context.only or 0)
    while True:
        context.begin_round(f"{context.seed} {number}")
        Round(context, result, number).play()
        number += 1
        if context.only or context.expired() or context.short and number >= SHORT_ROUNDS:
            return result
