"""The trial of ten doors that forward their punches to an office. What a door has is read by SQLite, and
what the office has by psql: no program of this project is asked."""

import os
import re
import shutil
import subprocess
import time
from collections import Counter, defaultdict
from contextlib import contextmanager, suppress
from datetime import datetime, timedelta
from pathlib import Path
from signal import SIGCONT, SIGKILL, SIGSTOP

from workplace import holds

NEW = 'INSERT INTO RawDataDetails (ID, PersonalID, EventStatus, DateTime) VALUES (1, :badge, :type, :time)'
CHANGES = NEW, NEW, NEW, *(f'{change} WHERE rowid = (SELECT rowid FROM RawDataDetails LIMIT 1 OFFSET :row)'
                           for change in ('INSERT INTO RawDataDetails SELECT * FROM RawDataDetails',
                                          'UPDATE RawDataDetails SET EventStatus = 1 - EventStatus',
                                          'UPDATE RawDataDetails SET DateTime = datetime(DateTime, :shift)',
                                          'DELETE FROM RawDataDetails'))


class Door:
    """The office `had` these punches after the last complete pass. Of the punches that the door lost, it
    must have withdrawn at `least` those that it had, and at `most` all."""

    def __init__(self, place, environment, name):
        self.place, self.random, self.name, folder = place, place.random, name, place.folder / name
        self.file, self.states, self.log = folder / 'Orvanta.mdb', folder / 'states', folder / 'log'
        self.environment = environment | {'PGUSER': name, 'STATE_DIRECTORY': str(self.states)}
        self.had, self.least, self.most = Counter(), Counter(), Counter()
        self.lost = self.hours_behind = 0
        self.is_wal, is_large = self.random.randrange(2), name == 'door0' and place.count > 50
        folder.mkdir()
        shutil.copy(place.database, self.file)
        self.clock = place.enter_context(place.connect(self.file))  # has the file open as long as it runs
        self.clock.execute(f'PRAGMA journal_mode = {"wal" if self.is_wal else "delete"}')
        self.change([NEW] * (60_000 if is_large else 100), days=3)  # 50,000 are sent at a time

    def punches(self):
        with self.place.connect(self.file) as database:
            return Counter(database.execute(
                'SELECT PersonalID, CAST(EventStatus AS TEXT), DateTime FROM RawDataDetails'))

    def lose(self, before):
        """Notes which punches the changed file has no more. Its date is that of the door's clock."""
        lost = before - self.punches()
        self.most += lost
        self.lost += lost.total()
        self.is_same = False
        for file in self.file.parent.glob('Orvanta.mdb*') if self.hours_behind else ():
            with suppress(FileNotFoundError):
                os.utime(file, (time.time() - 3600 * self.hours_behind,) * 2)

    def change(self, changes=(), days=0):
        """Makes some changes, or random ones, at once; new punches lie at most these days back."""
        before, random = self.punches(), self.random
        with self.place.connect(self.file) as database:
            database.execute('BEGIN IMMEDIATE')
            for change in changes or random.choices(CHANGES, k=random.randrange(1, 5)):
                moment = datetime.now() - timedelta(days=random.uniform(0, days), hours=self.hours_behind)
                database.execute(change, {
                    'badge': random.randrange(1001, 1013), 'type': random.randrange(2),
                    'time': str(moment)[:19], 'shift': f'{random.randrange(-2000, 2000)} minutes',
                    'row': random.randrange(before.total() or 1)})
            database.execute('COMMIT')
        self.lose(before)

    def save(self):
        """Makes a backup, in which the rows may have other numbers."""
        self.had_then, self.withdrawn_then = self.had, self.least
        self.backup = self.file.with_name(f'backup{self.place.round}')
        self.clock.execute('VACUUM INTO ?', [str(self.backup)])

    def restore(self):
        before = self.punches()
        with self.place.connect(self.backup) as backup, self.place.connect(self.file) as database:
            if self.is_wal:
                backup.backup(database)
            else:
                os.replace(shutil.copy2(self.backup, self.file.with_name('new')), self.file)
        self.lose(before)

    def begin(self, command='run', **environment):
        withdraw = ['--withdraw'] * (command == 'run' and self.lost > 5)
        self.is_same = True
        with open(self.log, 'w') as log:
            self.process = subprocess.Popen(
                [self.place.programs / 'tavrel-forward', command, self.file, *withdraw],
                env=self.environment | environment, stdout=log, stderr=log)

    def end(self, endings):
        """Waits until the program ends by itself, with 0 or as in `endings`; returns its status."""
        assert holds(lambda: self.process.poll() is not None, 60), (self.name, 'does not end')
        status, said = self.process.returncode, self.log.read_text()
        assert re.search(({0: ''} | endings).get(status, '$^'), said), (self.name, status, said)
        return status

    def end_pass(self, endings=()):
        status = self.end(dict(endings))
        if status == 0 and self.is_same:
            before, self.had, self.lost = self.had, self.punches(), 0
            self.least = self.least + (before - self.had)
        return status

    def compare(self, here, withdrawn):
        own = self.punches()
        wrong = {'missing': own - here, 'too many': here - own, 'not withdrawn': self.least - withdrawn,
                 'wrongly withdrawn': withdrawn - self.most}
        assert not any(wrong.values()), (
            self.name, {what: which.most_common(5) for what, which in wrong.items()})
        self.least, self.most = withdrawn, Counter(withdrawn)


