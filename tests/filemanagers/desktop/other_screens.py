"""What is particular in how Thunar and Dolphin show themselves to assistive programs."""

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

from screen import Screen, hand  # noqa: E402
from session import wait_for  # noqa: E402


class ThunarScreen(Screen):
    """In its list view: the icons of its icon view are not to be found by name."""

    def items(self):
        cells = self.walk({Atspi.Role.TABLE_CELL}, {Atspi.Role.MENU_BAR, Atspi.Role.TOOL_BAR})
        return {name: place for name, place, _ in cells if name}


class DolphinScreen(Screen):
    """Its menus are not among what its windows hold: they are known by the items in them that get
    the focus."""

    def __init__(self, program):
        super().__init__(program)
        self.menus = []
        self.has_selected = False  # an item, since nothing was selected
        self.current = None  # the entry that has the focus, by name
        self.moves = 0  # how often the focus has moved
        self.listener = Atspi.EventListener.new(self.focused)
        self.listener.register("object:state-changed:focused")

    def focused(self, event):
        if event.detail1 and event.source.get_role() in (Atspi.Role.MENU_ITEM, Atspi.Role.MENU,
                                                         Atspi.Role.CHECK_MENU_ITEM):
            self.current = event.source.get_name()
            self.moves += 1
            menu = event.source.get_parent()
            if menu not in self.menus:
                self.menus.append(menu)

    def items(self):
        return {name: place for name, place, _ in self.walk({Atspi.Role.TABLE_CELL}) if name}

    def select_nothing(self):
        """Clicks beside the items, if need be."""
        if not self.has_selected:
            return
        self.has_selected = False
        places = wait_for("the items", self.items).values()
        x = min(place[0] for place in places)
        y = max(place[1] + place[3] for place in places)
        hand("mousemove", x + 20, y + 60, "click", 1)

    def entries(self):
        """The entries of the menus that are open: {name: node}."""
        context = GLib.MainContext.default()
        while context.pending():
            context.iteration(False)
        found = {}
        for menu in self.menus:
            try:
                menu.clear_cache()
                if not menu.get_state_set().contains(Atspi.StateType.VISIBLE):
                    continue
                for i in range(menu.get_child_count()):
                    child = menu.get_child_at_index(i)
                    if child is not None:
                        found[child.get_name()] = child
            except GLib.Error:
                continue  # it has gone
        return found

    def menu_items(self):
        items = {}
        for name, node in self.entries().items():
            try:
                area = node.get_component_iface()
                if area is None or not name:
                    continue  # a line between others
                place = area.get_extents(Atspi.CoordType.SCREEN)
                items[name] = (place.x, place.y, place.width, place.height)
            except GLib.Error:
                continue  # it has gone
        return items

    def is_sensitive(self, name):
        return self.entries()[name].get_state_set().contains(Atspi.StateType.ENABLED)

    def open_menu(self, item):
        self.menus.clear()
        self.current = None
        self.has_selected = True
        super().open_menu(item)
        self.first_entry("the menu")

    def first_entry(self, what):
        """The focus goes to an entry of what opens: that makes it known."""
        before = len(self.menus)

        def is_known():
            if len(self.menus) == before:
                hand("key", "Down")
            self.entries()
            return len(self.menus) > before

        wait_for(what, is_known)

    def choose(self, *titles):
        """By the keyboard, which moves the focus: that makes a submenu known as well."""
        for title in titles:
            wait_for(f"the focus on {title}", lambda t=title: self.has_focus(t))
            before = self.moves
            hand("key", "Return")
            if title != titles[-1] or title == "Git":
                wait_for(f"the menu of {title}", lambda b=before: self.entries() and self.moves > b)

    def has_focus(self, title):
        """Moves the focus on where it is not on that entry."""
        self.entries()
        if self.current == title:
            return True
        before = self.moves
        hand("key", "Down")
        wait_for("the focus moves", lambda: self.entries() is not None and self.moves > before)
        return self.current == title

    def close_menu(self):
        self.current = None
        for _ in range(4):
            hand("key", "Escape")
        self.menus.clear()


SCREENS = {"thunar": ThunarScreen, "dolphin": DolphinScreen}
