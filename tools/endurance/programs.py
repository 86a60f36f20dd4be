"""Two and three programs at once on one directory, all commands mixed, and the listings that they get meanwhile.

Every worker calls one command after another. A mail is moved, marked and deleted only by the worker that wrote it, in a
folder of that worker's, so what has been acknowledged is known at any time; Inbox, Trash, tree, rules and settings are
everybody's. A listing has every mail that was there before it began and after it ended, once. A case is a number of
programs.
"""

import collections
import json
import random
import subprocess
import threading
import time

from endurance import invariants
from endurance.frame import Result

SHORT_COMMANDS = 10     # of each program
MAILS_BEFORE = 900
BANK = "MailBox1/"
OWN_KEYS = ("HOST NAME", "CONNECTSOUND", "DISCONNECTSOUND")  # of the settings, one of each worker
BUSY = ("通信中", "送受信中")  # a refusal that a session is the reason of


class Model:
    """What has been acknowledged. `places`: where a mail may be, more than one folder while a command moves it."""

    def __init__(self, result, case):
        self.lock = threading.Lock()
        self.result = result
        self.case = case
        self.places = {}
        self.turns = collections.Counter()  # how often the places of a mail have changed

    def put(self, subject, *folders):
        with self.lock:
            self.places[subject] = frozenset(folders)
            self.turns[subject] += 1

    def settled(self, folder):
        with self.lock:
            return {subject: self.turns[subject] for subject, places in self.places.items() if places == {folder}}

    def violation(self, what, again):
        with self.lock:
            self.result.violation(what, again)

    def count(self, what):
        with self.lock:
            self.result.tried[what] += 1


