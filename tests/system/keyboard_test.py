#!/usr/bin/python3
"""From the first launch to a finished copy with nothing but keys; the accessibility interface only looks. Every screen
is walked through with Tab once, which has to stop at every control, in this order.
Runs inside "private-pc run -- desktop-session --"; its argument is the agent."""
import pathlib
import sys

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(CLONE / "tools"))
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import Missed, press_keys, type_text, wait_for  # noqa: E402

LEGAL = ["Open Privacy Policy", "Open Terms & Conditions", ternvault_window.PRIVACY, ternvault_window.TERMS]
SETUP = ["Create", "Server IP", "Username", "Password"]
SETTINGS = ["Server IP", "Agent port", "Agent token", "SMB username", "SMB password", "Preferred share name",
            "Auto-connect Tern Vault when Mac starts", "Show drive icon on Desktop",
            "Reset setup (show Create / Login again)", "Privacy Policy", "Terms & Conditions"]
MAIN = ["IP address", "Port", "Refresh drives", "SMB username", "SMB password", "SMB shares",
        "Drop files here  ·  or click then ⌘V", "Add Files…", "Paste files now", "Auto-connect at login",
        "Open in Finder", "Eject"]
PANEL = ["Back", "Up", "Folder", "Hidden files", "Places", "Files and folders", "Cancel"]
ITEMS = ("list item", "table cell")  # the current one says that it has the focus, wherever that is
PASSWORD = "with \"blanks\" & marks: \\ #%?"


def focused(window):
    """Name of the control that has the focus; what it is in may say the same of itself."""
    return wait_for(lambda: [control for control in window.walk()
                             if control.has("FOCUSED") and control.role not in ITEMS],
                    lambda: f"a control with the focus in\n{window.dump()}")[-1].name


def tab(window):
    left = focused(window)
    press_keys("Tab")
    wait_for(lambda: focused(window) != left, lambda: f"Tab leaves \"{left}\" in\n{window.dump()}")


def tab_to(window, name):
    for _ in range(20):
        if focused(window) == name:
            return
        tab(window)
    raise Missed(f"Tab does not reach \"{name}\" in\n{window.dump()}")


def expect_stops(window, names):
    """Starts at the first of them, and ends there."""
    tab_to(window, names[0])
    stops = []
    while len(stops) < 2 * len(names) and (not stops or focused(window) != names[0]):
        stops.append(focused(window))
        tab(window)
    ternvault_window.check(stops == names, f"Tab stops at {stops}, not at {names}")


def type_into(window, name, text):
    tab_to(window, name)
    press_keys("ctrl+a")
    type_text(text)


def accept(app):
    expect_stops(app.main, LEGAL)
    press_keys("Return")
    for name in (ternvault_window.PRIVACY, ternvault_window.TERMS):
        ternvault_window.check(not app.main.find("push button", "Accept & Continue").enabled, "not accepted yet")
        tab_to(app.main, name)
        press_keys("space")
        app.main.find("check box", name).wait(lambda box: box.has("CHECKED"), "ticked")
    press_keys("Return")
    app.main.find("push button", "Create & Connect")


def set_up(app, pc):
    press_keys("ctrl+comma")
    expect_stops(app.settings, SETTINGS)
    type_into(app.settings, "Agent token", pc.token)
    press_keys("ctrl+w")
    app.wait_gone("frame", "Settings")
    expect_stops(app.main, SETUP)
    for name, text in (("Server IP", pc.address), ("Username", "grandma"), ("Password", PASSWORD)):
        type_into(app.main, name, text)
    press_keys("Return")
    app.main.find("label", "Mounted")
    app.wait_listing("MOSSBOX1")


def copy(app, folder):
    expect_stops(app.main, MAIN)
    press_keys("ctrl+o")
    panel = ternvault_window.FilePanel(app).window
    press_keys("ctrl+l")
    type_text(str(folder))
    press_keys("Return")
    panel.find("table cell", "letter.txt")
    expect_stops(panel, PANEL)
    tab_to(panel, "Files and folders")
    press_keys("Home", "shift+End")
    panel.find("push button", "Copy to Tern Vault").wait(lambda button: button.enabled, "something is chosen")
    press_keys("Return")
    app.wait_copied(2)


def main():
    pc = ternvault_window.PrivatePc(sys.argv[1])
    folder = pathlib.Path.home() / "to copy"
    (folder / "letters").mkdir(parents=True)
    (folder / "letter.txt").write_text("typed\n")
    (folder / "letters/another.txt").write_text("typed, too\n")
    app = ternvault_window.TernVault()
    accept(app)
    set_up(app, pc)
    copy(app, folder)
    for name in ("letter.txt", "letters/another.txt"):
        ternvault_window.check((pc.share / name).read_bytes() == (folder / name).read_bytes(), f"{name} is the same")
    press_keys("alt+u")  # "Clear counters"
    app.main.find("label", "No transfers")
    press_keys("ctrl+q")
    ternvault_window.check(app.process.wait(ternvault_window.PATIENCE) == 0, "quits in good order")


if __name__ == "__main__":
    main()
