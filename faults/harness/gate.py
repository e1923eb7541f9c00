"""Moments of a copy, told by the bytes that have gone to the server."""
import threading

HELD_AT_MOST = 3  # seconds; shorter than any deadline of the volume


class Gate:
    """Holds the stream at each agreed byte until whoever waits for that moment has acted.

    So a fault strikes where it was drawn, however loaded the machine is. The moments are agreed before the stream
    begins.
    """

    def __init__(self):
        self._changed = threading.Condition()
        self._moments = []
        self._held = False
        self.passed = 0

    def agree(self, moments):
        with self._changed:
            self._moments = sorted(moments)
            self.passed = 0

    def allowance(self, wanted):
        """How many of `wanted` bytes may go now: at least one, and none beyond the next moment."""
        with self._changed:
            while self._moments and self.passed >= self._moments[0]:
                self._held = True
                self._changed.notify_all()
                if not self._changed.wait_for(lambda: not self._held, HELD_AT_MOST):
                    self._held = False
                if self._moments and self.passed >= self._moments[0]:
                    self._moments.pop(0)
            return min(wanted, self._moments[0] - self.passed) if self._moments else wanted

    def count(self, size):
        with self._changed:
            self.passed += size

    def wait(self, ended):
        """Waits for the next moment; False when `ended` says first that none will come."""
        with self._changed:
            while not self._held:
                if ended():
                    return False
                self._changed.wait(0.02)
            return True

    def open(self):
        with self._changed:
            if self._moments:
                self._moments.pop(0)
            self._held = False
            self._changed.notify_all()
