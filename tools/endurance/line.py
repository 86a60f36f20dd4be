"""The line: lost, silent and garbled at every byte of a session, with all four scripts, then called again.

Both ends are one program in a time of its own (endure_line, built with the tests): a session takes milliseconds. A case is
script, trouble and byte: "A lost 1401". Without a time every 97th byte is tried.
"""

import re
import subprocess

from endurance.frame import Result

SCRIPTS = "ABCD"
TROUBLES = ("lost", "silent", "garbled")
SHORT_STEP = 97
PIECE = 50  # bytes between two looks at the clock


def call(context, result, script, trouble, first, step, last=None):
    """Tries these bytes. Returns how many the whole session has."""
    command = [context.program("endure_line"), script, trouble, first, step, *([last] if last else [])]
    run = subprocess.run([str(part) for part in command], capture_output=True, text=True, errors="replace",
                         env=context.environment(), check=False)
    for case, what in re.findall(r"^BROKEN (\w \w+ \d+): (.*)$", run.stdout, re.M):
        result.violation(f"{case}: {what}", context.again(case))
    done = re.search(r"^bytes (\d+) calls (\d+) broken (\d+) torn (\d+)$", run.stdout, re.M)
    if not done:
        result.violation(f"{' '.join(map(str, command[1:]))}: ended early: {run.stderr[-300:]}", " ".join(map(str, command)))
        return 0
    result.tried["calls"] += int(done.group(2))
    result.tried["torn mails that stayed"] += int(done.group(4))
    return int(done.group(1))


def run(context):
    result = Result()
    if context.only:
        script, trouble, byte = context.only.split()
        call(context, result, script, trouble, byte, 1, byte)
        return result
    cases = [(script, trouble) for script in SCRIPTS for trouble in TROUBLES]
    if context.short:
        for script, trouble in cases:
            call(context, result, script, trouble, 1 + context.seed % SHORT_STEP, SHORT_STEP)
        return result
    # In any order, so that a run that ends early has seen something of everything.
    pieces = []
    for script, trouble in cases:
        length = call(context, result, script, trouble, 1, 1, 1)
        pieces += [(script, trouble, first, min(first + PIECE - 1, length)) for first in range(2, length + 1, PIECE)]
    context.random.shuffle(pieces)
    left = len(pieces)
    for script, trouble, first, last in pieces:
        if context.expired():
            break
        call(context, result, script, trouble, first, 1, last)
        result.tried["bytes"] += last - first + 1
        left -= 1
    if left > 0:
        print(f"  {left} of {len(pieces)} pieces of {PIECE} bytes were not reached")
    return result
