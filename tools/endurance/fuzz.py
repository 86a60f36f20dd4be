"""Any bytes in the place of files and of the line: every fuzz target with its own invariants.

Without a time: the seeds and some changed ones through every target (fuzz_seeds, built with the tests). With one: the preset
`fuzz` is built where it is not, and libFuzzer has the time in equal shares; what it has found stays in build/corpus. A case
is a target's name, or a target's name and a file: mailbox:crash-1234.
"""

import re
import subprocess

from endurance.frame import PROJECT, Result

CHANGED_SEEDS = 150
BUILD = PROJECT / "build/fuzz"
CORPUS = PROJECT / "build/corpus"
SEEDS = PROJECT / "fuzz/seeds"
DICTIONARIES = PROJECT / "fuzz/dictionaries"
SHARES = 4  # each target comes so often, so that a run that is broken off has seen all of them


def targets():
    return sorted(path.name for path in SEEDS.iterdir())


def short_run(context, result, only):
    program = context.program("fuzz_seeds")
    for name in only:
        run = subprocess.run([program, SEEDS, str(CHANGED_SEEDS), name], cwd=context.scratch, capture_output=True, text=True,
                             env=context.environment(), check=False)
        found = re.search(rf"^{name} (\d+)$", run.stdout, re.M)
        if run.returncode != 0 or not found:
            left = context.scratch / f"{name}.input"
            result.violation(f"{name}: {said(run.stderr)}", f"{program} --input {name} {left}")
        else:
            result.tried["executions"] += int(found.group(1))


def said(stderr):
    """The line of a sanitizer's or a check's report that says what it was."""
    for pattern in (r"^.*a check does not hold.*$", r"^.*runtime error.*$", r"^.*ERROR: .*$"):
        found = re.search(pattern, stderr, re.M)
        if found:
            return found.group(0).strip()
    return "ended in the middle of an input"


def build(only):
    if not (BUILD / "build.ninja").is_file():
        subprocess.run(["cmake", "--preset", "fuzz"], cwd=PROJECT, check=True, stdout=subprocess.DEVNULL)
    names = [f"{name}_fuzz" for name in only]
    subprocess.run(["cmake", "--build", "--preset", "fuzz", "--target", *names], cwd=PROJECT, check=True,
                   stdout=subprocess.DEVNULL)


def fuzz(context, result, name, seconds):
    corpus = CORPUS / name
    corpus.mkdir(parents=True, exist_ok=True)
    program = BUILD / "fuzz" / f"{name}_fuzz"
    command = [program, f"-max_total_time={seconds}", "-entropic=0", "-print_final_stats=1", "-rss_limit_mb=2048",
               f"-dict={DICTIONARIES / name}", f"-artifact_prefix={context.scratch}/{name}-", corpus, SEEDS / name]
    run = subprocess.run([str(part) for part in command], cwd=context.scratch, capture_output=True, text=True,
                         errors="replace", check=False)
    done = re.search(r"number_of_executed_units: (\d+)", run.stderr)
    executions = int(done.group(1)) if done else 0
    result.tried["executions"] += executions
    if run.returncode != 0:
        kept = re.search(r"Test unit written to (\S+)", run.stderr)
        result.violation(f"{name}: {said(run.stderr)}", f"{program} {kept.group(1) if kept else ''}")
    return executions


def run(context):
    result = Result()
    name, _, again = context.only.partition(":")
    only = [name] if name else targets()
    if again:
        build(only)
        once = subprocess.run([BUILD / "fuzz" / f"{name}_fuzz", again], capture_output=True, text=True, errors="replace",
                              check=False)
        result.tried["executions"] += 1
        if once.returncode != 0:
            result.violation(f"{name}: {said(once.stderr)}", context.again(context.only))
        return result
    if context.short:
        short_run(context, result, only)
        return result
    build(only)
    seconds = max(1, int(context.minutes * 60 / SHARES / len(only)))
    counts = dict.fromkeys(only, 0)
    for _ in range(SHARES):
        for target in only:
            counts[target] += fuzz(context, result, target, seconds)
    for target, count in counts.items():
        print(f"  {target:20}{count:>12,} executions, {count / (SHARES * seconds):,.0f} a second")
    return result
