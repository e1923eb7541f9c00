#!/usr/bin/python3
"""Pastes made in a file manager: those of files onto the volume become jobs of our queue, all others stay its own, and
so do pastes in other programs. Files dragged from it onto our window are queued.
Runs inside "private-pc run -- desktop-session --"; its arguments are the agent and the command that opens a window of
the file manager."""
import contextlib
import pathlib
import re
import subprocess
import sys
import time

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(CLONE / "tools"))
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import PATIENCE, clipboard, drag, put_on_clipboard, wait_for, xdotool  # noqa: E402
from ternvault_window import check  # noqa: E402

HOME = pathlib.Path.home()
VOLUME = HOME / "volumes" / "MOSSBOX1"
COPIED_FILES = CLONE / "tests" / "support" / "copied-files"
LOG = HOME / "data" / "Tern Vault" / "transfer.log"
SETTLING = 1  # second that a window takes to know who has the focus
MANY = 300  # files
FIRST_ICON = (180, 115)  # pixels from the corner of Thunar's window
SELECTING_FIRST = {"pcmanfm-qt": ["Down", "ctrl+space"]}
# A program in a terminal that tells the first byte that it gets.
FIRST_BYTE = 'stty raw; dd bs=1 count=1 of="$1.part" 2>/dev/null; mv "$1.part" "$1"'


def press(*keys):
    """With the locks as they are."""
    xdotool("key", "--delay", "50", *keys)


class Windows:
    """Those of other programs, with the keys that go to the one in front."""

    def __init__(self, file_manager):
        self.file_manager = file_manager
        self.started = []

    def start(self, title, *command):
        self.started.append(subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL))
        self.bring_forward(title)

    def open(self, *folders):
        """Each in a window of the file manager that stays open: it has what it copied."""
        for folder in folders:
            self.start(folder.name, *self.file_manager, folder)

    def bring_forward(self, title):
        def is_in_front():
            xdotool("search", "--onlyvisible", "--name", f"^{title}", "windowactivate", check=False)
            return self.in_front().startswith(title)
        wait_for(is_in_front, f"a window \"{title}\" in front")
        time.sleep(SETTLING)

    @staticmethod
    def in_front():
        return xdotool("getactivewindow", "getwindowname", check=False)

    @staticmethod
    def titles():
        return sorted(xdotool("search", "--onlyvisible", "--name", ".", "getwindowname", "%@").splitlines())

    def copy_all(self, folder):
        """Of a folder, by the file manager itself."""
        self.bring_forward(folder.name)
        press("ctrl+a")
        wait_for(lambda: press("ctrl+c") or "file:" in clipboard("text/uri-list"), "files on the clipboard")

    @staticmethod
    def check_gets_text(files):
        """A paste in front, made with files and a text on the clipboard, goes into the field that has the focus."""
        with subprocess.Popen([COPIED_FILES, "a text", *files], stdout=subprocess.PIPE) as owner:
            owner.stdout.readline()
            press("ctrl+v", "ctrl+a", "ctrl+x")
            with contextlib.suppress(subprocess.TimeoutExpired):
                owner.wait(PATIENCE)  # for something else on the clipboard
            owner.kill()
        text = wait_for(lambda: clipboard("UTF8_STRING"), "text in the field that has the focus")
        check("a text" in text, f"pasted into the field: {text}")

    def end(self):
        for process in self.started:
            process.kill()


def copies():
    """Names of what our queue copied, as its log has them."""
    lines = LOG.read_text().splitlines() if LOG.exists() else []
    return sorted(line.split(" OK ")[1].rsplit(" (")[0] for line in lines if " OK " in line)


def taken(windows, files, folder):
    """The paste in front becomes jobs of ours, and nobody else's, into that folder of the server."""
    for file in files:
        (folder / file.name).unlink(missing_ok=True)
    before = windows.titles()
    press("ctrl+v")
    names = sorted(file.name for file in files)
    wait_for(lambda: copies() == names, lambda: f"one copy of each: {copies()}", ternvault_window.COPYING)
    wait_for(lambda: windows.in_front().startswith("Tern Vault"), "our window in front")
    for file in files:
        check((folder / file.name).read_bytes() == file.read_bytes(), f"{file.name} is the same")
    there = sorted(entry.name for entry in folder.iterdir() if not entry.name.startswith("."))
    check(there == names, lambda: f"nothing else on the server: {there}")
    check(windows.titles() == before, lambda: f"the file manager asks nothing: {windows.titles()}")
    LOG.unlink()


