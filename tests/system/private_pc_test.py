#!/usr/bin/python3
"""The private PC itself: what the other system tests stand on."""
import contextlib
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PRIVATE_PC = pathlib.Path(__file__).resolve().parents[2] / "tools/private-pc"


def inside(script, *options):
    command = [PRIVATE_PC, "run", *options, "--", "bash", "-c", script]
    return subprocess.Popen(command, stdout=subprocess.PIPE, text=True)


def processes_in(namespace):
    """The processes of a process namespace, as /proc shows them from outside."""
    found = []
    for link in pathlib.Path("/proc").glob("[0-9]*/ns/pid"):
        with contextlib.suppress(OSError):
            if os.readlink(link) == namespace:
                found.append(link)
    return found


class PrivatePcTest(unittest.TestCase):
    def test_command_gets_through(self):
        for script, expected in (("exit 7", 7), ("kill -TERM $$", -signal.SIGTERM), ("true", 0)):
            with self.subTest(script), inside(script) as process:
                self.assertEqual(process.wait(timeout=60), expected)

    def test_leaves_nothing_when_killed(self):
        with tempfile.TemporaryDirectory() as volumes:
            mounts = pathlib.Path("/proc/mounts").read_text()
            process = inside("readlink /proc/self/ns/pid; setsid sleep 300 & sleep 300", "--volumes", volumes)
            namespace = process.stdout.readline().strip()
            self.assertGreater(len(processes_in(namespace)), 4)
            process.kill()
            process.communicate(timeout=10)
            end = time.monotonic() + 10
            while processes_in(namespace) and time.monotonic() < end:
                time.sleep(0.05)
            self.assertEqual(processes_in(namespace), [])
            self.assertEqual(pathlib.Path("/proc/mounts").read_text(), mounts)


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
