#!/usr/bin/python3
"""The agent on a bare PC: a throw-away copy of a real Debian with the real useradd, smbpasswd and testparm, which
"mossbox-agent setup" prepares and whose accounts the agent makes by its default commands."""
import contextlib
import http.client
import itertools
import json
import os
import pathlib
import pty
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import time
import unittest

CLONE = pathlib.Path(__file__).resolve().parents[2]
TOKEN = "/etc/mossbox-agent.token"
DISK = "/srv/a big disk"
SMB_PORT = 4450  # beside the server of the private PC around
ADDRESS = "127.0.0.1"

numbers = itertools.count()


class BarePc:
    """A fresh copy, with one disk mounted; all of it vanishes with the private PC around."""

    def __init__(self):
        place = pathlib.Path(os.environ["TERNVAULT_PC"], f"bare{next(numbers)}")
        self.root = place / "root"
        for folder in ("root", "changes", "work"):
            (place / folder).mkdir(parents=True)
        self.mount("/", "-t", "overlay", "overlay", "-o",
                   f"lowerdir={os.environ['BARE_ROOT']},upperdir={place}/changes,workdir={place}/work")
        self.mount("/proc", "-t", "proc", "proc")
        self.mount("/sys", "-t", "sysfs", "sysfs")
        self.mount(DISK, "-t", "tmpfs", "disk", "-o", "mode=1755")
        self.mount(CLONE, "--bind", CLONE)  # programs, and where sanitizers report

    def mount(self, where, *arguments):
        self.path(where).mkdir(parents=True, exist_ok=True)
        subprocess.run(["mount", *arguments, self.path(where)], check=True)

    def path(self, inside):
        return self.root / str(inside).lstrip("/")

    def write(self, inside, text, mode=0o644):
        self.path(inside).parent.mkdir(parents=True, exist_ok=True)
        self.path(inside).write_text(text)
        self.path(inside).chmod(mode)

    def append(self, inside, text):
        self.write(inside, self.read(inside) + text)

    def read(self, inside):
        return self.path(inside).read_text()

    def run(self, *command, **settings):
        settings = dict(stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                        check=False) | settings
        result = subprocess.run(["chroot", self.root, *command], **settings)
        return result.returncode, result.stdout

    def setup(self, *arguments, **settings):
        return self.run(AGENT, "setup", *arguments, **settings)

    def state(self):
        """All that setup may change."""
        files = [self.path(DISK), *sorted(self.path("/etc").rglob("*"))]
        return {str(file): (file.lstat().st_mode, file.lstat().st_uid, file.lstat().st_gid,
                            file.read_bytes() if file.is_file() and not file.is_symlink() else None) for file in files}

    def accounts(self):
        return [self.read(f"/etc/{name}") for name in ("passwd", "shadow", "group", "gshadow")] + \
            [self.run("pdbedit", "-L", "-w")[1]]

    def share(self, name, parameter):
        status, output = self.run("testparm", "-s", f"--section-name={name}", f"--parameter-name={parameter}",
                                  stderr=subprocess.DEVNULL)
        return output.strip() if status == 0 else None

    @contextlib.contextmanager
    def running(self, port, *command):
        process = subprocess.Popen(["chroot", self.root, *command], stdin=subprocess.DEVNULL)
        try:
            wait_for(port, process)
            yield process
        finally:
            process.terminate()
            process.wait(timeout=20)

    @contextlib.contextmanager
    def agent(self):
        with self.running(8743, AGENT) as process:
            yield
        if process.returncode != 0:
            raise AssertionError(f"the agent ended with {process.returncode}")

    def ask(self, method, path, body=None):
        connection = http.client.HTTPConnection(ADDRESS, 8743, timeout=30)
        connection.request(method, path, body and json.dumps(body),
                           {"X-TernVault-Token": self.read(TOKEN).strip(), "Content-Type": "application/json"})
        response = connection.getresponse()
        return response.status, response.read().decode()

    def create(self, name, password="secret"):
        return self.ask("POST", "/api/create_user", {"username": name, "password": password})[0]


def wait_for(port, process):
    end = time.monotonic() + 15
    while process.poll() is None and time.monotonic() < end:
        with contextlib.suppress(OSError):
            socket.create_connection((ADDRESS, port), timeout=1).close()
            return
        time.sleep(0.05)
    raise AssertionError(f"nothing listens on port {port}")


