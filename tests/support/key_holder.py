"""Another program that holds Ctrl+V of the whole session."""
import ctypes

CONTROL, ASYNC, BAD_ACCESS = 1 << 2, 1, 10


class KeyHolder:
    def __init__(self):
        self.x11 = ctypes.CDLL("libX11.so.6")
        self.x11.XOpenDisplay.restype = ctypes.c_void_p
        self.x11.XDefaultRootWindow.restype = ctypes.c_ulong
        self.display = ctypes.c_void_p(self.x11.XOpenDisplay(None))
        self.root = ctypes.c_ulong(self.x11.XDefaultRootWindow(self.display))
        self.key = self.x11.XKeysymToKeycode(self.display, ctypes.c_ulong(ord("v")))
        self.is_refused = False
        # Of XErrorEvent only the error's number is looked at.
        handler = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.POINTER(ctypes.c_byte * 40))
        self.on_error = handler(self._on_error)
        self.x11.XSetErrorHandler(self.on_error)

    def _on_error(self, _, event):
        self.is_refused = event.contents[32] == BAD_ACCESS
        return 0

    def hold(self):
        """False when somebody else holds the key."""
        self.is_refused = False
        self.x11.XGrabKey(self.display, self.key, CONTROL, self.root, False, ASYNC, ASYNC)
        self.x11.XSync(self.display, False)
        return not self.is_refused

    def is_free(self):
        free = self.hold()
        if free:
            self.let_go()
        return free

    def let_go(self):
        self.x11.XUngrabKey(self.display, self.key, CONTROL, self.root)
        self.x11.XSync(self.display, False)
