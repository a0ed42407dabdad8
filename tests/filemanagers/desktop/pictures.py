"""What is on the screen, and whether an emblem is drawn there."""

import subprocess
from pathlib import Path

import gi

gi.require_version("GdkPixbuf", "2.0")
from gi.repository import GdkPixbuf  # noqa: E402


class Picture:
    """The pixels of an image file, or of an area of it."""

    def __init__(self, pixbuf):
        self.width = pixbuf.get_width()
        self.height = pixbuf.get_height()
        self.channels = pixbuf.get_n_channels()
        self.stride = pixbuf.get_rowstride()
        self.data = pixbuf.get_pixels()

    @staticmethod
    def of_file(path):
        return Picture(GdkPixbuf.Pixbuf.new_from_file(str(path)))

    def pixel(self, x, y):
        start = y * self.stride + x * self.channels
        return self.data[start:start + self.channels]


def take_screen(path):
    """A picture of the whole screen, also kept as the file."""
    subprocess.run(["import", "-silent", "-window", "root", str(path)], check=True)
    return Picture.of_file(path)


class Emblem:
    """An emblem's image in one size, as the points that are to be found on the screen."""

    # So many of its pixels are compared, spread over all of it.
    POINTS = 90

    def __init__(self, name, file, size):
        self.name = name
        self.size = size
        drawn = Picture(GdkPixbuf.Pixbuf.new_from_file_at_size(str(file), size, size))
        opaque = [
            (x, y, tuple(drawn.pixel(x, y)[:3]))
            for y in range(drawn.height)
            for x in range(drawn.width)
            if drawn.pixel(x, y)[3] >= 250
        ]
        # Two steps apart from what a row holds, so that all of the shape is looked at.
        step = max(1, len(opaque) // self.POINTS)
        self.points = opaque[::step]

    def difference_at(self, picture, left, top, limit):
        """The mean difference of a channel (0 to 255); some more than `limit` where it exceeds it."""
        total = 0
        limit_of_total = limit * 3 * len(self.points)
        data, stride, channels = picture.data, picture.stride, picture.channels
        base = top * stride + left * channels
        for x, y, (red, green, blue) in self.points:
            at = base + y * stride + x * channels
            total += abs(data[at] - red) + abs(data[at + 1] - green) + abs(data[at + 2] - blue)
            if total > limit_of_total:
                return limit + 1
        return total / (3 * len(self.points))

    def best_in(self, picture, area, limit):
        """The least difference anywhere in the area (x, y, width, height), and where that is; no
        place when there is none below the limit."""
        left, top, width, height = area
        best, place = limit, None
        for y in range(max(0, top), min(top + height, picture.height) - self.size + 1):
            for x in range(max(0, left), min(left + width, picture.width) - self.size + 1):
                difference = self.difference_at(picture, x, y, best)
                if difference < best:
                    best, place = difference, (x, y)
        return best, place


class Emblems:
    """All emblems of an icon folder in one size."""

    # The same image drawn twice, by two programs, on whatever is below it.
    SAME = 14

    def __init__(self, folder, size):
        self.all = [
            Emblem(file.stem.removeprefix("emblem-kelpie-"), file, size)
            for file in sorted(Path(folder).glob("emblem-kelpie-*.svg"))
        ]

    def name_in(self, picture, area):
        """The name of the emblem that is drawn in the area; None without one."""
        found = []
        for emblem in self.all:
            difference, place = emblem.best_in(picture, area, self.SAME)
            if place is not None:
                found.append((difference, emblem.name))
        return min(found)[1] if found else None
