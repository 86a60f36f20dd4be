"""Every file call of every command that writes fails: once, for good, by half; with ENOSPC, EIO and EACCES."""

import errno

from endurance import campaign, invariants, shim

# What a call of which kind can fail with on a real disk.
ERRORS = {"EIO": "oclrwtynumks", "ENOSPC": "cwymn", "EACCES": "oclnum"}


def points(trial):
    """NUMBER/FAULT for all that can happen in a run, NUMBER/FAULT/good for what goes on happening."""
    for call in trial.calls:
        if call.number == 0:
            continue
        for name, kinds in ERRORS.items():
            if call.kind in kinds:
                yield f"{call.number}/{name}"
                yield f"{call.number}/{name}/good"
        if call.kind in "rw":
            yield f"{call.number}/short"


def strike(trial, point):
    """The command with one fault, and again without."""
    number, name, *for_good = point.split("/")
    directory = trial.copy("struck")
    run = trial.run(directory, **shim.environment(trial.context, directory, at=number, fault=getattr(errno, name, name),
                                                  kinds=ERRORS[name] if for_good else ""))
    wrong = invariants.judge_run(run)
    reading, more = invariants.recovered(trial.context, directory)
    wrong += more + trial.judge(directory, reading, done=run.returncode == 0)
    return wrong + trial.judge_again(directory)


def run(context):
    return campaign.run(context, "fault points", points, strike)
