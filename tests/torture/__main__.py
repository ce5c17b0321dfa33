"""PROGRAMS short|long run FOLDER FOLDER-IN-MEMORY NUMBER runs one trial; PROGRAMS short|long names NAME...
prints the numbers of these trials, or of all trials of a run of that size."""

import os
import random
import signal
import sys
import traceback
from pathlib import Path

from trials import TRIALS
from workplace import Workplace


def do_rounds(place):
    place.start_display()
    place.plug_in()
    place.start_clock()
    for place.round in range(place.count):
        place.see(place.swipe())
        if place.round == place.count // 4:
            process, files, memory = place.use()
        place.trial.round(place)
    place.calm_down()
    place.see(place.swipe())
    stored = place.compare()
    now = place.use()
    assert place.count < 5 or now[0] != process or now[1] <= files and now[2] < memory + 1024, now
    print(f'{place.trial.name:10} {place.count:6} times, journal {place.trial.journal:6} '
          f'{len(place.swiped):6} swiped, {stored:6} stored')
    place.kill_clock()
    assert place.end(place.reader) == 0


programs, size, action, *rest = sys.argv[1:]
if action == 'names':
    numbers = [number for number, trial in enumerate(TRIALS) if getattr(trial, size)
               and (trial.name in rest or not rest) and not (trial.disk and os.geteuid())]
    print(*numbers)
    unknown = set(rest) - {TRIALS[number].name for number in numbers}
    sys.exit(f'torture: not a trial of this run: {", ".join(unknown)}' if unknown else 0)

signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
disk, memory, number = rest
trial = TRIALS[int(number)]
place = Workplace(trial, getattr(trial, size), Path(memory if trial.memory else disk, number),
                  Path(programs), random.Random(f'{os.environ["SEED"]} {number}'))
try:
    with place:
        place.make_database()
        (do_rounds if trial.clock else trial.round)(place)
except AssertionError as missed:
    at = traceback.extract_tb(missed.__traceback__)[-1]
    print(f'  missed: {trial.name} {place.round}: {str(missed) or at.line} '
          f'({Path(at.filename).name}:{at.lineno})')
    sys.exit(1)
