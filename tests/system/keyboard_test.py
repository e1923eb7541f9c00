#!/usr/bin/python3
"""From the first launch to a finished copy with nothing but keys; the accessibility interface only looks. Every screen
has exactly these controls, by role and name, and Tab stops at those that can be used, in this order.
Runs inside "private-pc run -- desktop-session --"; its argument is the agent."""
import pathlib
import sys

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(CLONE / "tools"))
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import Missed, press_keys, put_on_clipboard, type_text, wait_for  # noqa: E402

INTERACTIVE = {"push button", "toggle button", "check box", "radio button", "text", "password text", "list",
               "progress bar", "tree", "combo box", "menu item", "panel"}
MENUS = {("menu item", name) for name in (
    "File", "Settings…", "Close", "Quit", "Edit", "Undo", "Redo", "Cut", "Copy", "Paste", "Select All",
    "Take Over Pastes in File Managers", "Transfer", "Paste Files into Tern Vault", "Add Files…", "Window", "Minimise", "Tern Vault", "Help", "Legal",
    "About Tern Vault")}
# Of each screen: the Tab stops, and what is no stop.
LEGAL = [("push button", "Open Privacy Policy"), ("push button", "Open Terms & Conditions"),
         ("check box", ternvault_window.PRIVACY), ("check box", ternvault_window.TERMS)]
LEGAL_BESIDES = MENUS | {("panel", "Legal"), ("push button", "Accept & Continue")}
SETUP = [("radio button", "Create"), ("text", "Server IP"), ("text", "Username"), ("password text", "Password")]
SETUP_BESIDES = MENUS | {("panel", ""), ("panel", "Mode"), ("radio button", "Login"),
                         ("push button", "Create & Connect")}
SETTINGS = [("text", "Server IP"), ("text", "Agent port"), ("password text", "Agent token"), ("text", "SMB username"),
            ("password text", "SMB password"), ("text", "Preferred share name"),
            ("check box", "Auto-connect Tern Vault when Mac starts"), ("check box", "Show drive icon on Desktop"),
            ("push button", "Reset setup (show Create / Login again)"), ("push button", "Privacy Policy"),
            ("push button", "Terms & Conditions")]
SETTINGS_BESIDES = {("panel", name) for name in ("Connection", "SMB account", "Startup", "Desktop", "Account", "Legal")}
MAIN = [("text", "IP address"), ("text", "Port"), ("push button", "Refresh drives"), ("text", "SMB username"),
        ("password text", "SMB password"), ("list", "SMB shares"), ("panel", "Drop files here  ·  or click then ⌘V"),
        ("push button", "Add Files…"), ("push button", "Paste files now"), ("check box", "Auto-connect at login"),
        ("push button", "Open in Finder"), ("push button", "Eject")]
MAIN_BESIDES = MENUS | {("panel", "Server"), ("panel", "Drives on server"),
                        ("panel", "Transfers (this app only — not Finder)"), ("push button", "Mount as Tern Vault")}
PANEL = [("push button", "Back"), ("push button", "Up"), ("text", "Folder"), ("check box", "Hidden files"),
         ("list", "Places"), ("tree", "Files and folders"), ("push button", "Cancel")]
PANEL_BESIDES = {("push button", "Copy to Tern Vault")}
QUIT = [("push button", "Don’t Quit"), ("push button", "Quit")]
QUIT_BESIDES = {("panel", ""), ("progress bar", "Transfer progress")}
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


def expect(window, stops, besides):
    """Exactly these controls; the walk starts at the first stop, and ends there."""
    def found():
        return {(control.role, control.name) for control in window.walk() if control.role in INTERACTIVE}
    wanted = besides.union(stops)
    wait_for(lambda: found() == wanted, lambda: f"missing {sorted(wanted - found())}, "
             f"unexpected {sorted(found() - wanted)} in\n{window.dump()}")
    names = [name for _, name in stops]
    tab_to(window, names[0])
    seen = []
    while len(seen) < 2 * len(names) and (not seen or focused(window) != names[0]):
        seen.append(focused(window))
        tab(window)
    ternvault_window.check(seen == names, f"Tab stops at {seen}, not at {names}")


def type_into(window, name, text):
    tab_to(window, name)
    press_keys("ctrl+a")
    type_text(text)


def accept(app):
    expect(app.main, LEGAL, LEGAL_BESIDES)
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
    expect(app.settings, SETTINGS, SETTINGS_BESIDES)
    type_into(app.settings, "Agent token", pc.token)
    press_keys("ctrl+w")
    app.wait_gone("frame", "Settings")
    expect(app.main, SETUP, SETUP_BESIDES)
    for name, text in (("Server IP", pc.address), ("Username", "grandma"), ("Password", PASSWORD)):
        type_into(app.main, name, text)
    press_keys("Return")
    app.main.find("label", "Mounted")
    app.wait_listing("MOSSBOX1")


def copy(app, folder):
    expect(app.main, MAIN, MAIN_BESIDES)
    press_keys("ctrl+o")
    panel = ternvault_window.FilePanel(app).window
    press_keys("ctrl+l")
    type_text(str(folder))
    press_keys("Return")
    panel.find("table cell", "letter.txt")
    expect(panel, PANEL, PANEL_BESIDES)
    tab_to(panel, "Files and folders")
    press_keys("Home", "shift+End")
    panel.find("push button", "Copy to Tern Vault").wait(lambda button: button.enabled, "something is chosen")
    press_keys("Return")
    app.wait_copied(2)


def quit_while_copying(app, pc, folder):
    """Asks first; the copy cannot end before it is answered."""
    put_on_clipboard("text/uri-list", (folder / "letter.txt").as_uri() + "\r\n")
    pc.control("pause")
    (folder / "letter.txt").write_text("typed anew\n")
    press_keys("ctrl+v")
    app.wait_status("Copying letter.txt", "Transfer status")
    for answer in ("Escape", "Return"):
        press_keys("ctrl+q")
        expect(app.find("dialog", "Quit Tern Vault?"), QUIT, QUIT_BESIDES)
        press_keys(answer)
        app.wait_gone("dialog", "Quit Tern Vault?")
    press_keys("ctrl+q")
    tab_to(app.find("dialog", "Quit Tern Vault?"), "Quit")
    press_keys("Return")
    ternvault_window.check(app.process.wait(ternvault_window.PATIENCE) == 0, "quits in good order")
    pc.control("resume")


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
    quit_while_copying(app, pc, folder)


if __name__ == "__main__":
    main()
