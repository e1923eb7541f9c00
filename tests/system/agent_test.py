#!/usr/bin/python3
"""mossbox-agent on a private PC: real accounts, and clients that do not behave.

Usage: agent_test.py MOSSBOX_AGENT [--sanitized]; a sanitizer's memory says nothing about the agent's own.
"""
import concurrent.futures
import contextlib
import http.client
import itertools
import json
import os
import pathlib
import re
import socket
import subprocess
import sys
import threading
import time
import unittest

PRIVATE_PC = pathlib.Path(__file__).resolve().parents[2] / "tools/private-pc"
ADDRESS = ("127.0.0.5", 8743)
PASSWORD = "s#cr%t \"\\ü"
BOUND = 5  # seconds that a well-behaved client waits at most, whatever others do


def ask(method, path, body=None, headers=None):
    """Status, headers and decoded body."""
    connection = http.client.HTTPConnection(*ADDRESS, timeout=30)
    try:
        connection.request(method, path, body, AUTHORIZED if headers is None else headers)
        answer = connection.getresponse()
        return answer.status, answer.headers, json.loads(answer.read())
    finally:
        connection.close()


def create(name, password=PASSWORD):
    status, _, answer = ask("POST", "/api/create_user", json.dumps({"username": name, "password": password}))
    return status, answer.get("error")


def connect(text):
    client = socket.create_connection(ADDRESS, timeout=30)
    client.sendall(text.encode())
    return client


def is_open(client):
    try:
        client.settimeout(0.01)
        return client.recv(4096) != b""
    except TimeoutError:
        return True
    except OSError:
        return False


class AgentTest(unittest.TestCase):
    def test_refuses_in_words(self):
        account = json.dumps({"username": "otto", "password": PASSWORD})
        accounts = "/api/create_user"
        for method, path, body, headers, expected in (
                ("POST", accounts, account, {"X-TernVault-Token": TOKEN[1:]}, (401, "unauthorized")),
                ("GET", accounts, None, None, (405, "method_not_allowed")),
                ("GET", "/api/disks%00", None, None, (404, "not_found")),
                ("POST", accounts, "x" * 20_000_000, None, (413, "too_large")),
                ("POST", accounts, "x" * 20_000_000, {}, (401, "unauthorized")),
                ("POST", accounts, account.replace("otto", "root"), None, (409, "user_exists")),
                ("POST", accounts, b'{"username":"otto","password":"abc\xff"}', None, (400, "bad_request"))):
            status, head, answer = ask(method, path, body, headers)
            self.assertEqual((status, answer["error"]), expected, (method, path))
            self.assertEqual(head["Content-Type"], "application/json")
            self.assertEqual("Allow" in head, status == 405)

    def test_one_of_two_at_the_same_moment_wins(self):
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            outcomes = sorted(pool.map(create, ["twin"] * 8))
        self.assertEqual(outcomes, [(201, None)] + [(409, "user_exists")] * 7)

    def test_bad_clients_take_nobodys_place(self):
        def memory():
            return int(re.search(r"VmRSS:\s+(\d+)", pathlib.Path(f"/proc/{PID}/status").read_text())[1])

        def attack():
            hostile = [connect(f"GET /api/disks HTTP/1.1\r\nHost: x\r\nX-{i}: ") for i in range(60)]
            hostile += [connect(f"POST /api/create_user HTTP/1.1\r\nHost: x\r\nX-TernVault-Token: {TOKEN}\r\n"
                                f"Content-Length: 60000\r\n\r\n") for _ in range(60)]
            hostile += [connect("") for _ in range(60)]
            for text in ("x" * 100_000, "GET / HTTP/1.1\r\n" + "X: y\r\n" * 50_000, "\x16\x03\x01\x00\r\n\r\n",
                         "POST / HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n1\r\na\r\nnonsense\r\n"):
                with contextlib.suppress(OSError):  # refused while it still spoke
                    hostile.append(connect(text))
            return hostile

        def well_behaved(_):
            began = time.monotonic()
            self.assertEqual(ask("GET", "/api/disks")[0], 200)
            return time.monotonic() - began

        def crowd():
            with concurrent.futures.ThreadPoolExecutor(200) as pool:
                list(pool.map(well_behaved, range(400)))

        crowd()
        before = memory()
        for _ in range(2):
            hostile = attack()
            began = time.monotonic()
            while any([is_open(client) for client in hostile]):
                self.assertLess(time.monotonic() - began, 25, "slow clients are not ended")
                for client in hostile:
                    with contextlib.suppress(OSError):  # ended already
                        client.sendall(b"x")
                self.assertLess(well_behaved(0), BOUND)
                time.sleep(0.3)
            for client in hostile:
                client.close()
            crowd()
        if not SANITIZED:
            self.assertLess(memory() - before, 4096, "KiB more than before")

    def test_tells_no_secret(self):
        seen = set()
        done = threading.Event()

        def watch():
            while not done.is_set():
                for process, name in itertools.product(pathlib.Path("/proc").glob("[0-9]*"), ("cmdline", "environ")):
                    with contextlib.suppress(OSError):
                        seen.add((process / name).read_text(errors="replace"))

        watcher = threading.Thread(target=watch)
        watcher.start()
        for number in range(8):
            self.assertEqual(create(f"watched-{number}"), (201, None))
        done.set()
        watcher.join()
        self.assertTrue(any(text.startswith("smbpasswd\0") for text in seen), "nothing was watched")
        log = (PC / "agent.log").read_text()
        self.assertIn("POST /api/create_user 201\n", log)
        for text in [log, *seen]:
            for secret in (PASSWORD, PASSWORD.split()[0], TOKEN):
                self.assertNotIn(secret, text)
        self.assertNotIn("watched", log)


if __name__ == "__main__":
    AGENT, SANITIZED = sys.argv.pop(1), "--sanitized" in sys.argv
    sys.argv = [argument for argument in sys.argv if argument != "--sanitized"]
    if "TERNVAULT_PC" not in os.environ:
        os.execv(PRIVATE_PC, [str(PRIVATE_PC), "run", "--", os.path.abspath(__file__), AGENT, *sys.argv[1:],
                              *["--sanitized"] * SANITIZED])
    PC = pathlib.Path(os.environ["TERNVAULT_PC"])
    subprocess.run([PRIVATE_PC, "agent", "start", AGENT], check=True)
    PID = int((PC / "agent.pid").read_text())
    TOKEN = (PC / "token").read_text().strip()
    AUTHORIZED = {"Authorization": f"Bearer {TOKEN}", "X-TernVault-Token": TOKEN}
    passed = unittest.main(verbosity=2, exit=False).result.wasSuccessful()
    subprocess.run([PRIVATE_PC, "agent", "stop"], check=True)
    if not (PC / "agent.log").read_text().endswith("ending\n"):
        sys.exit("the agent did not end in good order")
    sys.exit(not passed)
