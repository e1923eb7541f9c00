"""What is copied: sources, what the server held before, and which copies run."""
import os
import random
import shutil
import time

MEGABYTE = 1_000_000
HOUR = 3600
NEIGHBOURS = {"neighbour.txt": 1000, "neighbours/photo.jpg": 70_000, "neighbours/deep/er/list": 1}
EXCLUDED = (".DS_Store", "._note")


class Workload:
    """`copies` has the items of each copy that runs at once; files are random, drawn from the seed."""

    def __init__(self, plan, server, folder):
        self.plan, self.server = plan, server
        self.chance = random.Random(f"workload {plan.seed}")
        self.source, self.before = folder / "source", folder / "before"
        self.renamed = {}  # name on the share -> what the user renames it to, there or among the sources
        self.vanished = None  # name of a source that was renamed
        self.copies = [[]]
        getattr(self, "_make_" + plan.workload)()
        self.copies = [sorted(items) for items in self.copies]
        self._populate()

    # --- Sources

    def _write(self, path, size):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(self.chance.randbytes(size))
        return path

    def _film(self, folder, name="film"):
        return self._write(self.source / folder / name, int(self.chance.uniform(1, 8) * MEGABYTE))

    def _make_fresh(self):
        self.copies = [[self._film("", f"film {i}") for i in range(self.chance.choice((1, 1, 2)))]]

    _make_update = _make_fresh

    def _make_tree(self, name="tree"):
        root = self.source / name
        for i in range(24):
            folder = self.chance.choice(("", "a", "a/b c", "d/e/f/größer"))
            size = self.chance.choice((0, 1, 4096, self.chance.randrange(700_000)))
            self._write(root / folder / f"item {i}", size)
        for excluded in EXCLUDED:
            self._write(root / "a" / excluded, 100)
        (root / "empty").mkdir()
        self.copies = [[root]]

    def _make_small(self):
        if self.chance.random() < 0.4:
            self.copies = [[self._write(self.source / f"note {i}", self.chance.randrange(5000)) for i in range(8)]]
            return
        for i in range(150):
            self._write(self.source / "notes" / f"note {i}", self.chance.randrange(5000))
        self.copies = [[self.source / "notes"]]

    def _make_rename(self):
        if self.chance.random() < 0.5:
            self._make_fresh()
        else:
            self._make_tree()

    def _make_two(self):
        """The same name and length, another content, of another second."""
        one = self._film("one")
        other = self._write(self.source / "other/film", one.stat().st_size)
        self.copies = [[one], [other]]

    # --- The server before

    def _populate(self):
        for name, size in NEIGHBOURS.items():
            self._serve(name, self.chance.randbytes(size))
        if not self.plan.older_there:
            return
        for name, sources in self.destinations().items():
            if self.plan.workload in ("fresh", "update") or self.chance.random() < 0.7:
                content = self.chance.randbytes(sources[0].stat().st_size)
                self._serve(name, content)
                kept = self.before / name
                kept.parent.mkdir(parents=True, exist_ok=True)
                kept.write_bytes(content)

    def _serve(self, name, content):
        path = self.server.share / name
        for folder in reversed(path.relative_to(self.server.share).parents):
            made = self.server.share / folder
            if not made.exists():
                made.mkdir()
                self.server.own(made)
        path.write_bytes(content)
        past = time.time() - HOUR
        os.utime(path, (past, past))
        self.server.own(path)

    # --- What the copies are about

    def destinations(self, copy=None):
        """name on the share -> the files whose content it may have: of one copy, or of all."""
        found = {}
        for items in self.copies if copy is None else [self.copies[copy]]:
            for item in items:
                files = [item] if item.is_file() else [path for path in item.rglob("*") if path.is_file()]
                for file in files:
                    if file.name not in EXCLUDED:
                        found.setdefault(str(file.relative_to(item.parent)), []).append(file)
        return found

    def size(self):
        return sum(file.stat().st_size for files in self.destinations().values() for file in files)

    def count(self):
        return sum(len(files) for files in self.destinations().values())

    def save_sources(self):
        """Gives the sources their times. Clocks of two computers differ: a file just saved may be of the second in
        which its first, or its last, byte arrives."""
        if self.plan.same_second:
            time.sleep(1 - time.time() % 1)  # so that most of a second is left for the bytes to arrive
        now = time.time()
        for place, items in enumerate(self.copies):
            saved = now - 3 * place + (self.chance.choice((0, 0, 0, 1)) if self.plan.same_second else -HOUR / 2)
            for item in items:
                for path in (item, *item.rglob("*")):
                    os.utime(path, (saved, saved))

    def rename(self, client):
        """Begins to rename an item on the volume, or renames one among the sources."""
        names = sorted(self.destinations())
        name = names[self.chance.randrange(len(names))]
        fresh = name + ".renamed"
        self.renamed[name] = fresh
        if "/" in name and self.chance.random() < 0.5:
            self.vanished = name
            path = self.source / name
            path.rename(path.with_name(path.name + ".renamed"))
            return None
        return ["mv", "-T", client.mount_point / name, client.mount_point / fresh]

