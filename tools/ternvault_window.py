"""The windows of Tern Vault as its user meets them: the steps of the road through them, each of which checks what it
must show. Operated as a screen reader does it."""
import os
import pathlib
import subprocess

from accessibility import (PATIENCE, Missed, Program, box_of_window, picture_of, press_keys, show_appearance, switch_on,
                           wait_for, window_id, xdotool)

TOOLS = pathlib.Path(__file__).resolve().parent
PRIVACY = "I have read and agree to the Privacy Policy"
TERMS = ("I have read and agree to the Terms & Conditions (including Apple platform terms that apply to my Mac)")
MARGIN = 12  # pixels
COPYING = 4 * PATIENCE  # seconds for a copy, and for the attempts of one that fails


def check(holds, what):
    if not holds:
        raise Missed(f"not so: {what() if callable(what) else what}")


def have_volumes_root():
    """For all programs that are started from here."""
    volumes = os.environ.setdefault("TERNVAULT_VOLUMES_ROOT", str(pathlib.Path.home() / "volumes"))
    pathlib.Path(volumes).mkdir(exist_ok=True)


def command_line(*arguments, **options):
    subprocess.run(["ternvault-cli", *arguments], check=True, stdout=subprocess.DEVNULL, text=True, **options)


class TernVault(Program):
    """The running application."""

    def __init__(self, *arguments):
        switch_on()
        have_volumes_root()
        self.process = subprocess.Popen(["ternvault", *arguments])
        super().__init__(self.process.pid)

    @property
    def main(self):
        return self.find("frame", "Tern Vault")

    @property
    def settings(self):
        return self.find("frame", "Settings")

    @property
    def transfers(self):
        return self.main.find("panel", "Transfers (this app only — not Finder)")

    def enlarge(self, width, height):
        """The main window."""
        window = window_id(self.pid, "Tern Vault")
        xdotool("windowsize", "--sync", window, width, height)

    def status(self, kind="Status"):
        return self.main.find("label", test=lambda label: label.description == kind).name

    def wait_status(self, beginning, kind="Status", seconds=PATIENCE):
        wait_for(lambda: self.status(kind).startswith(beginning),
                 lambda: f"{kind.lower()} \"{beginning}…\" but \"{self.status(kind)}\"", seconds)

    def choose(self, item):
        """An item of the menus."""
        self.main.find("menu item", item).press()

    # --- First launch and account ---

    def accept_legal(self):
        accept = self.main.find("push button", "Accept & Continue")
        check(not accept.enabled, "nothing is accepted before both boxes are ticked")
        self.main.find("check box", PRIVACY).press()
        check(not accept.enabled, "one box is not enough")
        self.main.find("check box", TERMS).press()
        accept.press()
        self.main.find("radio button", "Create")

    def open_settings(self):
        self.choose("Settings…")
        return self.settings

    def close_settings(self):
        self.settings.find("text", "Server IP").focus()
        press_keys("ctrl+w")
        self.wait_gone("frame", "Settings")

    def enter_token(self, token):
        self.open_settings().find("password text", "Agent token").set_text(token)
        self.close_settings()

    def fill_in(self, mode, address, user, password):
        self.main.find("radio button", mode).press()
        connect = self.main.find("push button", f"{mode} & Connect")
        check(not connect.enabled, "no connecting before all is filled in")
        self.main.find("text", "Server IP").set_text(address)
        self.main.find("text", "Username").set_text(user)
        self.main.find("password text", "Password").set_text(password)
        connect.wait(lambda button: button.enabled, "enabled once all is filled in")

    def connect(self, mode):
        """Returns the error that is shown, or nothing once the main screen is there with the volume."""
        self.main.find("push button", f"{mode} & Connect").press()
        self.main.find("label", "Mounted")
        self.wait_listing("MOSSBOX1")

    # --- Main screen ---

    def wait_listing(self, *names):
        for name in names:
            self.main.find("list item", test=lambda item, name=name: item.name.startswith(f"{name}, "))

    def add_files(self, *paths):
        """Through the file panel; the paths are in one folder."""
        self.main.find("push button", "Add Files…").press()
        FilePanel(self).choose(*paths)

    def wait_copied(self, count, seconds=COPYING):
        self.wait_status("Done — ", "Transfer status", seconds)
        self.main.find("label", f"{count}/{count}")

    def clear_counters(self):
        self.main.find("push button", "Clear counters").press()
        self.main.find("label", "No transfers")

    def eject(self):
        self.main.find("push button", "Eject").press()
        self.main.wait_gone("label", "Mounted")
        check(not self.main.find("push button", "Open in Finder").enabled, "nothing to open without a volume")
        self.main.find("push button", "Mount as Tern Vault").wait(lambda button: button.enabled, "to be mounted again")

    def reset(self):
        self.open_settings().find("push button", "Reset setup (show Create / Login again)").press()
        self.close_settings()
        check(self.main.find("radio button", "Login").has("CHECKED"), "Login is offered after a reset")

    def quit(self):
        self.choose("Quit")
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired as error:
            raise Missed("the application did not quit") from error
        check(status == 0, f"quits with {status}")


class PrivatePc:
    """The private PC around this process, with its agent."""

    def __init__(self, agent):
        self.directory = pathlib.Path(os.environ["TERNVAULT_PC"])
        self.share = self.directory / "share"
        self.control("agent", "start", agent)
        self.address, self.token, self.password = map(self._told, ("address", "token", "password"))

    def control(self, *arguments):
        subprocess.run([TOOLS / "private-pc", *arguments], check=True)

    def log_in(self):
        """By command line, with the account that the PC has, as the next start of the application finds it."""
        have_volumes_root()
        command_line("accept-legal")
        command_line("set", "serverIP", self.address)
        command_line("set", "smbUser", self._told("user"))
        command_line("set", "agentToken", input=self.token)
        command_line("set", "smbPassword", input=self.password)
        command_line("setup", "--login", input=self.password)

    def _told(self, name):
        return (self.directory / name).read_text(encoding="utf-8").rstrip("\n")


class FilePanel:
    """The window in which files and folders are chosen."""

    def __init__(self, program):
        self.window = program.find("dialog", "Copy to Tern Vault")

    def choose(self, *paths):
        folder = pathlib.Path(paths[0]).parent
        self.window.find("text", "Folder").focus().set_text(str(folder))
        press_keys("Return")
        for path in paths:
            self.window.find("table cell", pathlib.Path(path).name).press()
        self.window.find("push button", "Copy to Tern Vault").press()


class Camera:
    """Takes a picture of a window in light and in dark, into files named after what it shows."""

    def __init__(self, program, folder):
        self.program, self.folder = program, folder

    def take(self, name, title="Tern Vault", part=None):
        """Of the window with that title, or of that control with a little around."""
        if part:
            left, top, width, height = part.box()
            box = (left - MARGIN, top - MARGIN, width + 2 * MARGIN, height + 2 * MARGIN)
        else:
            box = box_of_window(window_id(self.program.pid, title))
        for dark in (True, False):  # ends in the light, as it began
            show_appearance(dark)
            picture_of(box, dark).save(self.folder / f"{name}-{'dark' if dark else 'light'}.png")
