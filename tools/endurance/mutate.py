"""Puts deliberate faults into a copy of the tree, one at a time, and looks whether the tests notice."""

import os
import shutil
import subprocess
import sys
import time

from endurance.frame import PROJECT, scratch_root
from endurance.mutations import MUTATIONS

JOBS = "2"


def stale():
    """The faults that can no longer be put in: their text is not there, or more than once."""
    return [mutation for mutation in MUTATIONS
            if (PROJECT / mutation.file).read_text("utf-8").count(mutation.old) != 1]


def run_quietly(command, tree):
    return subprocess.run(command, cwd=tree, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode


def run_tests(program, tree):
    return run_quietly([f"build/dev/tests/{program}", "--gtest_brief=1"], tree)


def build(tree, programs):
    return run_quietly(["cmake", "--build", "--preset", "dev", "--target", *programs, "--", "-j", JOBS], tree) == 0


def copy_tree(tree):
    listed = subprocess.run(["git", "ls-files", "-z"], cwd=PROJECT, capture_output=True, check=True).stdout.decode()
    for name in filter(None, listed.split("\0")):
        (tree / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy2(PROJECT / name, tree / name)


def noticed_by(tree, mutation):
    """The first test program that fails with the fault; an empty text where none does, None where it does not build."""
    file = tree / mutation.file
    whole = file.read_text("utf-8")
    file.write_text(whole.replace(mutation.old, mutation.new), "utf-8")
    try:
        programs = mutation.tests.split()
        if not build(tree, programs):
            return None
        found = (program for program in programs if run_tests(program, tree) != 0)
        return next(found, "")
    finally:
        file.write_text(whole, "utf-8")


def run(options):
    gone = stale()
    for mutation in gone:
        print(f"mutate: stale: {mutation.name}: {mutation.file} no longer holds its text once", file=sys.stderr)
    if gone:
        return 1
    if options.list:
        for mutation in MUTATIONS:
            print(f"{mutation.name:55}{mutation.file}")
        return 0
    tree = scratch_root(options.scratch) / "tree"
    copy_tree(tree)
    # A copy of the text is newer than what the compiler's cache knows; its content is what counts there.
    os.environ.setdefault("CCACHE_BASEDIR", str(tree))
    run_quietly(["cmake", "--preset", "dev", "-D", "POSTKITE_DESKTOP=OFF"], tree)
    chosen = [mutation for mutation in MUTATIONS if options.only in mutation.name]
    programs = sorted({program for mutation in chosen for program in mutation.tests.split()})
    if not build(tree, programs):
        print(f"mutate: the copy in {tree} does not build", file=sys.stderr)
        return 1
    failing = [program for program in programs if run_tests(program, tree) != 0]
    if failing:
        print(f"mutate: without any fault these fail: {', '.join(failing)}", file=sys.stderr)
        return 1
    missed = 0
    for mutation in chosen:
        begin = time.monotonic()
        by = noticed_by(tree, mutation)
        missed += not by
        what = f"noticed by {by}" if by else "NOT NOTICED" if by == "" else "DOES NOT BUILD"
        print(f"mutate: {mutation.name}: {what}; {time.monotonic() - begin:.0f} s", flush=True)
    print(f"mutate: {len(chosen) - missed} of {len(chosen)} noticed")
    shutil.rmtree(tree.parent)
    return 1 if missed else 0
