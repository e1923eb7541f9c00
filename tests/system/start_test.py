#!/usr/bin/python3
"""Opens the window and quits, with pastes taken over as in any start, under an allocator that checks the heap.
Runs inside "desktop-session --"; the program is the first one of its name on the path."""
import os
import pathlib
import sys

CLONE = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
sys.path[:0] = [str(CLONE / "tools"), str(CLONE / "tests" / "support")]
import ternvault_window  # noqa: E402 (its folder comes first)
from accessibility import wait_for  # noqa: E402
from key_holder import KeyHolder  # noqa: E402


def main():
    os.environ.update(LD_PRELOAD="libc_malloc_debug.so.0", MALLOC_CHECK_="3")
    app = ternvault_window.TernVault()
    app.main.find("push button", "Accept & Continue")
    holder = KeyHolder()
    wait_for(lambda: not holder.is_free(), "the tap at work")
    app.quit()


if __name__ == "__main__":
    main()
