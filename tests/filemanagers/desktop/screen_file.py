"""The file that a display keeps its pixels in, and when they have changed."""

import mmap
import threading
import time

GLANCE = 0.01  # how often they are looked at, in seconds


class ScreenFile:
    def __init__(self, path):
        with open(path, "rb") as file:
            self.map = mmap.mmap(file.fileno(), 0, prot=mmap.PROT_READ)
        self.last = b""

    def has_changed(self):
        """Whether they are others than at the last call."""
        now = self.map[:]
        if now == self.last:
            return False
        self.last = now
        return True


class ChangeWatch:
    """Remembers when the screen has changed last, while something slower looks at what it shows."""

    def __init__(self, path):
        self.screen = ScreenFile(path)
        self.changed = time.monotonic()
        self.thread = threading.Thread(target=self.run, daemon=True)
        self.thread.start()

    def run(self):
        while True:
            if self.screen.has_changed():
                self.changed = time.monotonic()
            time.sleep(GLANCE)
