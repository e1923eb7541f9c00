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
LIST = 'smbclient -A "$TERNVAULT_PC/auth" "//$(cat "$TERNVAULT_PC/address")/MOSSBOX1" -t 3 -c ls'


def inside(script, *options, **settings):
    command = [PRIVATE_PC, "run", *options, "--", "bash", "-c", f'pc() {{ "{PRIVATE_PC}" "$@"; }}; {script}']
    settings = dict(stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) | settings
    return subprocess.Popen(command, **settings)


def outcome(script, *options):
    process = inside(script, *options)
    output, _ = process.communicate(timeout=60)
    return process.returncode, output


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
            with self.subTest(script):
                self.assertEqual(outcome(script)[0], expected)

    def test_server_goes_and_comes_as_told(self):
        status, output = outcome(f"set -e; pc status; pc pause; pc status; ! timeout 1 {LIST}; pc resume; {LIST}; "
                                 f"pc stop; pc status; ! {LIST}; pc start; {LIST}; pc kill; pc status; ! {LIST}; "
                                 f"pc start; {LIST}; pc status")
        self.assertEqual(status, 0, output)
        states = [line for line in output.splitlines() if line in ("running", "paused", "stopped")]
        self.assertEqual(states, ["running", "paused", "stopped", "stopped", "running"], output)

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

    def test_two_do_not_meet(self):
        with tempfile.TemporaryDirectory() as meeting:
            pcs = [inside(f'touch "$TERNVAULT_PC/share/{own}" {meeting}/{own}; for ((i = 0; i < 300; ++i)); do '
                          f'[ -e {meeting}/{other} ] && ls "$TERNVAULT_PC/share" && exit; sleep 0.1; done; exit 1')
                   for own, other in (("a", "b"), ("b", "a"))]
            outputs = [pc.communicate(timeout=60)[0] for pc in pcs]
        self.assertEqual((outputs, [pc.returncode for pc in pcs]), (["a\n", "b\n"], [0, 0]))


if __name__ == "__main__":
    sys.exit(unittest.main(verbosity=2))