def smbclient(user, password, share, commands):
    with tempfile.NamedTemporaryFile("w") as authentication:
        authentication.write(f"username = {user}\npassword = {password}\n")
        authentication.flush()
        result = subprocess.run(["smbclient", "-A", authentication.name, "-p", str(SMB_PORT), f"//{ADDRESS}/{share}",
                                 "-c", commands], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, text=True, check=False)
        return result.returncode, result.stdout


class AccountsTest(unittest.TestCase):
    def setUp(self):
        self.pc = BarePc()
        status, output = self.pc.setup("--yes", DISK)
        self.assertEqual(status, 0, output)

    def test_new_account_is_for_files_only_and_logs_in(self):
        pc = self.pc
        pc.path(f"{DISK}/old").mkdir()
        pc.path(f"{DISK}/old").chmod(0o777)
        status, output = pc.run("sh", "-c", "useradd --groups mossbox lisa && yes known | smbpasswd -s -a lisa")
        self.assertEqual(status, 0, output)
        with pc.agent(), pc.running(SMB_PORT, "smbd", "--foreground", "-p", str(SMB_PORT)):
            self.assertEqual([pc.create("anna", "pä ss:\"1\\"), pc.create("otto")], [201, 201])
            user = pc.run("getent", "passwd", "anna")[1].strip().split(":")
            self.assertLess(int(user[2]), 1000)
            self.assertEqual(user[5:], ["/nonexistent", "/usr/sbin/nologin"])
            self.assertRegex(pc.read("/etc/shadow"), r"\nanna:[!*]+:")
            status, listing = pc.ask("GET", "/api/disks")
            self.assertEqual((status, [(s["name"], s["path"]) for s in json.loads(listing)["shares"]]),
                             (200, [("MOSSBOX1", DISK)]))

            self.assertIn("LOGON_FAILURE", smbclient("anna", "wrong", "MOSSBOX1", "ls")[1])
            for user, password, commands in (
                    ("anna", "pä ss:\"1\\", "mkdir photos; put /etc/hostname photos/one; put /etc/hostname two"),
                    ("lisa", "known", "put /etc/hostname old/three"),
                    ("otto", "secret", "get photos/one /dev/null; put /etc/os-release photos/one; rm two")):
                status, output = smbclient(user, password, "MOSSBOX1", commands)
                self.assertEqual((status, re.findall("NT_STATUS.*", output)), (0, []), output)
            disk = pc.path(DISK)
            self.assertEqual(sorted(os.listdir(disk)), ["old", "photos"])
            self.assertEqual((disk / "photos/one").read_bytes(), pathlib.Path("/etc/os-release").read_bytes())
            for file, mode in (("photos", 0o2770), ("photos/one", 0o660), ("old/three", 0o660)):
                attributes = (disk / file).stat()
                self.assertEqual((oct(attributes.st_mode & 0o7777), attributes.st_gid),
                                 (oct(mode), disk.stat().st_gid), file)

    def test_existing_users_are_never_touched(self):
        pc = self.pc
        with pc.agent():
            self.assertEqual(pc.create("anna"), 201)
            before = pc.accounts()
            self.assertIn("anna:", before[-1])
            for name in ("anna", "root", "daemon"):
                self.assertIn(pc.create(name, "other"), (400, 409), name)
            pc.path("/usr/bin/smbpasswd").rename(pc.path("/usr/bin/smbpasswd.away"))
            for smbpasswd in (None, "#!/bin/sh\nexit 1\n", "#!/bin/sh\nkill -KILL $$\n"):
                if smbpasswd:
                    pc.write("/usr/bin/smbpasswd", smbpasswd, 0o755)
                self.assertEqual(pc.create("otto"), 500, smbpasswd)
            self.assertEqual(pc.accounts(), before)
            pc.path("/usr/bin/smbpasswd.away").rename(pc.path("/usr/bin/smbpasswd"))
            self.assertEqual(pc.create("otto"), 201)