class Office:
    """The server, the doors, and faults: each does something before passes begin, and something while they
    run. It yields how many doors it affects, unless that shows in how the passes end."""

    def __init__(self, place):
        self.place, self.random, self.folder = place, place.random, place.folder / 'office'
        self.environment = {name: value for name, value in place.environment.items() if name[:2] != 'PG'}
        self.environment |= {'PGHOST': f'{self.folder}/socket', 'PGDATABASE': 'office', 'PGUSER': 'office'}
        place.callback(self.call, 'scripts/office', 'stop', self.folder)
        self.call('scripts/office', 'start', self.folder)
        program = place.programs / 'tavrel-forward'
        self.psql(self.call(program, 'schema'))
        self.doors = [Door(place, self.environment, f'door{number}') for number in range(10)]
        for door in self.doors:
            self.psql(self.call(program, 'door', door.name))
            door.begin('adopt')
            door.end({})
        self.seen = {}  # rows, which must stay

    def call(self, *command, text=None):
        done = subprocess.run(command, input=text, env=self.environment, text=True, capture_output=True)
        assert done.returncode == 0, done
        return done.stdout

    def psql(self, statements, database='office'):
        return self.call('psql', '-qAtXv', 'ON_ERROR_STOP=1', database, text=statements).splitlines()

    def check(self):
        """After a pass of each door, the office has what the door has, and all else as withdrawn."""
        for door in self.doors:
            door.begin()
        for door in self.doors:
            door.end_pass()
        rows = [line.split('|') for line in self.psql(
            'SELECT id, withdrawn IS NULL, door, badge, type, local_time FROM tavrel.punch')]
        before, self.seen = self.seen, {row[0]: row[2:] for row in rows}
        assert before.items() <= self.seen.items(), 'rows of the office were deleted or changed'
        found = defaultdict(Counter)
        for _, is_here, name, *punch in rows:
            found[name, is_here][tuple(punch)] += 1
        for door in self.doors:
            door.compare(found[door.name, 't'], found[door.name, 'f'])

    def save(self):
        self.dump, self.seen_then = self.call('pg_dump'), self.seen
        for door in self.doors:
            door.save()

    def signal(self, number):
        """Sends a signal to all processes of the server."""
        server = (self.folder / 'data/postmaster.pid').read_text().split()[0]
        children = Path(f'/proc/{server}/task/{server}/children').read_text().split()
        for process in server, *children:
            with suppress(ProcessLookupError):
                os.kill(int(process), number)

    def kills(self):
        yield
        for door in self.random.sample(self.doors, 10):
            door.process.kill()
            self.place.pause(0.02)

    def crashes(self):
        yield
        self.signal(SIGKILL)
        self.call('scripts/office', 'start', self.folder)

    def cuts(self):
        yield
        self.psql("SELECT pg_terminate_backend(pid) FROM pg_stat_activity WHERE usename <> 'office'")

    def clocks(self):
        """Clocks are set back an hour, or right again."""
        doors = self.random.sample(self.doors, 5)
        for door in doors:
            door.hours_behind = 1 - door.hours_behind
        yield len(doors)

    def states(self):
        """States are lost, cut off or damaged."""
        for door in self.doors:
            for file in door.states.glob('*.forward'):
                state = file.read_bytes()
                end = self.random.randrange(len(state))
                file.write_bytes(state[:end] + self.random.choice((b'', b'7' + state[end + 1:])))
                if self.random.randrange(3) == 0:
                    shutil.rmtree(door.states)
        yield len(self.doors)

    def strangers(self):
        """Another door's login is used."""
        for door, other in zip(self.doors, self.doors[1:] + self.doors[:1]):
            door.begin(PGUSER=other.name)
            assert door.end({1: 'is not bound to this database'}), door.name
        yield len(self.doors)

    def backups(self):
        doors = self.random.sample(self.doors, 5)
        yield len(doors)
        for door in doors:
            door.restore()

    def dumps(self):
        """A backup of the office is restored."""
        self.psql('CREATE DATABASE fresh')
        self.psql(self.dump, 'fresh')
        yield 1
        self.psql('DROP DATABASE office WITH (FORCE);\nALTER DATABASE fresh RENAME TO office', 'postgres')
        self.seen = self.seen_then
        for door in self.doors:
            door.had, door.least, door.most = door.had_then, door.withdrawn_then, Counter(door.withdrawn_then)
            door.lose(door.had)

    def silences(self):
        """The server stops answering. The passes must end all the same."""
        for door in self.doors:
            door.environment |= {'PGCONNECT_TIMEOUT': '2', 'PGOPTIONS': '-c statement_timeout=1s'}
        yield
        self.signal(SIGSTOP)
        for door in self.doors:
            door.end_pass(FAULTS[Office.silences])
            del door.environment['PGCONNECT_TIMEOUT'], door.environment['PGOPTIONS']
        self.signal(SIGCONT)


