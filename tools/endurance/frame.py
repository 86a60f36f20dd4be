"""The command `tools/endure` and what every regime gets from it.

A regime is a module NAME.py beside this one with a docstring, whose first line `--list` prints, and a function

    run(context: Context) -> Result

that tries things until it has tried all that it knows or `context.expired()`. Without `--minutes` the run is short
and the same every time: a few seconds, a sample taken with the seed.
"""

import argparse
import dataclasses
import importlib
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

REGIMES = ("faults", "kills", "power", "line", "programs", "clock", "fuzz")
MOST_SHOWN = 50     # violations of a regime
PROJECT = Path(__file__).resolve().parents[2]


@dataclasses.dataclass
class Result:
    """What a regime tried, counted by kind, and the promises that it saw broken, each with the way to see it again."""

    tried: Counter = dataclasses.field(default_factory=Counter)
    violations: list = dataclasses.field(default_factory=list)

    def violation(self, what, again):
        self.violations.append((what, again))


@dataclasses.dataclass
class Context:
    regime: str
    build: Path          # the build directory with the programs
    scratch: Path        # the regime's own directory; what violated something is to be left there, all else removed
    seed: int
    minutes: float       # 0: a short run
    only: str            # one case to do again, as a violation named it; empty for all

    def __post_init__(self):
        self.begin = time.monotonic()
        self.short = self.minutes == 0
        self.begin_round(self.seed)

    def begin_round(self, seed):
        """Chance begins again, so that a case of any round can be done again by that round's seed alone."""
        self.random = random.Random(f"{self.regime} {seed}")

    def expired(self):
        return self.minutes > 0 and time.monotonic() - self.begin >= self.minutes * 60

    def program(self, name):
        """The path of a built program or library; ends the run with a word where it is missing."""
        for folder in ("", "tests", "fuzz"):
            path = self.build / folder / name
            if path.is_file():
                return path
        sys.exit(f"endure: {name} is not in {self.build}: build it first, or name a build directory with --build")

    def environment(self, **more):
        """What programs are run with: no home of the person, Japanese texts, sanitizers that bear a preloaded library."""
        home = self.scratch / "home"
        home.mkdir(parents=True, exist_ok=True)
        kept = {name: os.environ[name] for name in ("PATH", "TMPDIR") if name in os.environ}
        return {
            **kept,
            "HOME": str(home),
            "LC_ALL": "C.UTF-8",
            "ASAN_OPTIONS": "verify_asan_link_order=0:detect_leaks=0",
            **{name: str(value) for name, value in more.items()},
        }

    def postkite(self, directory, *arguments, text=b"", seconds=60, **more):
        """Runs one command to its end. `more` is added to the environment. Killed after `seconds`: TimeoutExpired."""
        return subprocess.run(self.spell(directory, *arguments), input=text, capture_output=True, timeout=seconds,
                              env=self.environment(**more), check=False)

    def spell(self, directory, *arguments):
        command = [self.program("postkite"), "--dir", directory, "--yes", *arguments]
        return [str(part) for part in command]

    def again(self, case, seed=None):
        """The command that does one case again."""
        return f"tools/endure --seed {self.seed if seed is None else seed} --only {case!r} {self.regime}"


def parse(arguments):
    parser = argparse.ArgumentParser(prog="tools/endure", description=__doc__.splitlines()[0])
    parser.add_argument("regimes", nargs="*", metavar="REGIME", help=f"one of {', '.join(REGIMES)}; default: all")
    parser.add_argument("--minutes", type=float, default=0, help="how long each regime may go on; default: a short run")
    parser.add_argument("--seed", type=int, default=1, help="chooses where not everything can be tried")
    parser.add_argument("--only", default="", metavar="CASE", help="one case again, as a violation named it")
    parser.add_argument("--build", type=Path, default=PROJECT / "build/release", help="the build directory")
    parser.add_argument("--scratch", type=Path, help="where the runs have their files; default: memory, else $TMPDIR")
    parser.add_argument("--list", action="store_true", help="lists the regimes; with --mutate, the faults")
    parser.add_argument("--mutate", action="store_true", help="checks that ./test notices deliberate faults")
    options = parser.parse_args(arguments)
    unknown = [name for name in options.regimes if name not in REGIMES]
    if unknown:
        parser.error(f"no such regime: {', '.join(unknown)}")
    return options


def module(name):
    """A regime's module; None where it has not been written."""
    found = (Path(__file__).parent / f"{name}.py").is_file()
    return importlib.import_module(f"endurance.{name}") if found else None


def scratch_root(wanted):
    if wanted is None and os.access("/dev/shm", os.W_OK):
        wanted = Path("/dev/shm")
    if wanted is not None:
        wanted.mkdir(parents=True, exist_ok=True)
    return Path(tempfile.mkdtemp(prefix="endure-", dir=wanted))


def attack(name, options, root):
    """Runs one regime and prints what came out. Returns how many promises were broken."""
    scratch = root / name
    scratch.mkdir()
    context = Context(name, options.build.resolve(), scratch, options.seed, options.minutes, options.only)
    result = module(name).run(context)
    for what, again in result.violations[:MOST_SHOWN]:
        print(f"{name}: VIOLATION: {what}\n  again: {again}", file=sys.stderr)
    tried = ", ".join(f"{count:,} {kind}" for kind, count in result.tried.items()) or "nothing"
    seconds = time.monotonic() - context.begin
    print(f"{name}: {tried}; {len(result.violations)} violations; {seconds:.0f} s", flush=True)
    if not result.violations and not result.tried:
        print(f"{name}: nothing was tried", file=sys.stderr)
        return 1
    return len(result.violations)


def main(arguments=None):
    options = parse(arguments)
    if options.mutate:
        return importlib.import_module("endurance.mutate").run(options)
    if options.list:
        for name in REGIMES:
            found = module(name)
            print(f"{name:10}{found.__doc__.splitlines()[0] if found else '(not written)'}")
        return 0
    root = scratch_root(options.scratch)
    names = options.regimes or [name for name in REGIMES if module(name)]
    violations = sum(attack(name, options, root) for name in names)
    if violations == 0:
        shutil.rmtree(root)
    else:
        print(f"endure: what was left is in {root}", file=sys.stderr)
    return 1 if violations else 0
