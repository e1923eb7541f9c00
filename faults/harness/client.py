"""Tern Vault as its user runs it: by command line, with a home and a folder of volumes of its own.

The user is an ordinary one where this can be arranged: root may write where nobody may, also below a mount.
"""
import dataclasses
import os
import pathlib
import re
import shutil
import signal
import subprocess
import time

from harness import server as server_side

NOBODY = 65534  # has an entry in every passwd, which fusermount3 asks for
PROGRAMS = ("ternvault-cli", "ternvault-volume")
ENTRY = re.compile(r"^\[[^]]*\] (.*)$")


@dataclasses.dataclass
class Outcome:
    status: int | None  # None: it did not end in time
    output: str
    errors: str
    took: float


class Run:
    """One start of the program."""

    def __init__(self, client, arguments, text=""):
        self.began = time.monotonic()
        self.arguments = arguments
        self._files = [open(client.scratch / f"{client.count()}.{end}", "w+", encoding="utf-8", errors="replace")
                       for end in ("out", "err")]
        self.process = subprocess.Popen([client.bin / "ternvault-cli", *arguments], env=client.environment,
                                        stdin=subprocess.PIPE, stdout=self._files[0], stderr=self._files[1], text=True,
                                        **client.account)
        self.process.stdin.write(text)
        self.process.stdin.close()

    def ended(self):
        return self.process.poll() is not None

    def finish(self, seconds):
        """Waits at most that long from now, then ends it."""
        try:
            status = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            status = None
            self.process.send_signal(signal.SIGKILL)
            self.process.wait()
        texts = []
        for file in self._files:
            file.seek(0)
            texts.append(file.read())
            file.close()
        return Outcome(status, *texts, time.monotonic() - self.began)


class Client:
    def __init__(self, binaries, folder, server, address):
        self.bin, self.home, self.volumes, self.scratch = (
            folder / name for name in ("bin", "home", "volumes", "scratch"))
        for made in (self.bin, self.home, self.volumes, self.scratch):
            made.mkdir()
        for program in PROGRAMS:
            shutil.copy(pathlib.Path(binaries) / program, self.bin)
        self.account = become_ordinary(folder)
        self.state = self.home / ".local/state/ternvault"
        self.mount_point = self.volumes / "MOSSBOX1"
        self.environment = {"PATH": os.environ["PATH"], "HOME": str(self.home), "LANG": "C.UTF-8",
                            "TERNVAULT_VOLUMES_ROOT": str(self.volumes)}
        self._count = 0
        self._log = self.home / ".local/share/Tern Vault/transfer.log"
        for key, value in (("serverIP", address), ("smbUser", server.read("user"))):
            self._settle("set", key, value)
        self._settle("set", "smbPassword", text=server.read("password") + "\n")

    def count(self):
        self._count += 1
        return self._count

    def _settle(self, *arguments, text=""):
        outcome = self.run(*arguments, text=text)
        if outcome.status != 0:
            raise RuntimeError(f"{arguments[:2]}: {outcome.errors}")

    def start(self, *arguments, text=""):
        return Run(self, [str(argument) for argument in arguments], text)

    def run(self, *arguments, text="", seconds=60):
        return self.start(*arguments, text=text).finish(seconds)

    def log_size(self):
        return self._log.stat().st_size if self._log.exists() else 0

    def log_entries(self, since):
        """The texts of the entries that were appended after `since` bytes."""
        if not self._log.exists():
            return []
        lines = self._log.read_bytes()[since:].decode("utf-8", "replace").splitlines()
        return [match[1] if (match := ENTRY.match(line)) else f"(malformed) {line}" for line in lines]


def become_ordinary(folder):
    """How to start a process of the user's, to whom `folder` and what it has belong."""
    if server_side.has_one_id():
        return {}
    server_side.open_fuse(folder / "fuse")
    for path in (folder, *folder.iterdir()):
        os.chown(path, NOBODY, NOBODY)
    return {"user": NOBODY, "group": NOBODY, "extra_groups": []}
