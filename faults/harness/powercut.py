"""A folder as a power cut leaves it: what DurableFiles.cpp wrote down at each fsync, and nothing else.

A name is there as of the last fsync of its folder, with the content of the last fsync of its file. Folders themselves
count as durable from the start.
"""
import pathlib
import shutil


def restore(durable, folder):
    for place in (path for path in (folder, *folder.rglob("*")) if path.is_dir()):
        for file in place.iterdir():
            if not file.is_dir():
                file.unlink()
        listing = pathlib.Path(durable) / f"{place.stat().st_ino}.names"
        for line in listing.read_text().splitlines() if listing.exists() else []:
            number, name = line.split(" ", 1)
            content = pathlib.Path(durable) / f"{number}.content"
            (place / name).write_bytes(content.read_bytes() if content.exists() else b"")
            shutil.chown(place / name, *owner_of(place))


def owner_of(path):
    status = path.stat()
    return status.st_uid, status.st_gid
