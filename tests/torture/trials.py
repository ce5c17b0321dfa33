"""The trials. Each is a function that does one round at a workplace, and a line of the table at the end.
Before each round and after the last one a punch must be stored; at the end the database must hold what
was swiped. A failing assertion ends the trial and counts as missed."""

import contextlib
import os
import re
import resource
import shutil
import time
from collections import namedtuple
from signal import SIGABRT, SIGCONT, SIGSTOP, SIGTERM, SIGUSR1

from doors import doors
from workplace import holds


def flight(place):
    """In one process: swipes without the 100 ms of a tick between them, or simulated days around a
    midnight and both changes of daylight saving."""
    arguments = place.trial.name, str(place.count), str(place.random.randrange(32768))
    status = place.start(place.programs / 'flight', *arguments, QT_LOGGING_RULES='*=false').wait()
    print((place.folder / 'flight').read_text(), end='', flush=True)
    assert status == 0, arguments


def kills(place):
    place.swipe_and_wait()
    place.kill_clock()
    place.start_clock()


def pulls(place):
    """The reader is pulled out, at times in the middle of a frame, and put back."""
    if place.round % 2:
        print('!begin %666;666+666', file=place.reader.stdin)
    else:
        place.swipe()
    place.pause(0.25)
    assert place.end(place.reader) == 0
    place.pause(0.25)
    place.plug_in()
    # A look into Options has the clock open its port again.
    assert holds(lambda: place.windows('Options') or
                 place.press('alt+o', place.windows('Tavrel v.*')) and False)
    assert holds(lambda: not place.press('Escape', place.windows('Options')))
    assert holds(place.listens)


def locks(place):
    """Another process holds a lock that blocks the look-up of the name, or only the punch. The punch
    waits, or is refused after its time-out of 30 seconds."""
    lock, seconds = (('IMMEDIATE', 1), ('EXCLUSIVE', 1), ('EXCLUSIVE', 5), ('IMMEDIATE', 40))[place.round]
    with place.connect() as other:
        other.execute(f'BEGIN {lock}')
        badge = place.swipe()
        time.sleep(seconds)
        is_refused = bool(place.boxes())
    assert is_refused == (seconds > 30), is_refused
    if is_refused:
        place.refused.add(badge)
    else:
        place.see(badge)


def fills(place):
    """The disk is full, or a limit on the size of files is reached: within the journal, between the
    two commits, or at the punch's own page."""
    def limit(size):
        resource.prlimit(place.clock.pid, resource.RLIMIT_FSIZE, (size, resource.RLIM_INFINITY))

    filler = place.folder / 'data/filler'
    if place.trial.disk:
        with contextlib.suppress(OSError), open(filler, 'wb', buffering=0) as file:
            while file.write(bytes(1024)):
                pass
    else:
        limit(place.random.randrange(12288))
    place.refused.add(place.swipe())
    assert holds(place.boxes)
    limit(resource.RLIM_INFINITY)
    filler.unlink(missing_ok=True)


def damages(place):
    """The database is damaged, cut off, replaced or removed, under the clock or before it starts,
    and a whole one put back in its place. Until then nothing but the badge may be added."""
    def punches():
        return place.query('SELECT rowid, PersonalID FROM RawDataDetails')

    random = place.random.randrange
    whole = shutil.copy(place.database, place.folder / 'whole')
    damaged = bytearray(place.database.read_bytes())
    known = punches()  # which the clock's memory may bring back
    if random(3):
        damaged[random(len(damaged) if random(2) else 200)] = random(256)
    else:
        del damaged[random(len(damaged)):]

    if place.round % 4 == 0:
        place.kill_clock()
    if place.round % 5 < 3:
        place.database.unlink()
    if place.round % 5:
        place.database.write_bytes(damaged)
    if place.round % 4 == 0:
        place.start_clock()
    before = punches()
    badge = place.swipe()
    holds(lambda: place.has(badge) or place.boxes(), 4)  # it may be where a damaged page hides it
    added = [row for row in punches() if before and row not in known + before]
    assert not added or [name for _, name in added] == [badge], added
    os.replace(whole, place.database)


