"""What goes wrong. Each fault strikes at a moment, is lifted later, and says whether it hit anything."""
import contextlib
import ctypes
import os
import signal
import subprocess

from harness import bounds, powercut, processes, server as server_side

MNT_DETACH = 2
EJECT_STARTS = 0.7  # seconds
libc = ctypes.CDLL(None, use_errno=True)


class Fault:
    lasting = True  # whether there is anything to lift

    def __init__(self, scene):
        self.scene, self.variant = scene, scene.plan.variant

    def strike(self):
        """Whether anything was hit."""
        raise NotImplementedError

    def lift(self):
        pass


class Signal(Fault):
    """One kind of our processes is killed, or frozen for a while."""

    def __init__(self, scene, find, number):
        super().__init__(scene)
        self._find, self._number, self._hit = find, number, []
        self.lasting = number == signal.SIGSTOP

    def strike(self):
        self._hit = self._find()
        if self._number == signal.SIGKILL:
            processes.kill_as_one(lambda: self._hit)
        else:
            processes.send(self._hit, self._number)
        return bool(self._hit)

    def lift(self):
        processes.send(self._hit, signal.SIGCONT)


class RsyncKilled(Fault):
    """Alone, or together with the program that waits for it."""
    lasting = False

    def strike(self):
        names = (processes.RSYNC, processes.PROGRAM) if self.variant % 2 else (processes.RSYNC,)
        found = processes.named(processes.RSYNC)
        processes.kill_as_one(lambda: processes.named(*names) if found else [])
        return bool(found)


class ServerKilled(Fault):
    def strike(self):
        self.scene.server.kill()
        return True

    def lift(self):
        self.scene.server.start()


class ServerFrozen(Fault):
    def strike(self):
        self.scene.server.freeze()
        return True

    def lift(self):
        self.scene.server.thaw()


class Ejected(Fault):
    _eject = None

    def strike(self):
        """The bytes wait until the program has come so far; an orderly eject needs them to go on."""
        hit = bool(processes.daemons())
        self._eject = self.scene.client.start("eject")
        processes.within(EJECT_STARTS, self._eject.ended)
        return hit

    def lift(self):
        outcome = self._eject.finish(bounds.EJECT)
        self.scene.note(f"eject: {outcome.status} {outcome.errors.strip()}")
        self.scene.oracle.claim(outcome.status is not None, "eject during the copy did not end in time")


class ConnectionDelayed(Fault):
    def strike(self):
        self.scene.proxy.delay((0.02, 0.1, 0.3, 0.7)[self.variant])
        return True

    def lift(self):
        self.scene.proxy.delay(0)


class ConnectionCut(Fault):
    lasting = False

    def strike(self):
        self.scene.proxy.cut(with_reset=self.variant % 2 == 1)
        return True


class ConnectionSilent(Fault):
    def strike(self):
        self.scene.proxy.go_silent()
        return True

    def lift(self):
        self.scene.proxy.speak()


class ShareFull(Fault):
    def strike(self):
        self.scene.server.fill()
        return True

    def lift(self):
        self.scene.server.make_room()


class PermissionTaken(Fault):
    """With a fresh connection, or with what is open going on."""

    def strike(self):
        self.scene.server.forbid_writing()
        if self.variant % 2:
            self.scene.proxy.cut(with_reset=False)
        return True

    def lift(self):
        self.scene.server.allow_writing()


class ShareRenamed(Fault):
    """The server's process stays in the folder, so the connection has to go for it to matter."""

    def strike(self):
        self.scene.server.rename_share()
        if self.variant:
            self.scene.proxy.cut(with_reset=self.variant % 2 == 1)
        return True

    def lift(self):
        self.scene.server.rename_share_back()


class LinkDown(Fault):
    def strike(self):
        server_side.set_link(False)
        return True

    def lift(self):
        server_side.set_link(True)


class EverythingKilled(Fault):
    lasting = False

    def strike(self):
        return bool(processes.kill_as_one(lambda: processes.named(*processes.OURS)))


class PowerCut(EverythingKilled):
    """What is on this computer's disk is what was made durable; nothing is mounted after the start."""

    def strike(self):
        hit = super().strike()
        libc.umount2(os.fsencode(self.scene.client.mount_point), MNT_DETACH)
        powercut.restore(self.scene.durable, self.scene.client.state)
        return hit


def make(scene):
    name = scene.plan.fault
    target, _, what = name.partition("-")
    kinds = {"daemon": processes.daemons, "keeper": processes.keepers,
             "rsync": lambda: processes.named(processes.RSYNC), "program": lambda: processes.named(processes.PROGRAM)}
    plain = {"smbd-killed": ServerKilled, "smbd-frozen": ServerFrozen, "rsync-killed": RsyncKilled, "ejected": Ejected,
             "connection-delayed": ConnectionDelayed, "connection-cut": ConnectionCut,
             "connection-silent": ConnectionSilent, "share-full": ShareFull, "permission-taken": PermissionTaken,
             "share-renamed": ShareRenamed, "link-down": LinkDown, "everything-killed": EverythingKilled,
             "power-cut": PowerCut}
    if name in plain:
        return plain[name](scene)
    return Signal(scene, kinds[target], signal.SIGKILL if what == "killed" else signal.SIGSTOP)


def finish(process, seconds):
    """Ends a helper of ours that may hang in the volume."""
    with contextlib.suppress(subprocess.TimeoutExpired):
        process.wait(seconds)
        return
    process.kill()
    process.wait()