class Worker(threading.Thread):
    def __init__(self, context, directory, model, number, commands):
        super().__init__()
        self.context, self.directory, self.model, self.number, self.commands = context, directory, model, number, commands
        self.random = random.Random(f"{context.seed} {model.case} {number}")
        self.home = f"W{number}"
        self.made = 0
        self.folders = []  # beside the home, by base name
        self.again = context.again(model.case)

    def run(self):
        try:
            turns = self.turns()
            done = 0
            while not self.context.expired() and (self.commands is None or done < self.commands):
                self.random.choice(turns)()
                done += 1
        except subprocess.TimeoutExpired as late:
            self.model.violation(f"a command did not end: {late}", self.again)

    def turns(self):
        often = [self.add_here] * 4 + [self.add_to_inbox] * 3 + [self.list_somewhere] * 6 + [self.show] * 2
        if self.number == 0:
            often += [self.thin_out] * 5
        seldom = [self.trash, self.trash, self.delete, self.mark, self.mark, self.sort, self.compact, self.setting,
                  self.new_folder, self.rename_folder, self.move_folder, self.delete_folder, self.rule]
        return often + seldom + ([self.session] if self.number == 0 else [])

    def do(self, *arguments, text=b"", allowed=()):
        """Runs a command. Whether it has done all of it; a failure that has no reason here is a violation."""
        run = self.context.postkite(self.directory, *arguments, text=text, seconds=120)
        self.model.count("commands")
        words = run.stderr.decode("utf-8", "replace")
        for wrong in invariants.judge_run(run):
            self.model.violation(f"{' '.join(arguments)}: {wrong}", self.again)
        if run.returncode != 0 and not any(reason in words for reason in (*BUSY, *allowed)):
            self.model.violation(f"{' '.join(arguments)}: refused: {words.strip()[:300]}", self.again)
        self.output = run.stdout
        return run.returncode == 0

    def subject(self, kind):
        self.made += 1
        return f"{kind} w{self.number} {self.made}"

    def add(self, folder, subject, *later):
        """`later`: where others may move it."""
        text = f"{subject}\n".encode() * self.random.choice((1, 30, 2000))
        # A mail of which nobody has said that it was stored may be there or not: it is not looked for.
        if self.do("mail", "add", folder, "--subject", subject, "--body", "-", text=text):
            self.model.put(subject, folder, *later)

    def add_here(self):
        self.add(self.random.choice([self.home, *self.folders]), self.subject("own"))

    def add_to_inbox(self):
        if self.random.random() < 0.3:
            self.add("Inbox", self.subject("sortable"), "Sorted")
        else:
            self.add("Inbox", self.subject("common"))

    def listing(self, folder):
        if not self.do("--json", "mail", "list", folder):
            return None
        return [row["subject"] for row in json.loads(self.output)]

    def list_somewhere(self):
        self.check_listing(self.random.choice(["Big", "Big", "Big", "Inbox", "Trash", "Sorted", "W0", "W1"]))

    def check_listing(self, folder):
        before = self.model.settled(folder)
        subjects = self.listing(folder)
        if subjects is None:
            return None
        after = self.model.settled(folder)
        self.model.count("listings")
        counts = collections.Counter(subjects)
        for subject, turn in before.items():
            if after.get(subject) == turn and counts[subject] != 1:
                self.model.violation(f"the listing of {folder} has {subject} {counts[subject]} times", self.again)
        for subject, count in counts.items():
            if count > 1 and subject not in before:
                self.model.violation(f"the listing of {folder} has {subject} {count} times", self.again)
        return subjects

    def own_row(self):
        """A mail of the home folder and its number, which only this worker changes."""
        subjects = self.check_listing(self.home)
        if not subjects:
            return None, None
        row = self.random.randrange(len(subjects))
        return subjects[row], str(row)

    def trash(self):
        subject, row = self.own_row()
        if subject:
            self.model.put(subject, self.home, "Trash")
            if self.do("mail", "trash", self.home, row):
                self.model.put(subject, "Trash")

    def thin_out(self):
        """Takes some mails out of the middle of a large folder, which only this worker does."""
        subjects = self.check_listing("Big")
        if not subjects:
            return
        rows = self.random.sample(range(len(subjects)), min(len(subjects), self.random.randrange(1, 4)))
        for row in rows:
            self.model.put(subjects[row], "Big", "Trash")
        if self.do("mail", "trash", "Big", *map(str, sorted(rows))):
            for row in rows:
                self.model.put(subjects[row], "Trash")

    def delete(self):
        subject, row = self.own_row()
        if subject:
            self.model.put(subject, self.home, "")
            if self.do("mail", "delete", self.home, row):
                self.model.put(subject, "")

    def mark(self):
        subject, row = self.own_row()
        if subject:
            self.do("mail", self.random.choice(("read", "unread", "reserve", "unreserve")), self.home, row)

    def show(self):
        subject, row = self.own_row()
        if subject and self.do("mail", "show", self.home, row) and subject not in self.output.decode("utf-8", "replace"):
            self.model.violation(f"row {row} of {self.home} does not show {subject}", self.again)

    def sort(self):
        self.do("sort")

    def compact(self):
        self.do("compact")

    def rule(self):
        name = self.subject("rule")
        self.do("rules", "add", name, "Subject:", f"never {name}", "Sorted")

    def setting(self):
        key, value = OWN_KEYS[self.number % len(OWN_KEYS)], f"v{self.random.randrange(10 ** 6)}"
        if self.do("settings", "set", key, value) and self.do("settings", "get", key):
            if value not in self.output.decode("utf-8", "replace"):
                self.model.violation(f"the setting {key} is not {value} any more", self.again)

    def new_folder(self):
        self.made += 1
        name = f"N{self.number}x{self.made}"
        if self.do("folders", "new", "Desktop", name):
            self.folders.append(name)
            self.add(name, self.subject("own"))

    def carry(self, folder, new, *command):
        """A command that gives the files of a folder another name."""
        mails = list(self.model.settled(folder))
        for subject in mails:
            self.model.put(subject, folder, new)
        if self.do("folders", *command):
            self.folders[self.folders.index(folder)] = new
            for subject in mails:
                self.model.put(subject, new)

    def rename_folder(self):
        if self.folders:
            folder = self.random.choice(self.folders)
            self.made += 1
            name = f"R{self.number}x{self.made}"
            parent = folder.rpartition("#")[0]
            self.carry(folder, f"{parent}#{name}" if parent else name, "rename", folder, name)

    def move_folder(self):
        above = [folder for folder in self.folders if "#" not in folder]
        if above:
            folder = self.random.choice(above)
            self.carry(folder, f"{self.home}#{folder}", "move", folder, self.home)

    def delete_folder(self):
        if len(self.folders) > 2:
            folder = self.random.choice(self.folders)
            if self.do("folders", "delete", folder):
                self.folders.remove(folder)  # the files stay, and what is in them

    def session(self):
        """One call at a practice host with two mails."""
        self.made += 1
        place = self.context.scratch / f"host {self.model.case} {self.made}"
        (place / "mail").mkdir(parents=True)
        subjects = [self.subject("received") for _ in range(2)]
        for number, subject in enumerate(subjects):
            (place / f"mail/{number}.txt").write_text(f"Name: KITE\nId: DEF01234\nDate: 97/01/24 08:05\nSubject: {subject}\n\n"
                                                      f"{subject}\n")
        line = place / "line"
        with subprocess.Popen([self.context.program("postkite-host"), "--pty", line, "--state", place, "--route", "2"],
                              env=self.context.environment(), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as host:
            while not line.exists() and host.poll() is None:
                time.sleep(0.02)
            if self.do("session", "--receive-only", "--port", str(line), "--pace", "50"):
                self.model.count("sessions")
                for subject in subjects:
                    self.model.put(subject, "Inbox")
            host.terminate()


def prepare(context, directory, model, workers):
    """More mails than are read in one piece: what is taken out between two pieces is what a listing can get wrong."""
    for key, value in (("FENICS LOAD", "2"), ("USERID", "ABC01234"), ("USERPASSWORD", "himitsu"), ("PHONE NUMBER", "03-0000-0000")):
        context.postkite(directory, "settings", "set", key, value)
    for name in ("Sorted", "Big", *(f"W{number}" for number in range(workers))):
        context.postkite(directory, "folders", "new", "Desktop", name)
    context.postkite(directory, "rules", "add", "sortable", "Subject:", "sortable", "Sorted")
    lines = []
    for number in range(MAILS_BEFORE):
        lines += [f"{number % 1000:3} {'YAMADA TARO':16}  {'ABC01234':17} 97/01/23 12:34", f"Subject : before {number}", f"text {number}",
                  "--- action:DELETE"]
    (directory / "before.txt").write_bytes("".join(line + "\r\n" for line in lines).encode("cp932"))
    context.postkite(directory, "analyse", "mail", "before.txt")
    context.postkite(directory, "rules", "add", "before", "Subject:", "before", "Big")
    context.postkite(directory, "sort")
    run = context.postkite(directory, "--json", "mail", "list", "Big")
    for row in json.loads(run.stdout):
        model.put(row["subject"], "Big")


def judge_end(context, directory, model):
    """What the independent reader finds when all programs have ended."""
    reading, wrong = invariants.recovered(context, directory)
    again = context.again(model.case)
    for what in wrong + [f"fault: {' '.join(fault)}" for fault in reading.faults]:
        model.violation(what, again)
    found = collections.defaultdict(list)
    for mail in reading.mails:
        found[mail.subject].append(mail.folder.removeprefix(BANK))
    for subject, places in model.places.items():
        expected = "nowhere" if places == {""} else f"once in {' or '.join(sorted(places))}"
        fits = not found[subject] if places == {""} else len(found[subject]) <= 1 and set(found[subject]) <= places
        if places != {""} and not found[subject] and "" not in places:
            fits = False
        if not fits:
            model.violation(f"{subject} is in {', '.join(found[subject]) or 'nothing'}; it has to be {expected}", again)
    # Two programs may make the same one in the same millisecond, but not for one folder.
    identifiers = collections.Counter((mail.folder, mail.identifier) for mail in reading.mails)
    for (folder, identifier), count in identifiers.items():
        if count > 1:
            model.violation(f"{count} mails of {folder} have the identifier {identifier}", again)


def run(context):
    result = Result()
    counts = [int(context.only)] if context.only else [3] if context.short else [2, 3]
    for programs in counts:
        if context.expired():
            break
        model = Model(result, str(programs))
        directory = context.scratch / f"{programs} programs"
        directory.mkdir()
        prepare(context, directory, model, programs)
        workers = [Worker(context, directory, model, number, SHORT_COMMANDS if context.short else None)
                   for number in range(programs)]
        if programs == 2 and not context.only:
            # The rest of the time is for three.
            limit = context.begin + context.minutes * 60 / 4
            for worker in workers:
                worker.commands = None
            stop = threading.Timer(max(0, limit - time.monotonic()), lambda ws=workers: [setattr(w, "commands", 0) for w in ws])
            stop.daemon = True
            stop.start()
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        judge_end(context, directory, model)
        result.tried["mails"] += len(model.places)
    return result
