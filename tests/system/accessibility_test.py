#!/usr/bin/python3
"""What a screen reader finds in the windows: every control of every screen, by role and name, and no other. The set-up
on the way from screen to screen is done with nothing else.
Runs inside "private-pc run -- desktop-session --"; its argument is the agent."""
import pathlib
import subprocess
import sys

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path.insert(0, str(CLONE / "tools"))
import ternvault_window  # noqa: E402 (its folder comes first)

INTERACTIVE = {"push button", "toggle button", "check box", "radio button", "text", "password text", "list",
               "progress bar", "tree", "combo box", "menu item", "panel"}
MENUS = {("menu item", name) for name in (
    "File", "Settings…", "Close", "Quit", "Edit", "Undo", "Redo", "Cut", "Copy", "Paste", "Select All", "Transfer",
    "Paste Files into Tern Vault", "Add Files…", "Window", "Minimise", "Tern Vault", "Help", "Legal",
    "About Tern Vault")}
LEGAL = MENUS | {
    ("panel", "Legal"), ("push button", "Open Privacy Policy"), ("push button", "Open Terms & Conditions"),
    ("check box", ternvault_window.PRIVACY), ("check box", ternvault_window.TERMS),
    ("push button", "Accept & Continue")}
SETUP = MENUS | {
    ("panel", ""), ("panel", "Mode"), ("radio button", "Create"), ("radio button", "Login"), ("text", "Server IP"),
    ("text", "Username"), ("password text", "Password"), ("push button", "Create & Connect")}
MAIN = MENUS | {
    ("panel", "Server"), ("text", "IP address"), ("text", "Port"), ("push button", "Refresh drives"),
    ("text", "SMB username"), ("password text", "SMB password"), ("panel", "Drives on server"),
    ("list", "SMB shares"), ("panel", "Transfers (this app only — not Finder)"),
    ("panel", "Drop files here  ·  or click then ⌘V"), ("push button", "Add Files…"),
    ("push button", "Paste files now"), ("check box", "Auto-connect at login"), ("push button", "Open in Finder"),
    ("push button", "Eject"), ("push button", "Mount as Tern Vault")}
SETTINGS = {
    ("panel", "Connection"), ("text", "Server IP"), ("text", "Agent port"), ("password text", "Agent token"),
    ("panel", "SMB account"), ("text", "SMB username"), ("password text", "SMB password"),
    ("text", "Preferred share name"), ("panel", "Startup"),
    ("check box", "Auto-connect Tern Vault when Mac starts"), ("panel", "Desktop"),
    ("check box", "Show drive icon on Desktop"), ("panel", "Account"),
    ("push button", "Reset setup (show Create / Login again)"), ("panel", "Legal"),
    ("push button", "Privacy Policy"), ("push button", "Terms & Conditions")}
PANEL = {
    ("push button", "Back"), ("push button", "Up"), ("text", "Folder"), ("check box", "Hidden files"),
    ("list", "Places"), ("tree", "Files and folders"), ("push button", "Cancel"),
    ("push button", "Copy to Tern Vault")}


def expect(window, controls, *besides):
    """Exactly these."""
    def found():
        return {(control.role, control.name) for control in window.walk()
                if control.role in INTERACTIVE}
    wanted = controls | set(besides)
    ternvault_window.wait_for(lambda: found() == wanted, lambda: f"missing {sorted(wanted - found())}, "
                              f"unexpected {sorted(found() - wanted)} in\n{window.dump()}")


def main():
    pc = ternvault_window.PrivatePc(sys.argv[1])
    app = ternvault_window.TernVault()
    app.main.find("push button", "Accept & Continue").wait(lambda button: button.has("IS_DEFAULT"), "the default")
    expect(app.main, LEGAL)
    app.accept_legal()
    app.main.find("push button", "Create & Connect").wait(lambda button: button.has("IS_DEFAULT"), "the default")
    expect(app.main, SETUP)
    expect(app.open_settings(), SETTINGS)
    app.close_settings()
    app.enter_token(pc.token)
    app.fill_in("Create", pc.address, "grandma", pc.password)
    app.connect("Create")
    expect(app.main, MAIN)
    app.main.find("push button", "Add Files…").press()
    panel = ternvault_window.FilePanel(app)
    expect(panel.window, PANEL)
    source = pathlib.Path.home() / "letter.txt"
    source.write_text("seen by a screen reader\n")
    panel.choose(source)
    app.wait_copied(1)
    expect(app.main, MAIN, ("push button", "Clear counters"))
    app.clear_counters()
    app.eject()
    app.quit()


if __name__ == "__main__":
    main()