class SetupTest(unittest.TestCase):
    def test_changes_what_it_said_and_only_once(self):
        pc = BarePc()
        pc.path("/etc/samba/smb.conf").chmod(0o640)
        before, configuration = pc.state(), pc.read("/etc/samba/smb.conf")
        status, plan = pc.setup(DISK)
        self.assertEqual((status, pc.state()), (2, before), plan)

        status, output = pc.setup("--yes", DISK)
        self.assertEqual(status, 0, output)
        self.assertIn(pc.read(TOKEN).strip(), output)
        self.assertEqual([oct(pc.path(file).stat().st_mode & 0o7777) for file in (
            TOKEN, "/etc/samba/smb.conf", "/etc/samba/smb.conf.before-mossbox", DISK)],
                         [oct(0o600), oct(0o640), oct(0o640), oct(0o2775)])
        self.assertEqual(pc.share("MOSSBOX1", "path"), DISK)
        self.assertEqual(pc.read("/etc/samba/smb.conf.before-mossbox"), configuration)
        self.assertTrue(pc.read("/etc/samba/smb.conf").startswith(configuration))

        after, token = pc.state(), pc.read(TOKEN).strip()
        status, output = pc.setup("--yes", DISK + "/")
        self.assertEqual((status, pc.state()), (0, after), output)
        self.assertIn("Nothing to change", output)

        pc.mount("/srv/films", "-t", "tmpfs", "films")
        status, more = pc.setup("--yes", "--share", "MOSS BOX", "/srv/films")
        self.assertEqual((status, pc.share("MOSS BOX", "path"), pc.share("MOSSBOX1", "path")),
                         (0, "/srv/films", DISK), more)
        self.assertNotIn(token, output + more)

    def test_asks_on_a_terminal(self):
        for answer, expected in (("y", 2), ("yes", 0)):
            with self.subTest(answer):
                pc = BarePc()
                before = pc.state()
                ours, theirs = pty.openpty()
                os.write(ours, f"{answer}\n".encode())
                status, output = pc.setup(DISK, stdin=theirs)
                os.close(theirs)
                os.close(ours)
                self.assertEqual((status, pc.state() == before), (expected, expected == 2), output)

    def test_refuses_and_changes_nothing(self):
        def samba(text):
            return lambda pc: pc.append("/etc/samba/smb.conf", "\n" + text)

        def shell(command):
            return lambda pc: self.assertEqual(pc.run("sh", "-c", command)[0], 0)

        def disk(where, options):
            return lambda pc: pc.mount(where, "-t", "tmpfs", "disk", "-o", options)

        def on_system_disk(pc):
            pc.write("/usr/bin/lsblk", '''#!/bin/sh
system=$(awk '$5 == "/" { print $3 }' /proc/self/mountinfo)
echo '{"blockdevices":[{"name":"sda","path":"/dev/sda","type":"disk","size":9,"model":null,"maj:min":"'"$system"'",
"children":[{"name":"sda2","path":"disk","type":"part","size":5,"model":null,"maj:min":"8:2"}]}]}'
''', 0o755)

        for name, prepare, arguments, expected, message in (
                ("broken configuration", samba("[global\n   workgroup = BROKEN\n"), [DISK], 1,
                 "does not understand its configuration"),
                ("share of another folder", samba("[mossbox1]\n   path = /srv\n"), [DISK], 1,
                 "MOSSBOX1 already, which is of /srv:"),
                ("share for reading", samba(f"[mossbox1]\n   path = {DISK}\n   read only = yes\n"), [DISK], 1,
                 "is read only"),
                ("a person's group", shell("useradd --user-group mossbox"), [DISK], 1, "mossbox belongs to people"),
                ("empty token", lambda pc: pc.write(TOKEN, "\n", 0o600), [DISK], 1, "holds no token"),
                ("open token", lambda pc: pc.write(TOKEN, 64 * "f", 0o640), [DISK], 1, "chmod 600"),
                ("closed parent", lambda pc: (disk("/mnt/closed", "mode=700")(pc), pc.path("/mnt/closed/disk").mkdir()),
                 ["/mnt/closed/disk"], 1, "/mnt/closed is closed to others"),
                ("read-only", disk("/srv/ro", "ro"), ["/srv/ro"], 1, "for reading only"),
                ("system disk", None, ["/srv"], 1, "belongs to the system"),
                ("not mounted", lambda pc: pc.path("/srv/x").mkdir(), ["/srv/x"], 1, "--system-disk"),
                ("partition beside the system's", on_system_disk, [DISK], 1, "on /dev/sda, which carries the system"),
                ("percent", lambda pc: pc.path(f"{DISK}/%u").mkdir(), [f"{DISK}/%u"], 1, "'%'"),
                ("share name", None, ["--share", "a]\nb", DISK], 2, "letters, digits"),
                ("reserved name", None, ["--share", "Global", DISK], 2, "letters, digits")):
            with self.subTest(name):
                pc = BarePc()
                (prepare or (lambda _: None))(pc)
                before = pc.state()
                status, output = pc.setup("--yes", *arguments)
                self.assertEqual((status, pc.state() == before), (expected, True), output)
                self.assertIn(message, output)

    def test_share_that_does_not_take_effect_is_taken_back(self):
        pc = BarePc()
        pc.write("/etc/samba/smb.conf", "[global]\n   config backend = registry")
        before = pc.state()
        status, output = pc.setup("--yes", DISK)
        samba = {path: state for path, state in pc.state().items() if "/etc/samba" in path}
        self.assertEqual((status, samba), (1, {p: s for p, s in before.items() if "/etc/samba" in p}), output)
        self.assertRegex(output, "step 3 failed, those before it are done: Samba does not take")
        pc.write("/etc/samba/smb.conf", "[global]\n   workgroup = HOME \\")
        self.assertEqual(pc.setup("--yes", DISK)[0], 0)
        self.assertEqual((pc.share("MOSSBOX1", "path"), pc.share("global", "workgroup")), (DISK, "HOME"))

    def test_services_are_started_where_there_are_some(self):
        pc = BarePc()
        pc.path("/run/systemd/system").mkdir(parents=True)
        pc.write("/usr/bin/systemctl", '#!/bin/sh\necho "$*" >>/root/asked\n[ -e "/root/$1" ]\n', 0o755)

        def asked():
            calls = [call for call in pc.read("/root/asked").splitlines() if not call.startswith(("is-", "cat"))]
            pc.write("/root/asked", "")
            return calls

        for answer in ("cat", "enable", "restart"):
            pc.write(f"/root/{answer}", "")
        self.assertEqual((pc.setup("--yes", DISK)[0], asked()),
                         (1, ["enable smbd.service", "reload-or-restart smbd.service"]))
        for answer in ("reload-or-restart", "is-enabled", "is-active"):
            pc.write(f"/root/{answer}", "")
        for prepare in (lambda: None, pc.path(TOKEN).unlink):  # a run that failed goes on; a new token takes effect
            prepare()
            status, output = pc.setup("--yes", DISK)
            self.assertEqual((status, asked()),
                             (0, ["reload-or-restart smbd.service", "restart mossbox-agent.service"]), output)
        self.assertIn(pc.read(TOKEN).strip(), output)


