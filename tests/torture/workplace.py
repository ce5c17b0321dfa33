"""What a trial works on."""

import os
import re
import shutil
import sqlite3
import subprocess
import time
from collections import Counter
from contextlib import ExitStack, closing, suppress
from pathlib import Path
from signal import SIGCONT, SIGKILL


def holds(condition, seconds=30, pause=0.02):
    """Waits until a condition is true; returns its value, which is false after a time-out."""
    end = time.monotonic() + seconds
    while not (value := condition()) and time.monotonic() < end:
        time.sleep(pause)
    return value


class Workplace(ExitStack):
    """The shipped clock with a reader, a display and a database in its own folder; closing it ends
    them. `round` of `count` is the current round; `random` is seeded by SEED. `swiped` lists all badges,
    `seen` holds those that were seen in the database, `refused` those that must not be stored."""

    def __init__(self, trial, count, folder, programs, random):
        super().__init__()
        self.trial, self.count, self.round, self.random = trial, count, 0, random
        self.folder, self.programs, self.database = folder, programs, folder / 'data/Orvanta.mdb'
        self.swiped, self.seen, self.refused = [], set(), set()
        self.environment = os.environ | {
            'DBUS_SESSION_BUS_ADDRESS': 'disabled:', 'QT_QPA_PLATFORM': 'offscreen',
            'XDG_CONFIG_HOME': str(folder / 'config'), 'XDG_RUNTIME_DIR': str(folder / 'run')}

    def make_database(self):
        for name in 'config/Tavrel', 'data', 'program', 'run', 'after':
            (self.folder / name).mkdir(mode=0o700, parents=True)
        if self.trial.disk:
            self.run('mkfs.ext4', '-q', self.folder / 'image', '16M')
            self.callback(self.run, 'umount', self.folder / 'after', self.folder / 'data')
            self.run('mount', '-o', 'loop,commit=600', self.folder / 'image', self.folder / 'data')
            assert os.path.ismount(self.folder / 'data'), 'cannot mount a file system'
        self.run(self.programs / 'sitetool', 'new', self.database)
        with self.connect() as database:
            database.executescript(f'PRAGMA journal_mode = {self.trial.journal};' +
                                   Path('tools/sample/people.sql').read_text())
        shutil.copy(self.programs / 'Tavrel', self.folder / 'program')
        os.symlink(self.database, self.folder / 'program/Orvanta.mdb')  # as when installed

    def start(self, *command, stdin=None, **environment):
        """Starts a program; `said` finds its output by its name."""
        with open(self.folder / Path(command[0]).name, 'w') as file:
            process = subprocess.Popen(
                command, env=self.environment | environment, cwd=self.folder / 'data', stdin=stdin,
                stdout=file, stderr=file, text=True, bufsize=1)
        self.callback(self.end, process)
        return process

    def end(self, process):
        """Ends a process, which may be stopped, and returns its status."""
        process.terminate()
        process.send_signal(SIGCONT)
        with suppress(subprocess.TimeoutExpired):
            return process.wait(10)
        process.kill()
        return process.wait()

    def said(self, name, pattern):
        return re.search(pattern, (self.folder / name).read_text(errors='replace'), re.M)

    def run(self, *command):
        """Runs a program to its end, and returns what it printed; nothing if it does not end."""
        with suppress(subprocess.TimeoutExpired):
            return subprocess.run([*map(str, command)], env=self.environment, timeout=20,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        return b''

    def start_display(self):
        self.display = self.start('Xvfb', '-displayfd', '1', '-screen', '0', '1024x600x24')
        number = holds(lambda: self.said('Xvfb', '^([0-9]+)\n'))[1]
        self.environment |= {'DISPLAY': f':{number}', 'QT_QPA_PLATFORM': 'xcb'}
        self.manager = self.start('openbox', '--startup', 'echo ready')  # before that, it may lose a window
        assert holds(lambda: self.said('openbox', 'ready'))

    def windows(self, title, kind='--name'):
        """The visible windows of a title, a pattern, from the bottom to the top."""
        return self.run('xdotool', 'search', '--onlyvisible', kind, f'^({title})$').decode().split()

    def boxes(self):
        return self.windows('-?[0-9]+|Tavrel')

    def press(self, key, windows):
        """Presses a key on the last of some windows; returns whether there is one."""
        if windows:
            self.run('xdotool', 'windowactivate', windows[-1], 'key', key)
            time.sleep(0.2)  # two presses within a click's time count as one
        return bool(windows)

    def close_box(self):
        return self.press('Return', self.boxes())

    def calm_down(self):
        """Closes message boxes until no further one comes."""
        assert holds(lambda: not (self.close_box() or time.sleep(0.5) or self.close_box()))

    def plug_in(self):
        self.reader = self.start(self.programs / 'virtual-reader', '--link',
                                 self.folder / 'config/Tavrel/COM1', stdin=subprocess.PIPE)
        self.device = holds(lambda: self.said('virtual-reader', '^ready: (.*)\n'))[1]

    def start_clock(self, wait=True, **environment):
        self.clock = self.start(self.folder / 'program/Tavrel', **environment)
        assert not wait or holds(self.listens)

    def status(self, what):
        return re.search(f'{what}:\\s*(\\w+)', Path(f'/proc/{self.clock.pid}/status').read_text())[1]

    def listens(self):
        """Whether the clock has opened the reader's line and waits in its event loop."""
        with suppress(OSError):
            files = [os.readlink(file) for file in Path(f'/proc/{self.clock.pid}/fd').iterdir()]
            return self.device in files and self.status('State') == 'S'

    def use(self):
        """The clock's process, the number of its open files, and its memory in kB."""
        time.sleep(0.1)  # a journal may still be open
        return self.clock.pid, len(os.listdir(f'/proc/{self.clock.pid}/fd')), int(self.status('VmRSS'))

    def end_clock(self, action, *statuses):
        """Calls `action`, which must end the clock with one of the given statuses."""
        assert self.clock.poll() is None, 'the clock had ended by itself'
        action()
        assert holds(lambda: self.clock.poll() is not None)
        assert self.clock.returncode in statuses, self.clock.returncode

    def kill_clock(self, number=SIGKILL):
        """Ends the clock by a signal, which must be what ends it."""
        self.end_clock(lambda: self.clock.send_signal(number), -number)

    def swipe(self):
        """Swipes a new badge, which is on all three tracks, and returns it."""
        self.swiped.append(badge := str(1000001 + len(self.swiped)))
        print(f'%{badge};{badge}+{badge}', file=self.reader.stdin)
        return badge

    def see(self, badge):
        """Waits until a badge is seen stored, closing every message box that comes first."""
        assert holds(lambda: self.has(badge), 1) or holds(
            lambda: self.has(badge) or self.close_box() and False), badge
        self.seen.add(badge)

    def swipe_and_wait(self):
        """Swipes and waits: every other time until the clock writes, and then for a random moment."""
        def journals():
            with suppress(FileNotFoundError):
                return [os.stat(file).st_mtime_ns for file in self.database.parent.glob('*-[jw]*')]
        before = journals()
        self.swipe()
        if self.round % 2 == 0:
            holds(lambda: journals() != before, 0.4, pause=0)
        self.pause(0.25 if self.round % 2 else 0.012)

    def pause(self, longest):
        time.sleep(self.random.uniform(0, longest))

    def connect(self, database=None):
        connection = sqlite3.connect(f'{(database or self.database).as_uri()}?mode=rw', uri=True,
                                     isolation_level=None)
        connection.text_factory = lambda text: text.decode(errors='replace')
        return closing(connection)

    def query(self, text, database=None):
        """The rows of a query; none where the file cannot be read."""
        with suppress(sqlite3.Error), self.connect(database) as connection:
            return connection.execute(text).fetchall()
        return []

    def has(self, badge):
        return self.query(f"SELECT 1 FROM RawDataDetails WHERE PersonalID = '{badge}'")

    def compare(self, database=None):
        """Compares what a database holds with what was swiped; returns how many punches it holds."""
        stored = Counter(badge for badge, in self.query('SELECT PersonalID FROM RawDataDetails', database))
        wrong = {
            'damaged': self.query('PRAGMA integrity_check', database) != [('ok',)],
            'stored twice': {badge for badge, count in stored.items() if count > 1},
            'never swiped': stored.keys() - set(self.swiped),
            'gone': self.seen - stored.keys(),
            'not refused': self.refused & stored.keys(),
            'RecordCount': self.query('SELECT total(RecordCount) AS counted FROM RawData HAVING counted <'
                                      '(SELECT count(*) FROM RawDataDetails)', database)}
        assert not any(wrong.values()), {what: which for what, which in wrong.items() if which}
        return stored.total()
