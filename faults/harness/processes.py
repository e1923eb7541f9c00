"""The processes of this run, found in the process table of its own namespace."""
import contextlib
import os
import pathlib
import signal
import time

VOLUME, PROGRAM, RSYNC = "ternvault-volum", "ternvault-cli", "rsync"  # as the kernel cuts names
OURS = (VOLUME, PROGRAM, RSYNC)


def living():
    """pid -> (name, parent)."""
    found = {}
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        with contextlib.suppress(OSError, ValueError, IndexError):
            head, _, tail = stat.read_text(errors="replace").rpartition(")")
            pid, _, name = head.partition(" (")
            fields = tail.split()
            if fields[0] not in "ZX":
                found[int(pid)] = (name, int(fields[1]))
    return found


def named(*names):
    return [pid for pid, (name, _) in living().items() if name in names]


def daemons():
    """A volume has a keeper, whose child is the daemon; a daemon whose keeper is gone has neither above nor below."""
    table = living()
    volumes = {pid: parent for pid, (name, parent) in table.items() if name == VOLUME}
    return [pid for pid in volumes if pid not in volumes.values()]


def keepers():
    table = living()
    volumes = {pid: parent for pid, (name, parent) in table.items() if name == VOLUME}
    serving = daemons()
    return [parent for pid, parent in volumes.items() if pid in serving and parent in volumes]


def send(pids, number):
    for pid in pids:
        with contextlib.suppress(ProcessLookupError):
            os.kill(pid, number)


def kill_as_one(find):
    """Nobody sees another one end: all are stopped before the first is killed."""
    hit = find()
    send(hit, signal.SIGSTOP)
    more = [pid for pid in find() if pid not in hit]  # started meanwhile
    send(more, signal.SIGSTOP)
    send(hit + more, signal.SIGKILL)
    within(10, lambda: not set(hit + more) & set(living()))
    return hit + more


def within(seconds, condition, pause=0.05):
    """Whether `condition` came true in time."""
    end = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > end:
            return False
        time.sleep(pause)
    return True