class UnitTest(unittest.TestCase):
    @unittest.skipUnless(shutil.which("systemd-analyze"), "there is no systemd-analyze")
    def test_unit_is_valid_and_hardened(self):
        with tempfile.TemporaryDirectory() as folder:
            unit = pathlib.Path(folder, "mossbox-agent.service")
            unit.write_text(re.sub("(?m)^ExecStart=.*", f"ExecStart={AGENT}", pathlib.Path(UNIT).read_text()))
            for check in (["verify", "--man=no"], ["security", "--offline=yes", "--threshold=35", "--no-pager"]):
                result = subprocess.run(["systemd-analyze", *check, unit], stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True, check=False)
                self.assertEqual(result.returncode, 0, result.stdout)
                self.assertNotIn("mossbox-agent.service:", result.stdout.replace("for mossbox-agent.service:", ""))


def enter(arguments):
    """Runs the tests beside a private PC, in whose namespaces and memory everything stays."""
    made = subprocess.run([CLONE / "tools/bare-root"], stdout=subprocess.PIPE, text=True, check=False)
    if made.returncode != 0:
        return made.returncode
    command = [CLONE / "tools/private-pc", "run", "--", sys.executable, __file__, *arguments]
    return subprocess.run(command, env=dict(os.environ, BARE_ROOT=made.stdout.strip(), LC_ALL="C.UTF-8"),
                          check=False).returncode


if __name__ == "__main__":
    if "BARE_ROOT" not in os.environ:
        sys.exit(enter(sys.argv[1:]))
    AGENT, UNIT = sys.argv.pop(1), sys.argv.pop(1)
    unittest.main(verbosity=2)
