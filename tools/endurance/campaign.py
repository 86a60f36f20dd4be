"""Goes through the points at which the commands that write can be struck, for the regimes that strike them."""

import shutil

from endurance import sessions
from endurance.frame import Result
from endurance.scenarios import Trial, World

PARTS = 8       # a round is gone through in parts, so that a run that is stopped early has seen something of everything


def run(context, what, points_of, strike, watch=lambda directory: None):
    """Strikes at every point of every scenario, each round in another directory, until the time is over.

    `points_of(trial)` gives the points, spelled as `--only` names them; a short run takes one of each scenario's.
    `strike(trial, point)` gives the promises that were broken there.
    """
    result = Result()
    seed = context.seed
    while True:
        context.begin_round(seed)
        world = World(context)
        whole = context.short or context.only
        for part in range(1 if whole else PARTS):
            for scenario in [*world.chosen(), *sessions.chosen(context)]:
                context.begin_round(f"{seed} {scenario.name}")
                trial = (scenario.trial or Trial)(context, world, scenario, watch)
                points = choose(context, list(points_of(trial)), trial, part)
                for point in points:
                    if context.expired():
                        return result
                    result.tried[what] += 1
                    case = f"{scenario.name}/{point}"
                    for wrong in strike(trial, point):
                        result.violation(f"{case}: {wrong}", context.again(case, seed))
                if not context.only:
                    trial.end()
        if whole:
            return result
        shutil.rmtree(world.root)
        seed += 1


def choose(context, points, trial, part):
    if "/" in context.only:
        return [context.only.split("/", 1)[1]]
    if context.short and not context.only:
        return [context.random.choice(points)]
    if trial.most_points is not None:
        points = context.random.sample(points, min(len(points), trial.most_points))
    return points if context.only else points[part::PARTS]
