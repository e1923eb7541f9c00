#!/usr/bin/python3
"""Pastes made by keys in the window, and those that other processes ask for, with files and without; and a key that
somebody else holds.
Runs inside "private-pc run -- desktop-session --"; its argument is the agent."""
import pathlib
import subprocess
import sys
import time

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path[:0] = [str(CLONE / "tools"), str(CLONE / "tests" / "support")]
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import press_keys, put_on_clipboard, wait_for  # noqa: E402
from key_holder import KeyHolder  # noqa: E402

NOTIFICATION = "space.larkspur.ternvault.pasteFromClipboard"


def post_notification():
    subprocess.run(["gdbus", "emit", "--session", "--object-path", "/", "--signal", NOTIFICATION], check=True)


def close_and_open(app):
    app.main.find("text", "IP address").focus()
    press_keys("ctrl+w")
    app.wait_gone("frame", "Tern Vault")
    subprocess.run(["ternvault"], check=True)
    app.wait_listing("MOSSBOX1")


def refused_key(app, holder):
    """Told once; the next appearance tries again."""
    app.find("label", test=lambda label: label.name.startswith("Pastes made in file managers are not taken over"))
    app.find("push button", "OK").press()
    close_and_open(app)
    post_notification()
    app.wait_copied(2)
    app.clear_counters()
    ternvault_window.check(not app.first("push button", "OK"), "no second message")
    holder.let_go()
    close_and_open(app)
    wait_for(lambda: not holder.is_free(), "the tap at work")


def switched_off_and_on(app, holder):
    app.choose("Take Over Pastes in File Managers")
    wait_for(lambda: holder.is_free(), "the key given up")
    app.quit()
    again = ternvault_window.TernVault()
    again.wait_listing("MOSSBOX1")
    time.sleep(2)  # longer than the tap takes to start
    ternvault_window.check(holder.is_free(), "the key is left alone by the next start, too")
    again.choose("Take Over Pastes in File Managers")
    wait_for(lambda: not holder.is_free(), "the tap at work")
    return again


def main():
    pc = ternvault_window.PrivatePc(sys.argv[1])
    pc.log_in()
    files = [pathlib.Path.home() / name for name in ("a letter.txt", "another.txt")]
    for file in files:
        file.write_text(f"this is {file.name}\n")
    put_on_clipboard("text/uri-list", "".join(f"{file.as_uri()}\r\n" for file in files))

    holder = KeyHolder()
    ternvault_window.check(holder.hold(), "the key is free")
    app = ternvault_window.TernVault()
    app.wait_listing("MOSSBOX1")
    refused_key(app, holder)
    app = switched_off_and_on(app, holder)

    field = app.main.find("text", "IP address").focus()
    press_keys("ctrl+v")
    app.wait_copied(len(files))
    for file in files:
        ternvault_window.check((pc.share / file.name).read_bytes() == file.read_bytes(), f"{file.name} is the same")
    ternvault_window.check(field.text == pc.address, "files are not pasted as text")
    app.clear_counters()

    for _ in range(10):
        post_notification()
    app.wait_copied(10 * len(files))
    app.clear_counters()

    put_on_clipboard("UTF8_STRING", "text")
    for _ in range(10):
        post_notification()
    app.wait_status("Clipboard has no files — copy files in Finder first")
    field = app.main.find("text", "IP address").focus()
    press_keys("End", "ctrl+v")
    wait_for(lambda: field.text == f"{pc.address}text", lambda: f"text goes into the field, which has {field.text}")
    app.main.find("label", "No transfers")
    app.quit()


if __name__ == "__main__":
    main()
