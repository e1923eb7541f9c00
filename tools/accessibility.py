"""Looks at a program and operates it from outside: controls through the accessibility interface as a screen reader
does, keys and pointer as hands do, pictures as eyes do. For use inside tools/desktop-session.

Whatever is not as asked within the patience raises Missed, with the tree of what was there instead."""
import contextlib
import os
import pathlib
import re
import subprocess
import time

import gi

gi.require_version("Atspi", "2.0")
gi.require_version("Gdk", "3.0")
gi.require_version("GdkX11", "3.0")
from gi.repository import Atspi, Gdk, GdkX11, GLib  # noqa: E402 (versions come first)

PATIENCE = float(os.environ.get("TERNVAULT_PATIENCE", 15))  # seconds; sanitizers need more
DRAG_SOURCE = pathlib.Path(__file__).with_name("drag-source")
DRAG_STEPS = 20
PRESSING = ("Press", "Toggle", "ShowMenu")
MENUS = ("popup menu", "menu item", "separator")  # closed ones count: a screen reader opens them


class Missed(AssertionError):
    """What was waited for and did not come."""


def wait_for(condition, what, seconds=PATIENCE):
    """The first value of `condition` that counts as true. What vanishes while it is looked at is not there."""
    end = time.monotonic() + seconds
    while True:
        with contextlib.suppress(GLib.Error):
            value = condition()
            if value:
                return value
        if time.monotonic() > end:
            raise Missed(f"not within {seconds:g} s: {described(what)}")
        time.sleep(0.05)


def described(what):
    try:
        return what() if callable(what) else what
    except GLib.Error as error:
        return f"what was asked for, nor anything else ({error.message})"


def switch_on():
    """Tells programs that a screen reader runs."""
    subprocess.run(["gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                    "--method", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "ScreenReaderEnabled",
                    "<true>"], check=True, stdout=subprocess.DEVNULL)


class Control:
    """One accessible object: a control, a window or a whole program."""

    def __init__(self, accessible):
        self.accessible = accessible

    @property
    def name(self):
        return self.accessible.get_name()

    @property
    def role(self):
        return self.accessible.get_role_name()

    @property
    def description(self):
        return self.accessible.get_description()

    @property
    def text(self):
        return Atspi.Text.get_text(self.accessible, 0, -1)

    @property
    def value(self):
        """Between 0 and 1."""
        low, high = self.accessible.get_minimum_value(), self.accessible.get_maximum_value()
        return (self.accessible.get_current_value() - low) / (high - low) if high > low else 0

    def has(self, *states):
        present = self.accessible.get_state_set()
        return all(present.contains(getattr(Atspi.StateType, state)) for state in states)

    @property
    def enabled(self):
        return self.has("ENABLED", "SENSITIVE")

    def children(self):
        for index in range(self.accessible.get_child_count()):
            child = self.accessible.get_child_at_index(index)
            if child:
                yield Control(child)

    def walk(self):
        """What is shown, in the order of the tree."""
        for child in self.children():
            with contextlib.suppress(GLib.Error):
                if child.has("SHOWING") or child.role in MENUS:
                    yield child
                    yield from child.walk()

    def all(self, role, name=None):
        return [control for control in self.walk() if control.role == role and name in (None, control.name)]

    def first(self, role, name=None, test=lambda control: True):
        return next((control for control in self.walk()
                     if control.role == role and name in (None, control.name) and test(control)), None)

    def find(self, role, name=None, test=lambda control: True, seconds=PATIENCE):
        return wait_for(lambda: self.first(role, name, test),
                        lambda: f"{role} \"{name or 'of any name'}\" in\n{self.dump()}", seconds)

    def wait_gone(self, role, name=None, seconds=PATIENCE):
        wait_for(lambda: not self.first(role, name), lambda: f"no {role} \"{name}\" in\n{self.dump()}", seconds)

    def wait(self, test, what, seconds=PATIENCE):
        wait_for(lambda: test(self), lambda: f"{what}: {self}", seconds)
        return self

    def press(self):
        self.wait(lambda control: control.enabled, "enabled")
        actions = [self.accessible.get_action_name(index) for index in range(self.accessible.get_n_actions())]
        wanted = next((name for name in PRESSING if name in actions), None)
        if wanted is None:
            raise Missed(f"{self} offers no pressing, only {actions}")
        self.accessible.do_action(actions.index(wanted))

    def set_text(self, text):
        if not Atspi.EditableText.set_text_contents(self.accessible, text):
            raise Missed(f"{self} takes no text")

    def focus(self):
        self.accessible.grab_focus()
        return self.wait(lambda control: control.has("FOCUSED"), "focused")

    def box(self):
        """Left, top, width and height on the screen."""
        box = self.accessible.get_extents(Atspi.CoordType.SCREEN)
        return box.x, box.y, box.width, box.height

    def centre(self):
        left, top, width, height = self.box()
        return left + width // 2, top + height // 2

    def dump(self):
        return "\n".join(map(str, self.walk()))

    def __str__(self):
        states = [state.lower() for state in ("SHOWING", "FOCUSED", "CHECKED", "SELECTED", "IS_DEFAULT")
                  if self.has(state)]
        if not self.enabled:
            states.append("disabled")
        described = f" ({self.description})" if self.description else ""
        return f"{self.role} \"{self.name}\"{described} [{' '.join(states)}]"


