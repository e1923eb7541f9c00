"""What has to hold, read from the server's own folder, the transfer log and the exit status."""
import hashlib
import re

from harness import processes
from harness.workloads import EXCLUDED, NEIGHBOURS

BLOCK = 4096
OK = re.compile(r"OK (.*) \((\d+) bytes\)")
FINAL = re.compile(r"(Done|Finished with errors) — (\d+)/(\d+)(?: · (\d+) error\(s\))?(?:\.| copied).*")


def digest(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


class Oracle:
    """Collects violations in words."""

    def __init__(self, workload, server, client):
        self.workload, self.server, self.client = workload, server, client
        self.violations = []
        self._neighbours = {name: digest(server.share / name) for name in NEIGHBOURS}

    def claim(self, holds, words):
        if not holds:
            self.violations.append(words)
        return holds

    # --- Contents

    def check_copied(self, names, copies, when):
        """Whatever counts as copied is identical to the source of one of `copies`, unless its user renamed it then."""
        for copy in copies:
            for name in self._files_of(copy, names):
                wanted = [source for one in copies for source in self.workload.destinations(one).get(name, [])]
                there = self.server.share / name
                if when == "first run" and self._was_renamed(name):
                    continue
                if self.claim(there.is_file(), f"{when}: {name} counts as copied and is not there"):
                    self.claim(digest(there) in map(digest, wanted),
                               f"{when}: {name} counts as copied and differs: {self.describe(name)}")

    def _was_renamed(self, name):
        renamed = self.workload.renamed
        return name in renamed.values() or name in renamed and (self.server.share / renamed[name]).exists()

    def _files_of(self, copy, items):
        return [name for name in self.workload.destinations(copy) if name.split("/")[0] in items]

    def check_partial(self, when):
        """Every destination holds nothing but bytes of its sources, of its older self, or none yet."""
        for name, sources in self.workload.destinations().items():
            there = self.server.share / name
            if there.is_file():
                self.claim(not self._foreign(name, there, sources), f"{when}: {name} holds bytes of neither side")

    def _foreign(self, name, there, sources):
        """Offset of a first byte that comes from nowhere, and whether there is one."""
        content = there.read_bytes()
        older = self.workload.before / name
        origins = [path.read_bytes() for path in sources] + ([older.read_bytes()] if older.exists() else [])
        for at in range(0, len(content), BLOCK):
            block = content[at:at + BLOCK]
            pieces = [origin[at:at + BLOCK] for origin in origins]
            if block not in pieces and not all(
                    byte == 0 or any(i < len(piece) and piece[i] == byte for piece in pieces)
                    for i, byte in enumerate(block)):
                return True
        return False

    def describe(self, name):
        """How a destination differs from its first source."""
        there = self.server.share / name
        content, source = there.read_bytes(), self.workload.destinations()[name][0]
        wanted = source.read_bytes()
        wrong = [at for at in range(0, len(wanted), BLOCK) if content[at:at + BLOCK] != wanted[at:at + BLOCK]]
        times = f"time {there.stat().st_mtime:.3f}, source's {source.stat().st_mtime:.3f}"
        return f"{len(content)} of {len(wanted)} bytes, {len(wrong)} blocks wrong from {wrong[:1]}, {times}"

    def check_neighbours(self, when):
        names = {str(path.relative_to(self.server.share)) for path in self.server.share.rglob("*") if path.is_file()}
        allowed = {*NEIGHBOURS, *self.workload.destinations(), *self.workload.renamed.values(), self.workload.vanished}
        strange = [name for name in names - allowed if name.split("/")[-1] not in EXCLUDED]
        self.claim(not strange, f"{when}: nobody copied {strange}")
        for name, before in self._neighbours.items():
            there = self.server.share / name
            self.claim(there.is_file() and digest(there) == before, f"{when}: {name}, which nobody copied, changed")

    # --- Counters

    def check_account(self, outcome, entries, items, when):
        """Exit status, counters and entries of one copy that ran alone agree; returns the items that count."""
        copied = [match[1] for entry in entries if (match := OK.fullmatch(entry))]
        errors = [entry for entry in entries if entry.startswith("ERROR ")]
        self._check_sizes(entries, items, when)
        self.claim(len(set(copied)) == len(copied), f"{when}: an item counts twice: {copied}")
        if outcome.status == 0:
            self.claim(len(copied) == len(items), f"{when}: exit status 0 with {len(copied)} of {len(items)} copied")
        if outcome.status in (0, 1) and any(entry.startswith("Queued ") for entry in entries):
            self._check_final(outcome, entries, len(copied), len(errors), len(items), when)
        return copied

    def _check_final(self, outcome, entries, copied, errors, items, when):
        match = FINAL.fullmatch(entries[-1])
        if not self.claim(match, f"{when}: the log ends with {entries[-1]!r}"):
            return
        told = (match[1] == "Done", int(match[2]), int(match[3]), int(match[4] or 0))
        real = (outcome.status == 0, copied, items, errors)
        self.claim(told == real, f"{when}: the log tells {told}, entries and exit status {real}")
        self.claim(copied + errors == items, f"{when}: {copied} copied and {errors} errors of {items} items")
        self.claim(outcome.output.rstrip().endswith(entries[-1]), f"{when}: not the log's end: {outcome.output!r}")

    def _check_sizes(self, entries, items, when):
        sizes = {item.name: item.stat().st_size for item in items if item.is_file()}
        for entry in entries:
            match = OK.fullmatch(entry)
            if match and match[1] in sizes:
                # 0 is what is said where measuring failed.
                self.claim(int(match[2]) in (sizes[match[1]], 0), f"{when}: {entry!r} of {sizes[match[1]]} bytes")

    # --- What stays behind

    def check_nothing_left(self, seconds):
        rest = []

        def clean():
            rest[:] = what_is_left(self.client)
            return not rest
        self.claim(processes.within(seconds, clean), f"at the end: left behind: {rest}")


def what_is_left(client):
    """Processes, entries below the volumes root, mounts and records of mounts, in words."""
    table = processes.living()
    rest = [f"process {pid} {table[pid][0]}" for pid in table if table[pid][0] in processes.OURS]
    rest += [f"entry {path.name}" for path in client.volumes.iterdir()]
    with open("/proc/self/mounts", encoding="utf-8") as mounts:
        rest += [line.strip() for line in mounts if str(client.volumes) in line or "fuse.ternvault" in line]
    return rest + [f"record {path.name}" for path in client.state.rglob("*.mount*")]