def settings(place):
    """The settings are damaged. A poll that reads them keeps them until it ends."""
    file = place.folder / 'config/Tavrel/Tavrel.conf'
    file.write_bytes(place.random.choice((
        b'[MSR]\nTrack=99999', b'[MSR]\nTrack=7', b'[MSR]\nTrack=1, 2\n\0\0', b'[MSR]\nTrack=1.5',
        b'[MSR\nTrack=2\n=\n%zz=\\x\n', b'[Communication]\nComport=99\nBaudRate=-1\nSettings=x',
        b'[Punch]\nAutoSwitch=1\nClockIn=25:99\nClockOut=\n')))
    if place.round % 3 == 0:
        file.write_bytes(place.random.randbytes(place.random.randrange(32768)))
    if place.round % 4 == 0:
        place.kill_clock()
        place.start_clock(wait=False)
    place.swipe()
    place.pause(1)
    file.unlink()
    if not place.listens():
        place.kill_clock()
        place.start_clock()
    place.calm_down()


def signals(place):
    """A signal arrives, or the display ends."""
    kind = place.random.choice((SIGTERM, SIGUSR1, SIGABRT, SIGSTOP, 'display'))
    place.swipe_and_wait()
    if kind == SIGSTOP:
        place.clock.send_signal(SIGSTOP)
        place.pause(0.5)
        place.clock.send_signal(SIGCONT)
        place.see(place.swiped[-1])
        return
    if kind == 'display':
        place.end_clock(lambda: place.end(place.display), 1)
        place.start_display()
    else:
        place.kill_clock(kind)
    place.start_clock()


def hangs(place):
    """The window manager hangs while another process holds a lock: the punch cannot be seen, but is
    stored as soon as the lock is released."""
    punch, = holds(lambda: place.windows('Punch Information'))
    with place.connect() as other:
        other.execute('BEGIN IMMEDIATE')
        place.run('xdotool', 'windowminimize', '--sync', punch)
        place.manager.send_signal(SIGSTOP)
        badge = place.swipe()
        time.sleep(1)  # well beyond the wait for the window
    assert holds(lambda: place.has(badge), 5)
    place.manager.send_signal(SIGCONT)


def commands(place):
    """Each of sitetool's commands runs beside a swipe, which must be stored without a message box."""
    def row():
        return place.query("SELECT rowid FROM RawDataDetails WHERE PersonalID = 'hand'")[0][0]

    copy, today = place.folder / f'copy{place.round}.mdb', time.strftime('%F')
    for command in (
            lambda: ('employees', 'add', 'hand', 'Hand Made'),
            lambda: ('employees', 'rename', 'hand', 'Hand Mended'),
            lambda: ('backup', copy),
            lambda: ('punches', 'add', 'hand', 'in', f'{today} 00:00'),
            lambda: ('punches', 'change', row(), 'hand', 'out'),
            lambda: ('restore', copy, '--yes', '--keep-punches'),
            lambda: ('punches', 'remove', row(), 'hand'),
            lambda: ('employees', 'remove', 'hand'),
            lambda: ('check', '--mend-counts'),
            *((lambda name=name: name) for name in (
                ('employees',), ('punches',), ('present',), ('hours', '--from', today), ('corrections',)))):
        badge = place.swipe()
        place.pause(0.2)
        arguments = [*map(str, command()), '--file', str(place.database)]
        status = place.start(place.programs / 'sitetool', *arguments).wait()
        assert status == 0, (arguments, (place.folder / 'sitetool').read_text())
        assert holds(lambda: place.has(badge)) and not place.boxes(), (arguments, badge)
        place.seen.add(badge)


def covers(place):
    """The clock covers Punch Information, which the next swipe brings to the front. The clock, once
    moved, stays there when its frame changes: the window manager's own menu takes the frame off and
    puts it on."""
    def position():
        return re.findall(b'[XY]=(.*)', place.run('xdotool', 'getwindowgeometry', '--shell', clock))

    def has_reframed():
        place.run('xdotool', *'key alt+space sleep 0.3 key d sleep 0.3'.split())
        return position() != before

    def is_in_front(window):
        return place.windows('Punch Information|Tavrel v.*')[-1] == window

    punch, = holds(lambda: place.windows('Punch Information'))
    clock, = place.windows('Tavrel v.*')
    place.run('xdotool', 'windowmove', '--sync', clock, 30 + place.round, 60,
              'windowmove', '--sync', punch, 90, 150 + place.round, 'windowactivate', '--sync', clock)
    assert holds(lambda: is_in_front(clock))
    before = position()
    assert holds(has_reframed)
    time.sleep(0.3)  # it would take some events to jump
    assert position()[0] == before[0], position()
    place.see(place.swipe())
    assert holds(lambda: is_in_front(punch))