class Program(Control):
    """The program of one process."""

    def __init__(self, pid):
        self.pid = pid
        super().__init__(wait_for(self._accessible, f"process {pid} on the accessibility bus"))
        self.accessible.set_cache_mask(Atspi.Cache.NONE)

    def _accessible(self):
        desktop = Atspi.get_desktop(0)
        desktop.set_cache_mask(Atspi.Cache.NONE)
        programs = (desktop.get_child_at_index(index) for index in range(desktop.get_child_count()))
        return next((program for program in programs if program and program.get_process_id() == self.pid), None)


# --- Hands --------------------------------------------------------------------------------------------------

def xdotool(*arguments, check=True, **options):
    return subprocess.run(["xdotool", *map(str, arguments)], check=check, capture_output=True, text=True,
                          **options).stdout


def press_keys(*keys):
    """Such as "Tab" or "ctrl+o", one after another, to whatever has the focus."""
    xdotool("key", "--clearmodifiers", "--delay", "30", *keys)


def type_text(text):
    """By standard input: it may be a password."""
    xdotool("type", "--clearmodifiers", "--delay", "20", "--file", "-", input=text)


def clipboard(kind):
    return subprocess.run(["xclip", "-selection", "clipboard", "-o", "-t", kind], capture_output=True, text=True,
                          check=False).stdout


def put_on_clipboard(kind, content):
    """By a program that stays behind to deliver it."""
    subprocess.run(["xclip", "-selection", "clipboard", "-t", kind], input=content, check=True, text=True,
                   stdout=subprocess.DEVNULL)
    wait_for(lambda: clipboard(kind).split() == content.split(), "the clipboard's new content")


def drag(start, target, while_held=lambda: None):
    """From one point of the screen to another, looking at `while_held` before what is dragged is dropped there."""
    xdotool("mousemove", *start, "mousedown", 1)
    for step in range(1, DRAG_STEPS + 1):
        xdotool("mousemove", *(round(a + (b - a) * step / DRAG_STEPS) for a, b in zip(start, target)))
        time.sleep(0.02)
    while_held()
    xdotool("mouseup", 1)
    time.sleep(1)  # the target asks for the files


def drop_files(paths, target, while_held):
    """Drags the files from a window of another program, holds them over that point of the screen for as long as
    `while_held` looks at it, and drops them there."""
    source = subprocess.Popen([DRAG_SOURCE, *paths])
    try:
        window = window_id(source.pid, "Drag source")
        xdotool("windowmove", "--sync", window, 0, 0, "windowraise", window)
        xdotool("mousemove", "--window", window, 80, 40)
        drag([int(value) for value in re.findall(r"[xy]:(\d+)", xdotool("getmouselocation"))], target, while_held)
    finally:
        source.kill()
        source.wait()


# --- Eyes ---------------------------------------------------------------------------------------------------

def box_of_window(window):
    """Left, top, width and height on the screen, without the frame around it."""
    known = GdkX11.X11Window.foreign_new_for_display(Gdk.Display.get_default(), window)
    return (*known.get_origin()[1:], *known.get_geometry()[2:])


class Picture:
    """What a box of the screen shows now."""

    def __init__(self, box):
        self.pixels = Gdk.pixbuf_get_from_window(Gdk.get_default_root_window(), *box)

    def save(self, path):
        pathlib.Path(path).parent.mkdir(parents=True, exist_ok=True)
        self.pixels.savev(str(path), "png", ["compression"], ["9"])

    @property
    def content(self):
        return self.pixels.get_pixels()

    @property
    def lightness(self):
        """Between 0 and 1, over the whole of it."""
        return sum(self.content[::7]) / (255 * len(self.content[::7]))


def window_id(pid, title):
    """Of the window of that process with that title."""
    found = wait_for(lambda: xdotool_search(pid, title), f"a window \"{title}\" of process {pid}")
    return int(found[-1])


def xdotool_search(pid, title):
    result = subprocess.run(["xdotool", "search", "--all", "--onlyvisible", "--pid", str(pid), "--name", f"^{title}$"],
                            capture_output=True, text=True, check=False)
    return result.stdout.split()


def show_appearance(dark):
    """Turns the whole desktop dark or light."""
    subprocess.run(["gsettings", "set", "org.gnome.desktop.interface", "color-scheme",
                    "prefer-dark" if dark else "default"], check=True)


def picture_of(box, dark):
    """A picture of that box of the screen once it stands still in that appearance."""
    def at_rest():
        first = Picture(box)
        time.sleep(0.1)
        second = Picture(box)
        return second if first.content == second.content and (second.lightness < 0.5) == dark else None
    return wait_for(at_rest, f"the window at rest and {'dark' if dark else 'light'}")
