"""What is particular in how Thunar shows itself to assistive programs."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

from screen import Screen  # noqa: E402


class ThunarScreen(Screen):
    """In its list view: the icons of its icon view are not to be found by name."""

    def items(self):
        cells = self.walk({Atspi.Role.TABLE_CELL}, {Atspi.Role.MENU_BAR, Atspi.Role.TOOL_BAR})
        return {name: place for name, place, _ in cells if name}


SCREENS = {"thunar": ThunarScreen}