# How passes may end, besides with 0: the status and a text.
NOT_REACHED, REFUSED = {75: 'Cannot reach|stopped answering'}, {1: 'would withdraw'}
FAULTS = {
    Office.kills: {-SIGKILL: ''}, Office.crashes: NOT_REACHED, Office.cuts: NOT_REACHED, Office.clocks: {},
    Office.states: {}, Office.strangers: {}, Office.backups: REFUSED, Office.dumps: NOT_REACHED | REFUSED,
    Office.silences: NOT_REACHED | {1: 'statement timeout'}}


def doors(place):
    """Every other cycle of faults finds passes within their transactions, the others at random moments."""
    office, hits = Office(place), Counter()
    for place.round in range(place.count):
        cycle, number = divmod(place.round, len(FAULTS))
        fault, endings = list(FAULTS.items())[number]
        is_held = cycle % 2 == 0
        if fault == Office.clocks:
            office.check()
            office.save()
        with subprocess.Popen(['psql', '-qX'], stdin=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                              env=office.environment) as other, contextmanager(fault)(office) as affected:
            if is_held:
                print('BEGIN; LOCK tavrel.punch IN SHARE MODE;', file=other.stdin, flush=True)
            for door in office.doors:
                door.change()
            for door in office.doors:
                door.begin()
            for door in place.random.sample(office.doors, place.random.randrange(4)):
                door.change()
            if is_held:
                holds(lambda: office.psql('SELECT 1 FROM pg_locks WHERE NOT granted')[4:], 5)
            else:
                place.pause(0.1)
        failed = sum(door.end_pass(endings) != 0 for door in office.doors)
        hits[fault.__name__] += affected or failed
        if place.random.randrange(2):
            office.check()
    office.check()
    for door in office.doors:
        door.begin('status')
        door.end({})
    assert place.count < len(FAULTS) or all(hits.values()), hits
    print(f'{place.trial.name:10} {place.count:6} times,', *(f'{n} {kind},' for kind, n in hits.items()),
          f'{len(office.seen)} punches sent, {sum(door.most.total() for door in office.doors)} withdrawn')
