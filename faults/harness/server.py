"""What the harness does on the server's side of a private PC."""
import contextlib
import fcntl
import importlib.machinery
import importlib.util
import os
import pathlib
import signal
import socket
import stat
import struct

TOP = pathlib.Path(__file__).resolve().parents[2]
MS_REMOUNT = 0x20
ROOM = 512 << 20  # bytes of the share's own file system


def load_private_pc():
    loader = importlib.machinery.SourceFileLoader("private_pc", str(TOP / "tools/private-pc"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("private_pc", loader))
    loader.exec_module(module)
    return module


private_pc = load_private_pc()
has_one_id = private_pc.has_one_id


class Server:
    """The server of the private PC around, and the folder that it shares."""
    address = (private_pc.ADDRESS, private_pc.PORT)

    def __init__(self):
        self.pc = private_pc.Pc.around()
        self.share = self.pc.directory / "share"
        self._away = self.pc.directory / "share.away"

    def read(self, name):
        return (self.pc.directory / name).read_text(encoding="utf-8")

    def give_share_a_disk(self):
        """A file system of its own, which can be full."""
        private_pc.mount("tmpfs", self.share, "tmpfs", options=f"size={ROOM},mode=777")

    def fill(self):
        used = os.statvfs(self.share)
        pages = used.f_blocks - used.f_bfree + 1
        private_pc.mount("tmpfs", self.share, "tmpfs", MS_REMOUNT, f"size={pages * used.f_frsize}")

    def make_room(self):
        private_pc.mount("tmpfs", self.share, "tmpfs", MS_REMOUNT, f"size={ROOM}")

    def kill(self):
        self.pc.stop(signal.SIGKILL)

    def start(self):
        self.pc.start()

    def freeze(self):
        self.pc.send(signal.SIGSTOP)

    def thaw(self):
        self.pc.send(signal.SIGCONT)

    def forbid_writing(self):
        for path in (self.share, *self.share.rglob("*")):
            with contextlib.suppress(FileNotFoundError):
                path.chmod(path.stat().st_mode & ~0o222)

    def allow_writing(self):
        for path in (self.share, *self.share.rglob("*")):
            path.chmod(path.stat().st_mode | (0o222 if path == self.share else 0o200))

    def rename_share(self):
        self.share.rename(self._away)

    def rename_share_back(self):
        self._away.rename(self.share)

    def own(self, path):
        """Makes what the harness put on the share the account's own."""
        if not has_one_id():
            os.chown(path, private_pc.FIRST_UID, 100)


def set_link(up):
    """Loopback is all the network that there is here."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        request = struct.pack("16sh22x", b"lo", private_pc.IFF_UP if up else 0)
        fcntl.ioctl(any_socket, private_pc.SIOCSIFFLAGS, request)


def open_fuse(device):
    """Where no udev runs, only root may use FUSE; here everybody may."""
    os.mknod(device, 0o666 | stat.S_IFCHR, os.makedev(10, 229))
    device.chmod(0o666)
    private_pc.mount(device, "/dev/fuse", flags=private_pc.MS_BIND)