def wayland(place):
    """Under Wayland, a punch and a look into Options leave the clock's face as it was; when the
    compositor ends, so does the clock."""
    width, title_height = 900, 26

    def picture():
        """Only its blue, which the digits lack; without the title, which shows what is active."""
        blue = place.run('import', '-window', screen, '-depth', '8', 'rgb:-')[2::3]
        return blue.lstrip(b'\0')[title_height * width:]

    def settled(earlier=None):
        """A picture unlike an earlier one, once two in a row are the same."""
        now = picture()
        time.sleep(0.5)
        return now != earlier and now == picture() and now

    def is_back():
        place.run('xdotool', 'key', 'Escape', 'sleep', 0.2)
        return picture() == face

    place.kill_clock()
    (place.folder / 'weston.ini').write_text('[core]\nidle-time=0\n[shell]\npanel-position=none\n'
                                             'startup-animation=none\nbackground-color=0xff000000\n')
    compositor = place.start('weston', '--backend=x11-backend.so', f'--width={width}', '--height=500',
                             f'--config={place.folder}/weston.ini', '--socket=wayland-trial')
    assert holds((place.folder / 'run/wayland-trial').exists)
    screen, = holds(lambda: place.windows('Weston Compositor', '--class'))
    place.run('xdotool', 'windowactivate', '--sync', screen)
    empty = holds(settled)
    place.start_clock(QT_QPA_PLATFORM='wayland', WAYLAND_DISPLAY='wayland-trial')
    face = holds(lambda: settled(empty))
    for show in lambda: place.see(place.swipe()), lambda: place.run('xdotool', 'key', 'alt+o'):
        show()
        assert holds(lambda: picture() != face)
        assert holds(is_back)
    place.end_clock(compositor.kill, 1, 255)
    assert place.said('Tavrel', 'Wayland connection')
    place.start_clock()


def cuts(place):
    """The power is cut, after a stored punch or at a random moment: a copy of the image that the file
    system lies in holds what has reached the device, and nothing of the page cache."""
    if place.round % 4 >= 2:
        place.swipe_and_wait()
    place.clock.send_signal(SIGSTOP)
    assert holds(lambda: place.status('State') == 'T')  # a sync may have to end first
    shutil.copy(place.folder / 'image', place.folder / 'copy')
    place.clock.send_signal(SIGCONT)
    place.run('mount', '-o', 'loop', place.folder / 'copy', place.folder / 'after')
    place.compare(place.folder / 'after/Orvanta.mdb')
    place.run('umount', place.folder / 'after')
    place.see(place.swiped[-1])


# The number of rounds in a short and in a long run; the journal mode; whether the folder is in memory,
# because there are many punches; whether a clock runs, or one call does all rounds; whether the database
# has its own file system, which needs root.
Trial = namedtuple('Trial', 'name round short long journal memory clock disk',
                   defaults=('delete', False, True, False))
TRIALS = [
    Trial('frames', flight, 2000, 100000, memory=True, clock=False),
    Trial('ticks', flight, 20, 1440, memory=True, clock=False),
    *[Trial('swipes', lambda _: None, 125, 5000, memory=True)] * 4,  # 20,000 by one clock take 34 minutes
    Trial('kills', kills, 12, 150),
    Trial('kills', kills, 12, 150, journal='wal'),
    Trial('pulls', pulls, 10, 100),
    Trial('locks', locks, 2, 4),
    Trial('fills', fills, 5, 20),
    Trial('fills', fills, 0, 5, disk=True),
    Trial('damages', damages, 20, 200),
    Trial('settings', settings, 8, 40),
    Trial('signals', signals, 10, 60, journal='wal'),
    Trial('hangs', hangs, 1, 5),
    Trial('commands', commands, 1, 20),
    Trial('commands', commands, 1, 20, journal='wal'),
    Trial('covers', covers, 2, 10),
    Trial('wayland', wayland, 1, 3),
    Trial('doors', doors, 17, 63, clock=False),
    Trial('cuts', cuts, 0, 20, disk=True),
    Trial('cuts', cuts, 0, 20, journal='wal', disk=True),
]