def taken_in_a_subfolder(windows, files, pc):
    """Where it was made: a file of that name at the root stays."""
    for file in files:
        (pc.share / file.name).write_text("older")
    subfolder = VOLUME / "subfolder"
    subfolder.mkdir()
    windows.open(subfolder)
    taken(windows, files, pc.share / subfolder.name)
    for file in files:
        check((pc.share / file.name).read_text() == "older", f"{file.name} at the root stays")


def field_keeps_its(windows, files, *way_in):
    windows.bring_forward(VOLUME.name)
    for key in way_in:
        press(key)
        time.sleep(SETTLING)
    windows.check_gets_text(files)
    press("Escape")


def other_programs_keep_theirs(windows, files):
    told = HOME / "first-byte"
    windows.copy_all(files[0].parent)
    windows.start("Terminal", "xterm", "-T", "Terminal", "-e", "sh", "-c", FIRST_BYTE, "-", told)
    press("ctrl+v")
    check(wait_for(told.exists, "the terminal gets the key") and told.read_bytes() == b"\x16", "Ctrl+V as such")
    windows.start("Untitled", "mousepad")
    windows.check_gets_text(files)


def drag_many(windows, target):
    """By hand, from the file manager's window onto ours."""
    folder = HOME / "many"
    folder.mkdir()
    names = [f"{number:03}.txt" for number in range(MANY)]
    for name in names:
        (folder / name).write_text(name)
    windows.open(folder)
    xdotool("getactivewindow", "windowmove", "--sync", 0, 0)
    press("ctrl+a")
    xdotool("mousemove", "--window", xdotool("getactivewindow").strip(), *FIRST_ICON)
    drag([int(value) for value in re.findall(r"[xy]:(\d+)", xdotool("getmouselocation"))], target)
    wait_for(lambda: copies() == names, lambda: f"all of them: {len(copies())}", ternvault_window.COPYING + MANY)
    check(len(list(folder.iterdir())) == MANY, "what was dragged is still there")
    LOG.unlink()


def main():
    pc = ternvault_window.PrivatePc(sys.argv[1])
    pc.log_in()
    files = [HOME / "letters" / name for name in ("a letter.txt", "another.txt")]
    elsewhere = HOME / "elsewhere"
    elsewhere.mkdir()
    files[0].parent.mkdir()
    for file in files:
        file.write_text(f"this is {file.name}\n")
    app = ternvault_window.TernVault()
    app.wait_listing("MOSSBOX1")
    app.main.find("label", "Mounted")
    drop_zone = app.main.find("panel", "Drop files here  ·  or click then ⌘V").centre()
    # From here on without its help: the library behind it locks itself up when programs like these come and go.
    windows = Windows(sys.argv[2:])
    try:
        windows.open(files[0].parent, elsewhere, VOLUME)
        windows.copy_all(files[0].parent)
        windows.bring_forward(VOLUME.name)
        taken(windows, files, pc.share)

        windows.bring_forward(VOLUME.name)
        press("Caps_Lock", "Num_Lock")
        taken(windows, files, pc.share)
        press("Caps_Lock", "Num_Lock")

        windows.bring_forward(elsewhere.name)
        press("ctrl+v")
        wait_for(lambda: all((elsewhere / file.name).exists() for file in files), "pasted by the file manager")

        windows.bring_forward(VOLUME.name)
        press("ctrl+shift+v", "ctrl+alt+v")
        put_on_clipboard("UTF8_STRING", "text")
        press("ctrl+v")
        time.sleep(SETTLING)
        press("Escape")  # some say in a dialog that there is nothing to paste
        field_keeps_its(windows, files, *SELECTING_FIRST.get(windows.file_manager[0], ["Down"]), "F2")
        windows.copy_all(files[0].parent)
        windows.bring_forward(VOLUME.name)
        taken(windows, files, pc.share)
        taken_in_a_subfolder(windows, files, pc)
        field_keeps_its(windows, files, "ctrl+l")
        other_programs_keep_theirs(windows, files)
        if windows.file_manager[0] == "thunar":
            drag_many(windows, drop_zone)
        check(not LOG.exists(), lambda: f"nothing else was ours: {copies()}")
        windows.bring_forward("Tern Vault")
        press("ctrl+q")
        check(app.process.wait() == 0, "quits")
    finally:
        windows.end()


if __name__ == "__main__":
    main()
