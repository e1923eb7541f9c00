#!/usr/bin/python3
"""Pastes made in a file manager: those of files onto the volume become jobs of our queue, all others stay its own, and
so do pastes in other programs. Runs inside "private-pc run -- desktop-session --"; its arguments are the agent and the
file manager."""
import pathlib
import subprocess
import sys
import time

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(CLONE / "tools"))
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import wait_for, xdotool  # noqa: E402
from ternvault_window import check  # noqa: E402

HOME = pathlib.Path.home()
VOLUME = HOME / "volumes" / "MOSSBOX1"
LOG = HOME / "data" / "Tern Vault" / "transfer.log"
SETTLING = 1  # second that a window takes to know who has the focus
# A program in a terminal that tells the first byte that it gets.
FIRST_BYTE = 'stty raw; dd bs=1 count=1 of="$1.part" 2>/dev/null; mv "$1.part" "$1"'


def press(*keys):
    """With the locks as they are."""
    xdotool("key", "--delay", "50", *keys)


def clipboard(kind):
    return subprocess.run(["xclip", "-selection", "clipboard", "-o", "-t", kind], capture_output=True, text=True,
                          check=False).stdout


def put_text_on_clipboard(text):
    subprocess.run(["xclip", "-selection", "clipboard"], input=text, check=True, text=True, stdout=subprocess.DEVNULL)


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
            self.start(folder.name, self.file_manager, folder)

    def bring_forward(self, title):
        def is_in_front():
            subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}", "windowactivate"],
                           capture_output=True, check=False)
            return self.in_front().startswith(title)
        wait_for(is_in_front, f"a window \"{title}\" in front")
        time.sleep(SETTLING)

    @staticmethod
    def in_front():
        return subprocess.run(["xdotool", "getactivewindow", "getwindowname"], capture_output=True, text=True,
                              check=False).stdout

    def copy_all(self, folder):
        """Of a folder, by the file manager itself."""
        self.bring_forward(folder.name)
        press("ctrl+a", "ctrl+c")
        wait_for(lambda: "file:" in clipboard("text/uri-list"), "files on the clipboard")

    def text_in_field(self):
        put_text_on_clipboard("nothing")
        press("ctrl+a", "ctrl+x")
        return wait_for(lambda: clipboard("UTF8_STRING").replace("nothing", ""), "text in the field that has the focus")

    def end(self):
        for process in self.started:
            process.kill()


def taken(app, windows, files, pc):
    """The paste in front becomes jobs of ours, and nobody's else."""
    press("ctrl+v")
    app.wait_copied(len(files))
    wait_for(lambda: windows.in_front().startswith("Tern Vault"), "our window in front")
    for file in files:
        check((pc.share / file.name).read_bytes() == file.read_bytes(), f"{file.name} is the same")
        check(LOG.read_text().count(f"OK {file.name}") == 1, lambda: f"one copy of {file.name}: {LOG.read_text()}")
    names = sorted(entry.name for entry in pc.share.iterdir() if not entry.name.startswith("."))
    check(names == sorted(file.name for file in files), lambda: f"nothing else on the server: {names}")
    LOG.unlink()
    app.clear_counters()


def fields_keep_theirs(windows, files):
    for way_in in (["ctrl+l"], ["Down", "F2"]):
        windows.copy_all(files[0].parent)
        windows.bring_forward(VOLUME.name)
        press(*way_in)
        time.sleep(SETTLING)
        press("ctrl+v")
        text = windows.text_in_field()
        check(files[0].name in text, f"pasted into a field of the file manager: {text}")
        press("Escape")


def other_programs_keep_theirs(windows, files):
    windows.copy_all(files[0].parent)
    told = HOME / "first-byte"
    windows.start("Terminal", "xterm", "-T", "Terminal", "-e", "sh", "-c", FIRST_BYTE, "-", told)
    press("ctrl+v")
    check(wait_for(told.exists, "the terminal gets the key") and told.read_bytes() == b"\x16", "Ctrl+V as such")
    windows.start("Untitled", "mousepad")
    press("ctrl+v")
    text = windows.text_in_field()
    check(files[0].name in text, f"pasted into the editor: {text}")


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
    windows = Windows(sys.argv[2])
    try:
        windows.open(files[0].parent, elsewhere, VOLUME)
        windows.copy_all(files[0].parent)
        windows.bring_forward(VOLUME.name)
        taken(app, windows, files, pc)

        for lock in ("Caps_Lock", "Num_Lock"):
            windows.bring_forward(VOLUME.name)
            press(lock)
            taken(app, windows, files, pc)
            press(lock)

        windows.bring_forward(elsewhere.name)
        press("ctrl+v")
        wait_for(lambda: all((elsewhere / file.name).exists() for file in files), "pasted by the file manager")

        windows.bring_forward(VOLUME.name)
        press("ctrl+shift+v", "ctrl+alt+v")
        put_text_on_clipboard("text")
        press("ctrl+v")
        fields_keep_theirs(windows, files)
        other_programs_keep_theirs(windows, files)
        windows.bring_forward("Tern Vault")
        app.main.find("label", "No transfers")
        check(not LOG.exists(), "nothing else was ours")
    finally:
        windows.end()
    app.quit()


if __name__ == "__main__":
    main()
