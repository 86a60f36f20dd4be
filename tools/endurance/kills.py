"""Every command that writes is killed at every file call, within every write, and at random times."""

import subprocess
import time

from endurance import campaign, invariants, shim

AT_RANDOM = 20      # times a command


def points(trial):
    """NUMBER/kill before a call, NUMBER/torn within a write, MICROSECONDS/time after the start."""
    for call in trial.calls:
        if call.number == 0:
            continue
        yield f"{call.number}/kill"
        if call.kind == "w" and call.size > 1:
            yield f"{call.number}/torn"
    for _ in range(AT_RANDOM):
        yield f"{trial.context.random.randrange(int(trial.seconds * 1_000_000))}/time"


def kill_after(trial, directory, microseconds):
    with trial.surroundings(directory):
        process = subprocess.Popen(trial.context.spell(directory, *trial.command), stdin=subprocess.PIPE,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=trial.context.environment())
        process.stdin.write(trial.scenario.text)
        process.stdin.close()
        time.sleep(microseconds / 1_000_000)
        process.kill()
        return process.wait() == 0


def strike(trial, point):
    """The command killed, what it left looked at, and the command again."""
    number, how = point.split("/")
    directory = trial.copy("struck")
    wrong = []
    if how == "time":
        done = kill_after(trial, directory, int(number))
    else:
        run = trial.run(directory, **shim.environment(trial.context, directory, at=number, fault=how))
        done = False
        wrong += invariants.judge_run(run, killed=True)
    reading, more = invariants.recovered(trial.context, directory)
    return wrong + more + trial.judge(directory, reading, done) + trial.judge_again(directory)


def run(context):
    return campaign.run(context, "kills", points, strike)
