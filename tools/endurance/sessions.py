"""A whole session with the practice host: two mails and a forum message go out, three mails come in."""

import contextlib
import json
import shutil
import subprocess
import time

from endurance import invariants
from endurance.scenarios import Scenario, Trial

PACES = 50, 20, 5   # times as fast as a real session; slower where the machine is too busy for the host to answer
MOST_POINTS = 60    # of one round: a session takes seconds
WAITING = 3
LINES = 4, 80, 12   # the second takes several writes


def host_text(number):
    return "".join(f"line {line} of the waiting mail {number}\n" for line in range(LINES[number - 1]))


def fill(state):
    (state / "mail").mkdir(parents=True)
    for number in range(1, WAITING + 1):
        head = f"Name: YAMADA\nId: ABC0000{number}\nDate: 97/01/2{number} 12:34\nSubject: waiting {number}\n\n"
        (state / f"mail/{number}.txt").write_text(head + host_text(number))


@contextlib.contextmanager
def host(context, line, state):
    """The practice host on one end of a line."""
    line.unlink(missing_ok=True)
    command = [context.program("postkite-host"), "--pty", line, "--state", state, "--user", "ABC01234", "--password",
               "himitsu", "--route", "2"]
    process = subprocess.Popen([str(part) for part in command], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                               env=context.environment())
    try:
        while not line.is_symlink() and process.poll() is None:
            time.sleep(0.01)
        yield
    finally:
        process.kill()
        process.wait()


class SessionTrial(Trial):
    """Beside each working directory lies the host's, NAME-host; what sessions said is in `said`."""

    said = b""
    most_points = MOST_POINTS

    def __init__(self, context, world, scenario, watch):
        for self.pace in PACES[1:]:
            try:
                super().__init__(context, world, scenario, watch)
                break
            except RuntimeError:
                if self.pace == PACES[-1]:
                    raise
                shutil.rmtree(self.root)
        self.pace = PACES[0]

    def copy(self, name):
        directory = super().copy(name)
        self.said = b""
        shutil.rmtree(self.state(directory), ignore_errors=True)
        fill(self.state(directory))
        return directory

    @staticmethod
    def state(directory):
        return directory.with_name(directory.name + "-host")

    def line(self):
        return self.root / "line"

    def arguments(self, directory, reading):
        del directory, reading
        return "session", "--port", str(self.line()), "--pace", str(self.pace)

    def cut(self, directory, deletions):
        """The host where the power failed when so many mails had been answered with a deletion."""
        state = self.state(directory)
        shutil.rmtree(state, ignore_errors=True)
        fill(state)
        (state / "deleted").mkdir()
        for number in range(1, deletions + 1):
            (state / f"mail/{number}.txt").rename(state / f"deleted/{number}.txt")
        self.said = b""

    def surroundings(self, directory):
        return host(self.context, self.line(), self.state(directory))

    def run(self, directory, **environment):
        self.command = self.arguments(directory, None)
        with self.surroundings(directory):
            run = super().run(directory, **environment)
        self.said += run.stderr
        return run

    def judge(self, directory, reading, done):
        wrong = [f"fault: {' '.join(fault)}" for fault in reading.faults if fault not in self.before.faults]
        wrong += self._judge_deleted(directory) + self._judge_accepted(directory, reading)
        if done:
            wrong += [f"not received: {path.name}" for path in self.state(directory).glob("mail/*.txt")]
            wrong += self._judge_once(reading)
        return wrong + self._judge_untouched(reading)

    def _judge_deleted(self, directory):
        """What the host deleted is in a folder or in a capture, every line of it."""
        kept = b"".join(path.read_bytes() for path in directory.rglob("*") if path.is_file())
        return [f"deleted by the host and lost: {path.stem}" for path in self.state(directory).glob("deleted/*.txt")
                if host_text(int(path.stem)).replace("\n", "\r\n").encode() not in kept]

    def _accepted(self, directory):
        """The subjects of the mails that the host has, each as often as it has it."""
        texts = [path.read_text("utf-8", "replace") for path in self.state(directory).glob("received/*.txt")]
        subjects = [mail.subject for mail in self.before.mails if mail.folder.endswith("/Outbox")]
        return [subject for text in texts for subject in subjects if f"\n{subject}\n" in text]

    def _judge_accepted(self, directory, reading):
        """What the host has accepted is marked, or would not go out, or the person has been told of it by name."""
        wrong = []
        accepted = self._accepted(directory)
        reserved = {mail.subject for mail in reading.mails
                    if mail.folder.endswith("/Outbox") and mail.flags.ljust(9)[8] == "Y"}
        for subject in set(accepted):
            told = subject.encode() in self.said
            if accepted.count(subject) > 1 and not told:
                wrong.append(f"{subject} went out {accepted.count(subject)} times, and not a word")
            if subject in reserved and not told and subject in self._queued(directory):
                wrong.append(f"{subject} was accepted and would go out again")
        return wrong

    def _queued(self, directory):
        copy = directory.with_name("queued")
        shutil.rmtree(copy, ignore_errors=True)
        shutil.copytree(directory, copy)
        run = self.context.postkite(copy, "--json", "queue")
        self.said += run.stderr
        told = [subject for subject in self._accepted(directory) if subject.encode() in run.stderr]
        mails = json.loads(run.stdout or b"{}").get("mails", [])
        return {mail["subject"] for mail in mails} - set(told)

    def _judge_once(self, reading):
        subjects = [mail.subject for mail in reading.mails if mail.folder.endswith("/Inbox")]
        return [f"waiting {number} is there {subjects.count(f'waiting {number}')} times"
                for number in range(1, WAITING + 1) if subjects.count(f"waiting {number}") != 1]

    def _judge_untouched(self, reading):
        now = reading.by_lasting()
        return [f"{mail.subject} is there {len(now.get(mail.lasting, []))} times" for mail in self.before.mails
                if len(now.get(mail.lasting, [])) != 1]

    def judge_again(self, directory):
        """Called until all is through: then every mail is there once, and the host has each once or it was told."""
        _, wrong = invariants.recovered(self.context, directory)
        for self.pace in (*PACES, PACES[0]):
            run = self.run(directory)
            wrong += invariants.judge_run(run)
            if run.returncode == 0:
                break
        self.pace = PACES[0]
        if run.returncode != 0:
            wrong.append(f"exit status {run.returncode} without a fault: {run.stderr.decode('utf-8', 'replace')[-300:]}")
        reading, more = invariants.recovered(self.context, directory)
        return [f"when called again: {what}" for what in wrong + more + self.judge(directory, reading, done=True)]


def chosen(context):
    """In short runs only where it is asked for: a session takes longer than all the commands together."""
    wanted = context.only.split("/")[0]
    now = wanted == "session" or not wanted and not context.short
    return [Scenario("session", None, trial=SessionTrial)] if now else []
