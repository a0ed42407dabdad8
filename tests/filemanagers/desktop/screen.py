"""A user in front of the screen: sees the items of a file manager and its menus by name and place,
as assistive programs do, and has a mouse and a keyboard."""

import os
import subprocess

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from session import Failure, wait_for  # noqa: E402

# For a file manager that tells the order of its items but not where they are: the left and upper
# edge of the first one, how far it is to the next one and to the next row, and the height of one.
GRIDS = {"nemo": (4, 10, 124, 129, 95)}
MENU_ITEMS = {Atspi.Role.MENU, Atspi.Role.MENU_ITEM, Atspi.Role.CHECK_MENU_ITEM}


def hand(*arguments):
    subprocess.run(["xdotool", *(str(word) for word in arguments)], check=True)


class Screen:
    """What one program shows. Its name is that of its executable."""

    def __init__(self, program):
        self.program = program
        self.grid = GRIDS.get(program)
        self.folder = None  # that is shown
        Atspi.init()

    # -- Eyes -------------------------------------------------------------------------------------

    def application(self):
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()
        for i in range(desktop.get_child_count()):
            child = desktop.get_child_at_index(i)
            if child is not None and child.get_name() == self.program:
                return child
        return None

    def walk(self, roles, prune=frozenset()):
        """Everything with one of the roles that is shown, as (name, (x, y, width, height), node)."""
        try:
            application = self.application()
            if application is None:
                return []
            application.clear_cache()
            found = []
            self._walk(application, roles, prune, found, 0)
            return found
        except GLib.Error:
            return []  # it changed while it was looked at

    def _walk(self, node, roles, prune, found, depth):
        role = node.get_role()
        if role in prune:
            return
        if role in roles and node.get_state_set().contains(Atspi.StateType.SHOWING):
            area = node.get_component_iface()
            if area is not None:
                place = area.get_extents(Atspi.CoordType.SCREEN)
                if place.width > 0 and place.x >= 0:
                    name = node.get_name() or ""
                    found.append((name, (place.x, place.y, place.width, place.height), node))
        if depth > 25:
            return
        for i in range(node.get_child_count()):
            child = node.get_child_at_index(i)
            if child is not None:
                self._walk(child, roles, prune, found, depth + 1)

    def items(self):
        """The items of the folder that is shown: {name: (x, y, width, height)}."""
        outside = {Atspi.Role.MENU_BAR, Atspi.Role.TOOL_BAR}
        if self.program == "nautilus":
            return self.items_in_order()
        if self.grid is None:
            nodes = self.walk({Atspi.Role.ICON}, outside)
            return {name: place for name, place, _ in nodes if name}
        items = {}
        for _, (x, y, width, _), view in self.walk({Atspi.Role.LAYERED_PANE}, outside):
            left, top, step, row_step, height = self.grid
            columns = (width - left) // step
            names = [view.get_child_at_index(i).get_name() for i in range(view.get_child_count())]
            for i, name in enumerate(names):
                row, column = divmod(i, columns)
                items[name] = (x + left + column * step, y + top + row * row_step, step, height)
        return items

    def items_in_order(self):
        """The same of a file manager that tells nothing: what it shows, in its order, stands in rows
        of four in a window that is in the middle of the screen. The corner that bears the emblem."""
        names = sorted(name for name in os.listdir(self.folder) if not name.startswith("."))
        return {name: (440 + 152 * (i % 4), 182 + 136 * (i // 4), 36, 24)
                for i, name in enumerate(names)}

    def menu_items(self):
        """What menus are open, but for the bar: {name: (x, y, width, height)}."""
        nodes = self.walk(MENU_ITEMS, {Atspi.Role.MENU_BAR, Atspi.Role.TOOL_BAR})
        return {name: place for name, place, _ in nodes}

    def is_sensitive(self, name):
        for found, _, node in self.walk(MENU_ITEMS, {Atspi.Role.MENU_BAR}):
            if found == name:
                return node.get_state_set().contains(Atspi.StateType.SENSITIVE)
        raise Failure(f"there is no menu item {name}")

    def buttons(self):
        return {name: place for name, place, _ in self.walk({Atspi.Role.PUSH_BUTTON})}

    # -- Hands ------------------------------------------------------------------------------------

    def click(self, place, button=1):
        x, y, width, height = place
        hand("mousemove", x + width // 2, y + height // 2, "click", button)

    def open_menu(self, item):
        """Opens the menu of the item by the right button of the mouse."""
        place = wait_for(f"{item} is shown", lambda: self.items().get(item))
        # In the middle of its picture; its name is below.
        x, y, width, height = place
        hand("mousemove", x + width // 2, y + height // 3, "click", 3)

    def choose(self, *titles):
        """Opens the submenus with these titles, one in the other, and chooses the last of them."""
        for title in titles:
            place = wait_for(f"the menu item {title}", lambda t=title: self.menu_items().get(t))
            x, y, width, height = place
            hand("mousemove", x + min(width // 2, 40), y + height // 2)
            self.click((x, y, min(width, 80), height))

    def close_menu(self):
        while self.menu_items():
            hand("key", "Escape")

    def go_to(self, folder):
        """Has the file manager show the folder in the same window, as a user who types its path."""
        self.folder = folder
        hand("key", "ctrl+l")
        hand("type", "--delay", "5", str(folder) + "/")
        hand("key", "Return")
